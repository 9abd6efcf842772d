#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <string>
#include <vector>

// The indexes that are kept on the disk, and what else the program keeps of archives.

enum class KeptPlace {
  kBeside,   // beside the archive
  kPrivate,  // in a folder of this user alone
  kFolder,   // in the folder that the user has asked for
  kChecked,  // what was found out about the archives of a folder
};

enum class KeptState {
  kInUse,     // verbs use it
  kUnused,    // of an archive that has its index elsewhere
  kOutdated,  // of an archive whose time has changed
  kOrphan,    // its archive is gone
  kLeftover,  // of a run, a save or a verb that did not end
  kBusy,      // another process is at work on it
  kUnknown,   // which archive it is of cannot be told
  kStranger,  // has the place or name of a cache, but is not one
};

// One word each, for programs: in-use.
const char* Name(KeptPlace place);
const char* Name(KeptState state);

// The files of one index, or one other file.
struct KeptCache {
  KeptPlace place = KeptPlace::kBeside;
  KeptState state = KeptState::kUnknown;
  std::string folder;
  std::string name;                // what its files have in common: cam01
  std::vector<std::string> files;  // their names
  std::uint64_t bytes = 0;         // of all of them
  std::string of;                  // the path of the archive or folder it is of; empty: not known

  std::string PathOf(const std::string& file) const { return folder + "/" + file; }
};

namespace kept_caches {

// The indexes in a folder, by name, as far as the folder alone tells: not whose they are, so whole
// ones count as unused. Anything else there is left out beside archives and a stranger elsewhere,
// except the links through which readers open archives. Changes nothing. Throws Failure when the
// folder cannot be looked into, when no file handle is left, or when the user interrupts.
std::vector<KeptCache> In(const std::string& folder, KeptPlace place);

// Whether somebody may still be writing a file, where a file system knows no locks.
bool IsFresh(const struct statx& status);

// Whether it is what a verb began to write beside archives, and not the file of an index.
bool IsOutput(const KeptCache& cache);
// Whether a verb may still be at work on such a file: a part of many waits until all are whole.
bool IsYoungOutput(const struct statx& status);

// The files by which readers claim an index: its .id3 file, and the one that is written until it is
// whole. They need not exist. What was found out about a folder (kChecked) has none; what a verb
// writes is one itself.
std::vector<std::string> LocksOf(const KeptCache& cache);

// The names of all entries of a folder, in no order. Throws Failure as above.
std::vector<std::string> NamesIn(const std::string& folder);

}  // namespace kept_caches
