#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "sources/given_sources.h"
#include "system/change_watch.h"
#include "system/file_status.h"
#include "system/notices.h"

// One file that is followed.
struct FollowedFile {
  std::string path;
  std::size_t source = 0;  // number of its timeline
};

// A file that has another name now, and may be of another timeline.
struct RenamedFile {
  std::string from;
  FollowedFile to;
};

// What has become of the files that are followed. What holds for many comes in this order.
struct FileNews {
  std::vector<RenamedFile> renamed;  // at once: what one gives up another may take
  std::vector<std::string> gone;
  std::vector<FollowedFile> appeared;  // by name in each folder
  std::vector<std::string> touched;    // may hold more, or be another file
};

// The files that a user names to be followed: those of folders as they come and go, and, with
// --recursive, of folders that are made below them. What has two names is followed once, and what
// the standard output goes to is not followed at all.
class FollowedFiles {
 public:
  // `onNotice` hears of what cannot be followed, and how; `betweenChecks` is for ChangeWatch.
  // Throws Failure when there is neither a file nor a folder at one of the paths.
  FollowedFiles(const SourceArguments& arguments, OnNotice onNotice,
                ChangeWatch::Clock::duration betweenChecks = ChangeWatch::kBetweenChecks);

  FollowedFiles(const FollowedFiles&) = delete;
  FollowedFiles& operator=(const FollowedFiles&) = delete;

  // The paths of the timelines, by number. Grows.
  const std::vector<std::string>& Sources() const { return mSources; }
  // Whether it must be said which timeline something is of.
  bool AreMany() const { return mAreMany; }

  // All files there are. To be called once, at first.
  std::vector<FollowedFile> FindAll();

  // Waits as ChangeWatch does.
  FileNews Wait(std::optional<ChangeWatch::Clock::time_point> until, int output);
  bool IsReaderGone() const { return mWatch.IsReaderGone(); }

 private:
  struct Folder {
    bool isListed = false;        // all its files, not only those that are named
    bool isBelow = false;         // found in a tree, and forgotten when it is gone
    bool isTree = false;          // folders in it are followed, too
    std::set<std::string> named;  // paths
    std::optional<std::size_t> source;
    std::optional<InodeId> id;  // what the path has led to
  };

  struct Known {
    InodeId id;
    std::string folder;
  };

  void AddFile(const std::string& path);
  void AddTree(const std::string& top, bool isBelow, std::set<std::string>* added);
  bool AddFolder(const std::string& path, bool isTree, bool isBelow);
  void TellOnce(const std::string& notice);
  std::size_t SourceOf(Folder* folder, const std::string& path);
  std::optional<std::map<std::string, InodeId>> Listed(const std::string& path,
                                                       const Folder& folder);
  // Adds what has changed in the entries of these folders.
  void Relist(const std::set<std::string>& changed, FileNews* news);
  void Watch(const std::string& file);

  const bool mIsRecursive;
  const bool mIsMerged;
  const OnNotice mOnNotice;
  std::set<std::string> mTold;
  ChangeWatch mWatch;
  bool mAreMany = false;
  std::vector<std::string> mSources;
  std::map<std::string, Folder> mFolders;
  std::map<InodeId, std::string> mFolderIds;
  std::map<std::string, Known> mFiles;
  std::map<std::string, std::string> mLeadTo;  // by where links lead: the path that is followed
  std::optional<InodeId> mOutput;
};
