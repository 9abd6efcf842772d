#include "system/change_watch.h"

#include <sys/inotify.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <utility>

#include "system/failure.h"
#include "system/interruption.h"

namespace {

constexpr std::chrono::milliseconds kBetweenLooks(1000);

constexpr std::uint32_t kEntriesChange =
    IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF;
constexpr std::uint32_t kContentsChange = IN_MODIFY | IN_ATTRIB | IN_CLOSE_WRITE;

// File systems whose files other machines, or other processes by themselves, may change.
bool IsShared(const std::string& folder) {
  constexpr std::uint32_t kShared[] = {
      0x6969,      // NFS
      0xFF534D42,  // CIFS
      0xFE534D42,  // SMB2
      0x517B,      // SMB
      0x65735546,  // FUSE
      0x01021997,  // 9P
      0x00C36400,  // Ceph
      0x5346414F,  // AFS
      0x73757245,  // Coda
      0x0BD00BD0,  // Lustre
      0x47504653,  // GPFS
  };
  struct statfs status = {};
  if (statfs(folder.c_str(), &status) != 0) return false;
  return std::find(std::begin(kShared), std::end(kShared),
                   static_cast<std::uint32_t>(status.f_type)) != std::end(kShared);
}

}  // namespace

ChangeWatch::ChangeWatch(OnNotice onNotice, Clock::duration betweenChecks)
    : mOnNotice(std::move(onNotice)),
      mBetweenChecks(betweenChecks),
      mHandle(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)),
      mLastLook(Clock::now()),
      mLastCheck(mLastLook) {
  if (!mHandle.IsOpen()) LookOnceASecond(std::strerror(errno));
}

void ChangeWatch::Add(const std::string& folder) {
  Watch(folder);
}

void ChangeWatch::Remove(const std::string& folder) {
  mMissing.erase(folder);
  mUnreadable.erase(folder);
  Drop(folder);
}

// No longer watches what this path has led to.
void ChangeWatch::Drop(const std::string& folder) {
  const auto known = mWatches.find(folder);
  if (known == mWatches.end()) return;
  const auto watched = mFolders.find(known->second);
  mWatches.erase(known);
  watched->second.erase(folder);
  if (!watched->second.empty()) return;
  inotify_rm_watch(mHandle.Get(), watched->first);
  mFolders.erase(watched);
}

// Watches what the path leads to now. True when it has led elsewhere before.
bool ChangeWatch::Watch(const std::string& folder) {
  if (!mHandle.IsOpen()) return false;
  const auto known = mWatches.find(folder);
  // The same number for the same folder.
  const int watch = inotify_add_watch(mHandle.Get(), folder.c_str(),
                                      kEntriesChange | kContentsChange | IN_ONLYDIR);
  if (watch < 0) {
    Miss(folder, errno);
    const bool wasWatched = known != mWatches.end();
    Drop(folder);
    return wasWatched;
  }
  mMissing.erase(folder);
  mUnreadable.erase(folder);
  if (known != mWatches.end() && known->second == watch) return false;
  Drop(folder);
  mFolders[watch].insert(folder);
  mWatches[folder] = watch;
  if (IsShared(folder)) LookOnceASecond(folder + " is on a file system of several machines");
  return true;
}

// Why it cannot be watched decides whether others can.
void ChangeWatch::Miss(const std::string& folder, int error) {
  if (error == ENOSPC || error == ENOMEM) {
    LookOnceASecond(folder + ": " +
                    (error == ENOSPC ? "too many folders are watched" : std::strerror(error)));
    return;
  }
  mMissing.insert(folder);
  if (error == ENOENT || error == ENOTDIR) {
    mUnreadable.erase(folder);
  } else if (mUnreadable.insert(folder).second) {
    mOnNotice("cannot look into " + folder + ": " + std::strerror(error));
  }
}

void ChangeWatch::LookOnceASecond(const std::string& why) {
  if (!std::exchange(mLooksOnceASecond, true))
    mOnNotice("changes are looked for once a second, since the system does not tell them: " + why);
}

ChangeWatch::Clock::time_point ChangeWatch::NextLook() const {
  const auto check = mLastCheck + mBetweenChecks;
  const bool isOften = mLooksOnceASecond || !mMissing.empty();
  return isOften ? std::min(check, mLastLook + kBetweenLooks) : check;
}

Changes ChangeWatch::Wait(std::optional<Clock::time_point> until, int output) {
  Changes changes;
  for (;;) {
    const auto end = std::min(until.value_or(NextLook()), NextLook());
    const auto longest = std::max(end - Clock::now(), Clock::duration::zero());
    pollfd ready[] = {{mHandle.Get(), POLLIN, 0}, {output, 0, 0}};
    interruption::WaitFor(ready, 2, std::chrono::ceil<std::chrono::milliseconds>(longest));
    mIsReaderGone = ready[1].revents != 0;
    TakeEvents(&changes);
    if (NextLook() <= Clock::now()) Look(&changes);
    const bool isAny = changes.all || !changes.folders.empty() || !changes.paths.empty();
    if (mIsReaderGone || isAny || (until && *until <= Clock::now())) return changes;
  }
}

// Looks for what the system does not tell.
void ChangeWatch::Look(Changes* changes) {
  mLastLook = Clock::now();
  changes->all = changes->all || mLooksOnceASecond;
  std::set<std::string> folders = mMissing;
  if (mLastCheck + mBetweenChecks <= mLastLook) {
    mLastCheck = mLastLook;
    for (const auto& [folder, watch] : mWatches) folders.insert(folder);
  }
  WatchAgain(folders, changes);
}

void ChangeWatch::WatchAgain(const std::set<std::string>& folders, Changes* changes) {
  for (const std::string& folder : folders) {
    if (Watch(folder)) changes->folders.insert(folder);
  }
}

void ChangeWatch::TakeEvents(Changes* changes) {
  if (!mHandle.IsOpen()) return;
  alignas(inotify_event) char events[65536];
  for (ssize_t size; (size = read(mHandle.Get(), events, sizeof(events))) > 0;) {
    for (char* place = events; place < events + size;) {
      const auto* const event = reinterpret_cast<inotify_event*>(place);
      place += sizeof(inotify_event) + event->len;
      if ((event->mask & IN_Q_OVERFLOW) != 0) {
        changes->all = true;
        mLastCheck = Clock::time_point();
      }
      const auto watched = mFolders.find(event->wd);
      if (watched == mFolders.end()) continue;
      for (const std::string& folder : watched->second) {
        if ((event->mask & kContentsChange) == 0 || event->len == 0) {
          changes->folders.insert(folder);
        } else {
          changes->paths.insert((folder == "/" ? folder : folder + "/") + event->name);
        }
      }
      if ((event->mask & (IN_MOVE_SELF | IN_IGNORED)) == 0) continue;
      // What has that name now is another folder, or comes to be there.
      const std::set<std::string> folders = watched->second;
      if ((event->mask & IN_IGNORED) != 0) {
        for (const std::string& folder : folders) mWatches.erase(folder);
        mFolders.erase(watched);
      }
      WatchAgain(folders, changes);
    }
  }
}
