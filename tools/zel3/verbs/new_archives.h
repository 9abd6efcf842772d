#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "blocks/units.h"
#include "output/unfinished_file.h"
#include "verbs/check_while_written.h"

// A new archive that has been checked.
struct NewArchive {
  std::string path;  // its final name
  // Of the earliest entry and of the latest.
  ArchiveTime start = 0;
  ArchiveTime end = 0;
  std::uint64_t entries = 0;
  std::uint64_t bytes = 0;
};

// Where a new archive, or its parts, will be.
struct NewArchivePlace {
  std::string path;
  bool isInParts = false;  // DAY.zel3 becomes DAY-000.zel3, DAY-001.zel3, ...
  bool mayReplace = false;
};

// Archives that are being written. Each is checked as by zel3 doctor, and they get their names only
// when nothing is wrong with any of them.
class NewArchives {
 public:
  // Throws a usage error for a path that would replace a file of the source, or share an index with
  // an archive of it.
  using RefuseToHarm = std::function<void(const std::string& path)>;

  // Throws Failure when archives cannot be put there, or something is there already.
  NewArchives(NewArchivePlace place, RefuseToHarm refuse);

  // All throw Failure when something cannot be written, and when the user interrupts.

  void Begin();
  bool HasBegun() const { return mFile != nullptr; }
  // REQUIRES: it has begun.
  UnfinishedFile& File() { return *mFile; }
  // Throws Failure when the archive is not sound, or does not have this many entries.
  void End(std::uint64_t entries);

  // Gives all their names. An index left beside it by an earlier archive of that name is removed:
  // readers would take it for that of the new one. Throws Failure when the index may belong to
  // another archive, or when there is one and nothing may be replaced.
  void TakeNames();

  // The names, in order, of other files that look like parts of this output, perhaps of an earlier
  // one. REQUIRES: all have their names.
  std::vector<std::string> OtherParts() const;

  // The archives that have ended. Their paths are valid once they have their names.
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
