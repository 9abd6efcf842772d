#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "system/file_handle.h"
#include "system/notices.h"

// What may have changed in folders.
struct Changes {
  bool all = false;               // anything: it is not known what
  std::set<std::string> folders;  // of these which entries they have
  std::set<std::string> paths;    // of these what they hold; folder/name
};

// Waits for changes in folders, at next to no cost while nothing changes. Where the system does not
// tell of changes, as of those that other machines make, all folders count as changed once a
// second. Paths are followed, not what they led to at first: where links, or folders above, are
// changed so that a path leads to another folder, that one is watched a few seconds later.
class ChangeWatch {
 public:
  using Clock = std::chrono::steady_clock;

  // Between looks at where the paths lead.
  static constexpr std::chrono::seconds kBetweenChecks{5};

  // `onNotice` hears once why it is looked once a second, and of each folder that cannot be looked
  // into.
  explicit ChangeWatch(OnNotice onNotice, Clock::duration betweenChecks = kBetweenChecks);

  // Also this folder from now on. One that is not there, is removed or cannot be looked into is
  // tried once a second.
  void Add(const std::string& folder);
  void Remove(const std::string& folder);

  // Waits until something may have changed, or until a time. `output`: also until nobody can read
  // any more what is written to this handle, and then nobody does from there on; -1: none. Throws
  // Failure when the user interrupts.
  Changes Wait(std::optional<Clock::time_point> until, int output);
  bool IsReaderGone() const { return mIsReaderGone; }

 private:
  bool Watch(const std::string& folder);
  void WatchAgain(const std::set<std::string>& folders, Changes* changes);
  void Drop(const std::string& folder);
  void Miss(const std::string& folder, int error);
  void LookOnceASecond(const std::string& why);
  Clock::time_point NextLook() const;
  void Look(Changes* changes);
  void TakeEvents(Changes* changes);

  const OnNotice mOnNotice;
  const Clock::duration mBetweenChecks;
  FileHandle mHandle;
  std::map<int, std::set<std::string>> mFolders;  // by watch; several paths may lead to one folder
  std::map<std::string, int> mWatches;            // by path
  std::set<std::string> mMissing;                 // folders that are not watched
  std::set<std::string> mUnreadable;              // those of them of which that is told
  bool mLooksOnceASecond = false;
  Clock::time_point mLastLook;
  Clock::time_point mLastCheck;
  bool mIsReaderGone = false;
};
