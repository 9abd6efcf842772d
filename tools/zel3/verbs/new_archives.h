#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "blocks/units.h"
#include "output/unfinished_file.h"
#include "verbs/check_while_written.h"

// A new archive that has been looked at.
struct NewArchive {
  std::string path;  // its name, which it has in the end
  // Of the earliest entry and of the latest.
  ArchiveTime start = 0;
  ArchiveTime end = 0;
  std::uint64_t entries = 0;
  std::uint64_t bytes = 0;
};

// Where a new archive, or parts of it, are to be.
struct NewArchivePlace {
  std::string path;
  bool isInParts = false;  // DAY.zel3 becomes DAY-000.zel3, DAY-001.zel3, ...
  bool mayReplace = false;
};

// Archives that are being written. Each is looked at as zel3 doctor does it, and all get their
// names only when nothing is wrong with any.
class NewArchives {
 public:
  // Throws a usage error for what would take the place of a file of the source, or share an index
  // with an archive of it.
  using RefuseToHarm = std::function<void(const std::string& path)>;

  // Throws Failure when the place is not one for archives, or something stands there.
  NewArchives(NewArchivePlace place, RefuseToHarm refuse);

  // All throw Failure when something cannot be written, and when the user interrupts.

  void Begin();
  bool HasBegun() const { return mFile != nullptr; }
  // REQUIRES: it has begun.
  UnfinishedFile& File() { return *mFile; }
  // Throws Failure when something is wrong that a good archive has not, or it has other than so
  // many entries.
  void End(std::uint64_t entries);

  // Gives all their names. An index that an earlier archive of such a name has left beside it is
  // removed: readers would take it for that of the new one. Throws Failure when it may be that of
  // another archive, or when it is there and nothing may be replaced.
  void TakeNames();

  // The names of other files that look like parts of this output: of an earlier one, perhaps. In
  // order. REQUIRES: all have their names.
  std::vector<std::string> OtherParts() const;

  // Those that have ended; their paths as soon as they have their names.
  const std::vector<NewArchive>& Ended() const { return mArchives; }

 private:
  std::string NameOf(std::size_t number, std::size_t count) const;
  void RefuseWhatStandsAt(const std::string& path) const;
  void TakeName(std::size_t number);
  void TakeNamesBack(std::size_t count);

  const NewArchivePlace mPlace;
  const RefuseToHarm mRefuse;
  std::unique_ptr<UnfinishedFile> mFile;
  std::unique_ptr<CheckWhileWritten> mCheck;  // of that file
  std::vector<std::unique_ptr<UnfinishedFile>> mEnded;
  std::vector<NewArchive> mArchives;
};
