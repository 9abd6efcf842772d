#include "indexer/plain_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QFile>
#include <cerrno>

#include "blocks/cancellation_hold.h"

namespace {

// Smaller pieces are collected before they are passed on.
constexpr std::size_t kLargestPiece = 65536;

// statx is the one call that copes with large files and late dates in the 32-bit build too.
bool Identify(const QString& path, int flags, struct statx* identity) {
  return statx(AT_FDCWD, QFile::encodeName(path).constData(), flags, STATX_INO, identity) == 0;
}

bool AreOne(const struct statx& first, const struct statx& second) {
  return first.stx_ino == second.stx_ino && first.stx_dev_major == second.stx_dev_major &&
         first.stx_dev_minor == second.stx_dev_minor;
}

int OpenFlags(PlainFile::Mode mode) {
  switch (mode) {
    case PlainFile::Mode::kRead:
      return O_RDONLY;
    case PlainFile::Mode::kUpdate:
      return O_WRONLY;
    default:
      return O_WRONLY | O_CREAT | O_EXCL;
  }
}

}  // namespace

PlainFile::~PlainFile() {
  Close();
}

bool PlainFile::Open(const QString& path, Mode mode, unsigned permissions) {
  return OpenBytes(QFile::encodeName(path).constData(), mode, permissions);
}

bool PlainFile::Open(const std::string& path, Mode mode, unsigned permissions) {
  return OpenBytes(path.c_str(), mode, permissions);
}

bool PlainFile::OpenBytes(const char* path, Mode mode, unsigned permissions) {
  constexpr int kNeverWait = O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
  mHandle = open(path, OpenFlags(mode) | kNeverWait, permissions);
  if (mHandle >= 0 && !Examine()) Close();
  return IsOpen();
}

bool PlainFile::Examine() {
  struct statx status;
  if (statx(mHandle, "", AT_EMPTY_PATH, STATX_TYPE | STATX_SIZE, &status) != 0) return false;
  mSize = status.stx_size;
  return S_ISREG(status.stx_mode);
}

// Destructors end with it.
void PlainFile::Close() {
  const CancellationHold hold;
  if (mHandle >= 0) close(mHandle);
  mHandle = -1;
  mSize = 0;
  mWaiting.clear();
  mFailed = false;
}

std::uint64_t PlainFile::SizeNow() const {
  struct statx status;
  return statx(mHandle, "", AT_EMPTY_PATH, STATX_SIZE, &status) == 0 ? status.stx_size : 0;
}

std::size_t PlainFile::Read(void* bytes, std::size_t size) {
  auto* const place = static_cast<char*>(bytes);
  std::size_t done = 0;
  while (done < size) {
    const ssize_t count = read(mHandle, place + done, size - done);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    done += static_cast<std::size_t>(count);
  }
  return done;
}

std::size_t PlainFile::ReadAt(FilePosition position, void* bytes, std::size_t size,
                              bool* failed) const {
  auto* const place = static_cast<char*>(bytes);
  std::size_t done = 0;
  ssize_t count = IsOpen() ? 1 : 0;
  while (done < size && count != 0) {
    count = pread(mHandle, place + done, size - done, static_cast<off_t>(position + done));
    if (count < 0 && errno != EINTR) break;
    if (count > 0) done += static_cast<std::size_t>(count);
  }
  *failed = count < 0;
  return done;
}

bool PlainFile::Write(const void* bytes, std::size_t size) {
  const auto* const first = static_cast<const char*>(bytes);
  if (mWaiting.size() + size > kLargestPiece) Flush();
  if (size > kLargestPiece) {
    PassOn(first, size);
  } else {
    mWaiting.insert(mWaiting.end(), first, first + size);
  }
  return !mFailed;
}

bool PlainFile::Empty() {
  mWaiting.clear();
  mFailed = ftruncate(mHandle, 0) != 0 || mFailed;
  return !mFailed;
}

bool PlainFile::BeginSaving() {
  Flush();
  // Where this does not work, saving waits longer.
  sync_file_range(mHandle, 0, 0, SYNC_FILE_RANGE_WRITE);
  return !mFailed;
}

bool PlainFile::SaveAndClose() {
  if (!IsOpen()) return false;
  Flush();
  // A file system that cannot wait for the disk has nothing to wait for.
  const bool onDisk = fdatasync(mHandle) == 0 || errno == EINVAL || errno == ENOTSUP;
  const bool saved = onDisk && !mFailed;
  // Closing may be the first call to report a full disk.
  const CancellationHold hold;
  const bool closed = close(mHandle) == 0;
  mHandle = -1;
  Close();
  return saved && closed;
}

void PlainFile::Flush() {
  PassOn(mWaiting.data(), mWaiting.size());
  mWaiting.clear();
}

void PlainFile::PassOn(const char* bytes, std::size_t size) {
  std::size_t done = 0;
  while (done < size && !mFailed) {
    const ssize_t count = write(mHandle, bytes + done, size - done);
    if (count < 0 && errno == EINTR) continue;
    mFailed = count <= 0;
    if (!mFailed) done += static_cast<std::size_t>(count);
  }
}

bool IsSameFile(const QString& path, const QString& other) {
  if (path == other) return true;
  struct statx first;
  struct statx second;
  return Identify(path, 0, &first) && Identify(other, 0, &second) && AreOne(first, second);
}

bool IsStillAt(const QString& path, int handle) {
  struct statx named;
  struct statx open;
  return Identify(path, AT_SYMLINK_NOFOLLOW, &named) &&
         statx(handle, "", AT_EMPTY_PATH, STATX_INO, &open) == 0 && AreOne(named, open);
}
