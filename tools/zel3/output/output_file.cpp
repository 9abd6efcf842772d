#include "output/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "system/failure.h"
#include "system/file_status.h"
#include "system/interruption.h"

OutputFile::OutputFile(const std::string& path) : mPath(path) {}

OutputFile::~OutputFile() {
  if (mInPlace.Get() == STDOUT_FILENO) mInPlace.Release();
}

bool OutputFile::IsStandardOutput(const std::string& path) {
  return path == "-" || path == "/dev/stdout" || path == "/dev/fd/1" || path == "/proc/self/fd/1";
}

void OutputFile::Write(const unsigned char* bytes, std::size_t size) {
  if (!mUnfinished && !mInPlace.IsOpen()) Open();
  if (mUnfinished) {
    mUnfinished->Write(bytes, size);
  } else if (!WriteAll(mInPlace.Get(), bytes, size)) {
    Fail();
  }
  mBytesWritten += size;
}

void OutputFile::Finish() {
  if (mUnfinished) {
    mUnfinished->Finish();
    mUnfinished->Save();
    mUnfinished->TakeName(mPath, UnfinishedFile::Existing::kReplace);
    mUnfinished.reset();
  } else if (mInPlace.IsOpen() && mInPlace.Get() != STDOUT_FILENO) {
    interruption::Check();
    if (close(mInPlace.Release()) != 0) Fail();
  }
}

void OutputFile::Open() {
  if (IsStandardOutput(mPath)) {
    mInPlace = FileHandle(STDOUT_FILENO);
    return;
  }
  const std::string target = WhereLinksLead(mPath);
  const auto status = StatusOf(target);
  if (NamesAnOpenFile(target) || (status && !S_ISREG(status->stx_mode))) {
    mInPlace = FileHandle(open(target.c_str(), O_WRONLY | O_CLOEXEC));
    if (!mInPlace.IsOpen()) Fail();
    return;
  }
  if (status && faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0) Fail();
  mUnfinished.emplace(mPath);
}

void OutputFile::Fail() const {
  const std::string reason = std::strerror(errno);
  interruption::Check();
  throw Failure("cannot write " + mPath + ": " + reason);
}
