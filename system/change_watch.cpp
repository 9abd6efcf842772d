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

ChangeWatch::ChangeWatch(OnNotice onNotice)
    : mOnNotice(std::move(onNotice)), mHandle(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
  if (!mHandle.IsOpen()) LookOnceASecond(std::strerror(errno));
}

void ChangeWatch::Add(const std::string& folder) {
  if (!Watch(folder)) mMissing.insert(folder);
}

void ChangeWatch::Remove(const std::string& folder) {
  mMissing.erase(folder);
  for (auto watched = mFolders.begin(); watched != mFolders.end();) {
    watched->second.erase(folder);
    if (watched->second.empty()) {
      inotify_rm_watch(mHandle.Get(), watched->first);
      watched = mFolders.erase(watched);
    } else {
      ++watched;
    }
  }
}

// False when there is no such folder.
bool ChangeWatch::Watch(const std::string& folder) {
  if (!mHandle.IsOpen()) return true;
  const int watch = inotify_add_watch(mHandle.Get(), folder.c_str(),
                                      kEntriesChange | kContentsChange | IN_ONLYDIR);
  if (watch >= 0) {
    mFolders[watch].insert(folder);
    if (IsShared(folder)) LookOnceASecond(folder + " is on a file system of several machines");
    return true;
  }
  if (errno == ENOENT || errno == ENOTDIR) return false;
  LookOnceASecond(folder + ": " +
                  (errno == ENOSPC ? "too many folders are watched" : std::strerror(errno)));
  return true;
}

void ChangeWatch::LookOnceASecond(const std::string& why) {
  if (!std::exchange(mLooksOnceASecond, true))
    mOnNotice("changes are looked for once a second, since the system does not tell them: " + why);
}

Changes ChangeWatch::Wait(std::optional<Clock::time_point> until, int output) {
  const bool looksAgain = mLooksOnceASecond || !mMissing.empty();
  // Kept from one call to the next: other changes may come more often.
  if (!looksAgain || mNextLook == Clock::time_point()) mNextLook = Clock::now() + kBetweenLooks;
  const auto next = mNextLook;
  Changes changes;
  for (;;) {
    const auto now = Clock::now();
    std::optional<Clock::time_point> end = until;
    if (looksAgain && (!end || next < *end)) end = next;
    if (end && *end <= now) break;
    std::optional<std::chrono::milliseconds> longest;
    if (end) longest = std::chrono::ceil<std::chrono::milliseconds>(*end - now);
    pollfd ready[] = {{mHandle.Get(), POLLIN, 0}, {output, 0, 0}};
    interruption::WaitFor(ready, 2, longest);
    mIsReaderGone = ready[1].revents != 0;
    TakeEvents(&changes);
    if (mIsReaderGone || changes.all || !changes.folders.empty() || !changes.paths.empty()) break;
  }
  if (looksAgain && Clock::now() >= next) {
    mNextLook = Clock::now() + kBetweenLooks;
    WatchMissing(&changes);
    changes.all = changes.all || mLooksOnceASecond;
  }
  return changes;
}

void ChangeWatch::WatchMissing(Changes* changes) {
  for (auto folder = mMissing.begin(); folder != mMissing.end();) {
    if (!Watch(*folder)) {
      ++folder;
      continue;
    }
    changes->folders.insert(*folder);
    folder = mMissing.erase(folder);
  }
}

void ChangeWatch::TakeEvents(Changes* changes) {
  if (!mHandle.IsOpen()) return;
  alignas(inotify_event) char events[65536];
  for (ssize_t size; (size = read(mHandle.Get(), events, sizeof(events))) > 0;) {
    for (char* place = events; place < events + size;) {
      const auto* const event = reinterpret_cast<inotify_event*>(place);
      place += sizeof(inotify_event) + event->len;
      if ((event->mask & IN_Q_OVERFLOW) != 0) changes->all = true;
      const auto watched = mFolders.find(event->wd);
      if (watched == mFolders.end()) continue;
      for (const std::string& folder : watched->second) {
        if ((event->mask & kContentsChange) == 0 || event->len == 0) {
          changes->folders.insert(folder);
        } else {
          changes->paths.insert((folder == "/" ? folder : folder + "/") + event->name);
        }
      }
      const bool isMoved = (event->mask & IN_MOVE_SELF) != 0;
      if (isMoved) inotify_rm_watch(mHandle.Get(), event->wd);
      if (!isMoved && (event->mask & IN_IGNORED) == 0) continue;
      // What has that name now is another folder, or comes to be there.
      mMissing.insert(watched->second.begin(), watched->second.end());
      mFolders.erase(watched);
    }
  }
}
