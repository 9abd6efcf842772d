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

// Waits for changes in folders, at no cost while nothing changes. Where the system does not tell of
// changes, as of those that other machines make, all folders count as changed once a second.
class ChangeWatch {
 public:
  using Clock = std::chrono::steady_clock;

  // `onNotice` hears once why it is looked once a second.
  explicit ChangeWatch(OnNotice onNotice);

  // Also this folder from now on. One that is not there, or is removed, is looked for once a
  // second.
  void Add(const std::string& folder);
  void Remove(const std::string& folder);

  // Waits until something may have changed, or until a time. `output`: also until nobody can read
  // any more what is written to this handle, and then nobody does from there on; -1: none. Throws
  // Failure when the user interrupts.
  Changes Wait(std::optional<Clock::time_point> until, int output);
  bool IsReaderGone() const { return mIsReaderGone; }

 private:
  bool Watch(const std::string& folder);
  void LookOnceASecond(const std::string& why);
  void WatchMissing(Changes* changes);
  void TakeEvents(Changes* changes);

  const OnNotice mOnNotice;
  FileHandle mHandle;
  std::map<int, std::set<std::string>> mFolders;  // by watch; several paths may lead to one folder
  std::set<std::string> mMissing;                 // folders that are not there
  bool mLooksOnceASecond = false;
  Clock::time_point mNextLook;
  bool mIsReaderGone = false;
};
