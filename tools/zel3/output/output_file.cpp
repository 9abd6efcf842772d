#include "output/output_file.h"

#include <fcntl.h>
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

namespace {

constexpr int kMostLinks = 40;
constexpr mode_t kRights = 0777;

bool StartsWith(const std::string& text, const std::string& start) {
  return text.compare(0, start.size(), start) == 0;
}

// The system's names for files that a process has open: what stands there has no name of its own.
bool NamesAnOpenFile(const std::string& path) {
  return path == "/dev/stdout" || path == "/dev/stderr" || StartsWith(path, "/dev/fd/") ||
         StartsWith(path, "/proc/");
}

// Where symbolic links lead, also when nothing stands there yet.
std::string WhereLinksLead(const std::string& path) {
  std::filesystem::path target = path;
  std::error_code none;
  for (int i = 0; i < kMostLinks && std::filesystem::is_symlink(target, none); ++i) {
    if (NamesAnOpenFile(target.string())) break;
    target = target.parent_path() / std::filesystem::read_symlink(target, none);
  }
  return target.string();
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

// A file system that cannot wait for the disk has nothing to wait for.
bool BringToDisk(int file) {
  return fsync(file) == 0 || errno == EINVAL || errno == ENOTSUP;
}

}  // namespace

OutputFile::OutputFile(const std::string& path) : mPath(path) {}

OutputFile::~OutputFile() {
  if (mFile.Get() == STDOUT_FILENO) mFile.Release();
  if (!mUnfinished.empty()) unlink(mUnfinished.c_str());
}

bool OutputFile::IsStandardOutput(const std::string& path) {
  return path == "-" || path == "/dev/stdout" || path == "/dev/fd/1" || path == "/proc/self/fd/1";
}

void OutputFile::Write(const unsigned char* bytes, std::size_t size) {
  if (!mFile.IsOpen()) Open();
  for (std::size_t done = 0; done < size;) {
    const ssize_t written = write(mFile.Get(), bytes + done, size - done);
    if (written >= 0) {
      done += static_cast<std::size_t>(written);
    } else if (errno == EINTR) {
      interruption::Check();
    } else {
      Fail();
    }
  }
  mBytesWritten += size;
}

void OutputFile::Finish() {
  if (!mFile.IsOpen() || mFile.Get() == STDOUT_FILENO) return;
  interruption::Check();
  if (mUnfinished.empty()) {
    if (close(mFile.Release()) != 0) Fail();
    return;
  }
  if (!BringToDisk(mFile.Get()) || close(mFile.Release()) != 0) Fail();
  if (rename(mUnfinished.c_str(), mTarget.c_str()) != 0) Fail();
  mUnfinished.clear();
  const FileHandle folder = OpenForReading(FolderWithSlash(mTarget), O_DIRECTORY);
  if (folder.IsOpen()) BringToDisk(folder.Get());
}

void OutputFile::Open() {
  if (IsStandardOutput(mPath)) {
    mFile = FileHandle(STDOUT_FILENO);
    return;
  }
  mTarget = WhereLinksLead(mPath);
  const auto status = StatusOf(mTarget);
  if (NamesAnOpenFile(mTarget) || (status && !S_ISREG(status->stx_mode))) {
    OpenInPlace();
    return;
  }
  if (status && faccessat(AT_FDCWD, mTarget.c_str(), W_OK, AT_EACCESS) != 0) Fail();
  OpenBeside();
  if (fchmod(mFile.Get(), status ? status->stx_mode & kRights : ModeOfNewFiles()) != 0) Fail();
}

void OutputFile::OpenInPlace() {
  mFile = FileHandle(open(mTarget.c_str(), O_WRONLY | O_CLOEXEC));
  if (!mFile.IsOpen()) Fail();
}

void OutputFile::OpenBeside() {
  interruption::WatchAllEndings();
  std::string unfinished = FolderWithSlash(mTarget) + ".zel3-XXXXXX";
  mFile = FileHandle(mkostemp(unfinished.data(), O_CLOEXEC));
  if (!mFile.IsOpen()) Fail();
  mUnfinished = unfinished;
}

void OutputFile::Fail() const {
  const std::string reason = std::strerror(errno);
  interruption::Check();
  throw Failure("cannot write " + mPath + ": " + reason);
}
