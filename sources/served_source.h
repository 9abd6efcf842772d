#pragma once

#include <optional>
#include <string>

#include "sources/host_options.h"
#include "sources/source_facts.h"
#include "system/notices.h"
#include "system/passing_folder.h"

enum class MissingIndexes { kBuild, kLeaveOut };

// A source made ready for readers, which trust what they are given: they empty the cache files of
// whatever they open, and where they cannot write they use a folder that all users share. Every
// verb that asks a reader goes through this, but for those that show what a reader does by itself.
class ServedSource {
 public:
  // Tells the user which files are left out because they are not archives, that another process is
  // waited for, and that no index can be kept. Unless missing indexes are left out the folder for
  // them is made when it is needed. Throws what SourceFacts throws, and Failure when `path` is a
  // single file that is not an archive, when an index that is missing could not be written to the
  // folder asked for, or when readers would delete indexes and nothing may change.
  ServedSource(const HostOptions& host, const std::string& path, MissingIndexes missing,
               OnNotice onNotice);

  const SourceFacts& Facts() const { return mFacts; }
  const std::string& Path() const { return mFacts.Path(); }
  MissingIndexes Missing() const { return mMissing; }
  // Whether files are left out.
  bool LeavesOut() const { return !mFacts.Others().empty(); }

  // With the folder that readers are to keep indexes in.
  HostOptions Host() const;

  // Tells the user something.
  void Tell(const std::string& notice) const { mOnNotice(notice); }

  // Waits until no other process builds an index that this source lacks. Whether it had to wait.
  bool WaitForOthers() const;
  bool WaitForOthers(const std::string& archive) const;

 private:
  SourceFacts Look(const std::string& path) const;
  void RefuseOthers() const;
  void RefuseToTrim() const;
  void MakePlace();

  const HostOptions mHost;
  const MissingIndexes mMissing;
  const OnNotice mOnNotice;
  SourceFacts mFacts;
  std::optional<PassingFolder> mPassingPlace;
};
