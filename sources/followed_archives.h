#pragma once

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "archive/growing_archive.h"
#include "sources/followed_files.h"

// Takes the records of one archive that is followed. Of damage the user is told.
class FollowedRecords : public FramingSink {
 public:
  // The file begins anew: it has become shorter, or is another one.
  virtual void Begin() {}
  // It has another name now, and may be of another timeline.
  virtual void MovedTo(const FollowedFile& /*file*/) {}
  // That was all for now.
  virtual void EndOfLook() {}
};

// The archives among the files that are followed. Hands over what is written to them, in the order
// in which it arrives, and tells the user of what becomes of them. A file that is not an archive is
// left out until it is one.
class FollowedArchives {
 public:
  using MakeRecords = std::function<std::unique_ptr<FollowedRecords>(const FollowedFile& file)>;

  // Where an archive that was there from the start begins. `begin` gets all of them in the order of
  // time, of equal starts by name, before any is read.
  struct Found {
    FollowedFile file;
    std::optional<ArchiveTime> start;  // nothing: not known, or no entry yet
    std::optional<ArchiveTime> end;
    GrowingArchive* archive;
  };
  using Begin = std::function<void(const std::vector<Found>& found)>;

  // Borrows the files.
  FollowedArchives(FollowedFiles* files, MakeRecords makeRecords, OnNotice onNotice);
  ~FollowedArchives();

  // Goes on until the user interrupts, and throws Failure then. `output`: or until nobody can read
  // what is written to this handle, which ends it normally.
  void Follow(const Begin& begin, int output);

  // Of all archives so far.
  std::uint64_t DamagedBytes() const { return mDamaged; }

 private:
  class Followed;

  Followed* Add(const FollowedFile& file);
  void LookAt(Followed* followed);
  bool IsArchive(Followed* followed);
  void Rename(const std::vector<RenamedFile>& renamed);
  void KeepOpen(Followed* followed);
  void KeepGone(const std::string& path);
  bool IsBack(const FollowedFile& file);
  std::string NameOf(const Followed& followed) const;

  FollowedFiles& mFiles;
  const MakeRecords mMakeRecords;
  const OnNotice mOnNotice;
  std::map<std::string, std::unique_ptr<Followed>> mArchives;
  std::list<Followed*> mOpen;    // the one looked at last comes first
  std::list<std::string> mGone;  // the one that went last comes first
  std::uint64_t mDamaged = 0;
};
