#include "indexer/file_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "blocks/cancellation_hold.h"

FileLock::FileLock(FileLock&& other) noexcept
    : mHandle(std::exchange(other.mHandle, -1)),
      mIsExclusive(std::exchange(other.mIsExclusive, false)) {}

FileLock& FileLock::operator=(FileLock&& other) noexcept {
  std::swap(mHandle, other.mHandle);
  std::swap(mIsExclusive, other.mIsExclusive);
  other.Release();
  return *this;
}

bool FileLock::Take(const PlainFile& file) {
  Release();
  mHandle = fcntl(file.Handle(), F_DUPFD_CLOEXEC, 0);
  if (mHandle < 0) return false;
  mIsExclusive = flock(mHandle, LOCK_EX | LOCK_NB) == 0;
  if (!mIsExclusive && errno == EWOULDBLOCK) Release();
  return mHandle >= 0;
}

void FileLock::Release() {
  const CancellationHold hold;
  if (mHandle >= 0) close(mHandle);
  mHandle = -1;
  mIsExclusive = false;
}

bool FileLock::IsHeldAt(const QString& path) const {
  return mHandle >= 0 && IsStillAt(path, mHandle);
}
