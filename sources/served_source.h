#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "sources/host_options.h"
#include "sources/source_facts.h"
#include "system/notices.h"
#include "system/passing_folder.h"

enum class MissingIndexes { kBuild, kLeaveOut };

// A source made ready for readers, which trust what they are given: they empty the cache files of
// whatever they open, and where they cannot write they use a folder that all users share. Every
// verb that asks a reader goes through this, except those that show what a reader does by itself.
// The first one of a process is made before other threads start: it takes that folder away from the
// environment.
class ServedSource {
 public:
  // Tells the user which files are left out because they are not archives, that another process is
  // waited for, and that no index can be kept. Unless missing indexes are left out, the folder for
  // them is made when it is needed. Throws what SourceFacts throws, and Failure when `path` is a
  // single file that is not an archive, when an index that is missing could not be written to the
  // folder asked for, or when readers would delete indexes and nothing may change.
  ServedSource(const HostOptions& host, const std::string& path, MissingIndexes missing,
               OnNotice onNotice);
  ServedSource(const HostOptions& host, const GivenSource& source, MissingIndexes missing,
               OnNotice onNotice);

  const SourceFacts& Facts() const { return mFacts; }
  const std::string& Path() const { return mFacts.Path(); }
  MissingIndexes Missing() const { return mMissing; }
  // Whether files are left out.
  bool LeavesOut() const { return !mFacts.Others().empty(); }

  const HostOptions& Host() const { return mHost; }
  // For a reader of one archive, with the folder where its index lies.
  HostOptions HostFor(const std::string& archive) const;

  // Removes an archive's index that is not its own any more, so that a reader builds a new one: in
  // the same place or, when `privately` or when something cannot be removed, in a folder of this
  // user alone. REQUIRES: missing indexes are not left out.
  void DropIndex(const std::string& archive, bool privately);
  // The same for all archives that have an index.
  void DropIndexes();
  // The index of an archive that has none yet is kept in a folder of this user alone.
  void IndexPrivately(const std::string& archive);

  // While indexes of many archives are built, a folder of indexes is looked through once, at the
  // end, and not by the reader of each. Then, even if the building was interrupted, the oldest
  // files of a folder over its limit are deleted, but no more than the archives may have added.
  class OneScan {
   public:
    // Borrows the source.
    OneScan(ServedSource* source, std::vector<std::string> archives);
    ~OneScan();
    OneScan(const OneScan&) = delete;
    OneScan& operator=(const OneScan&) = delete;

   private:
    void Trim() const;

    ServedSource& mSource;
    const std::vector<std::string> mArchives;
  };

  // Removes the folder for indexes that are not kept. REQUIRES: no reader is asked after this.
  void RemovePassingPlace() { mPassingPlace.reset(); }

  // Tells the user something.
  void Tell(const std::string& notice) const { mOnNotice(notice); }
  // From now on the user is told by this function.
  void TellBy(OnNotice onNotice) { mOnNotice = std::move(onNotice); }

  // Waits until no other process builds the index of an archive. Whether it had to wait.
  bool WaitForOthers(const std::string& archive) const;

 private:
  SourceFacts Look(const GivenSource& source) const;
  void RefuseOthers() const;
  void MakePlaces();
  std::string MakePrivateFolder(const std::string& archive, const std::string& whyNotBeside);

  HostOptions mHost;
  const MissingIndexes mMissing;
  OnNotice mOnNotice;
  SourceFacts mFacts;
  std::optional<PassingFolder> mPassingPlace;
};
