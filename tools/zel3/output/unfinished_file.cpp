#include "output/unfinished_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "system/failure.h"
#include "system/file_status.h"
#include "system/interruption.h"
#include "system/passing_name.h"

namespace {

constexpr int kMostLinks = 40;
constexpr mode_t kRights = 0777;

bool StartsWith(const std::string& text, const std::string& start) {
  return text.compare(0, start.size(), start) == 0;
}

std::string FolderWithSlash(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
}

// As for any file that the user makes.
mode_t ModeOfNewFiles() {
  const mode_t mask = umask(0);
  umask(mask);
  return static_cast<mode_t>(0666) & ~mask;
}

// A file system that does not support waiting for the disk has nothing to wait for.
bool BringToDisk(int file) {
  return fsync(file) == 0 || errno == EINVAL || errno == ENOTSUP;
}

// Also where the file system cannot do it in one step.
bool MoveUnlessThere(const std::string& from, const std::string& to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return true;
  if (errno != EINVAL && errno != ENOSYS) return false;
  return link(from.c_str(), to.c_str()) == 0 && unlink(from.c_str()) == 0;
}

}  // namespace

bool NamesAnOpenFile(const std::string& path) {
  return path == "/dev/stdout" || path == "/dev/stderr" || StartsWith(path, "/dev/fd/") ||
         StartsWith(path, "/proc/");
}

std::string WhereLinksLead(const std::string& path) {
  std::filesystem::path target = path;
  std::error_code none;
  for (int i = 0; i < kMostLinks && std::filesystem::is_symlink(target, none); ++i) {
    if (NamesAnOpenFile(target.string())) break;
    target = target.parent_path() / std::filesystem::read_symlink(target, none);
  }
  return target.string();
}

bool WriteAll(int file, const unsigned char* bytes, std::size_t size) {
  for (std::size_t done = 0; done < size;) {
    const ssize_t written = write(file, bytes + done, size - done);
    if (written >= 0) {
      done += static_cast<std::size_t>(written);
    } else if (errno == EINTR) {
      interruption::Check();
    } else {
      return false;
    }
  }
  return true;
}

UnfinishedFile::UnfinishedFile(const std::string& target, const std::string& suffix)
    : mShown(target) {
  interruption::WatchAllEndings();
  std::string path = FolderWithSlash(WhereLinksLead(target)) + passing_name::kPattern + suffix;
  mFile = FileHandle(mkostemps(path.data(), static_cast<int>(suffix.size()), O_CLOEXEC));
  if (!mFile.IsOpen()) Fail();
  mPath = path;
  // Shows zel3 caches that the file is not left over.
  flock(mFile.Get(), LOCK_EX | LOCK_NB);
}

UnfinishedFile::~UnfinishedFile() {
  if (!mPath.empty()) unlink(mPath.c_str());
}

void UnfinishedFile::Write(const unsigned char* bytes, std::size_t size) {
  if (!WriteAll(mFile.Get(), bytes, size)) Fail();
  mEndsWithHole = false;
  Grow(size);
}

bool UnfinishedFile::CopyFrom(int source, FilePosition position, std::size_t size) {
  auto from = static_cast<loff_t>(position);
  for (std::size_t done = 0; done < size;) {
    const ssize_t count = copy_file_range(source, &from, mFile.Get(), nullptr, size - done, 0);
    if (count > 0) {
      done += static_cast<std::size_t>(count);
    } else if (count < 0 && errno == EINTR) {
      interruption::Check();
    } else if (count < 0 && (errno == ENOSPC || errno == EDQUOT || errno == EFBIG)) {
      Fail();
    } else {
      // A part of a record must not stay when the rest of it cannot be read.
      const auto end = static_cast<off_t>(mSize);
      if (lseek(mFile.Get(), end, SEEK_SET) < 0 || ftruncate(mFile.Get(), end) != 0) Fail();
      return false;
    }
  }
  mEndsWithHole = false;
  Grow(size);
  return true;
}

void UnfinishedFile::Skip(std::uint64_t size) {
  if (lseek(mFile.Get(), static_cast<off_t>(size), SEEK_CUR) < 0) Fail();
  mEndsWithHole = true;
  Grow(size);
}

void UnfinishedFile::CutToWhole() {
  if (ftruncate(mFile.Get(), static_cast<off_t>(mSize)) != 0) Fail();
}

void UnfinishedFile::Finish() {
  if (mEndsWithHole && ftruncate(mFile.Get(), static_cast<off_t>(mSize)) != 0) Fail();
}

void UnfinishedFile::Save() {
  interruption::Check();
  if (!BringToDisk(mFile.Get()) || close(mFile.Release()) != 0) Fail();
}

void UnfinishedFile::TakeName(const std::string& name, Existing existing) {
  mShown = name;
  const std::string target = existing == Existing::kReplace ? WhereLinksLead(name) : name;
  const auto status = StatusOf(target);
  // A rename checks the permissions of the folder only.
  if (existing == Existing::kReplace && status &&
      faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0) {
    Fail();
  }
  if (chmod(mPath.c_str(), status ? status->stx_mode & kRights : ModeOfNewFiles()) != 0) Fail();
  const bool hasMoved = existing == Existing::kReplace
                            ? std::rename(mPath.c_str(), target.c_str()) == 0
                            : MoveUnlessThere(mPath, target);
  if (!hasMoved) Fail();
  mPath.clear();
  const FileHandle folder = OpenForReading(FolderWithSlash(target), O_DIRECTORY);
  if (folder.IsOpen()) BringToDisk(folder.Get());
}

void UnfinishedFile::Grow(std::uint64_t size) {
  mSize += size;
  if (mHearGrowth) mHearGrowth(mSize);
}

void UnfinishedFile::Fail() const {
  const std::string reason = std::strerror(errno);
  interruption::Check();
  throw Failure("cannot write " + mShown + ": " + reason);
}
