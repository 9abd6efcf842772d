#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "sources/kept_caches.h"

// Removes what the program keeps of archives, and nothing else.
namespace cache_removal {

enum class Wish {
  kOrphans,  // what no archive will use again
  kAll,
};

// Whether the wish covers this cache. It never covers a stranger or what is in the hands of another
// process.
bool IsWished(const KeptCache& cache, Wish wish);

struct Result {
  std::vector<std::string> removed;  // names of files
  std::string whyNot;  // something of it stays: a clause that follows its name; empty: all is gone
  std::uint64_t bytes = 0;  // of the files removed
};

// Removes the files of a cache, or, when `onlyLooks`, tells what would be removed. Each file is
// looked at again first: it must be a plain file of this user with no other name, and have the
// shape of its kind from start to end. The lock of an index is held meanwhile, so that nobody
// begins to use it; when the lock cannot be had, all files stay. Throws Failure when no file handle
// is left or the user interrupts; what is in hand is finished or left alone.
Result Remove(const KeptCache& cache, bool onlyLooks);

}  // namespace cache_removal
