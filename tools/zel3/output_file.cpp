#include "output_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "interruption.h"
#include "tool_error.h"

namespace {

constexpr mode_t kReadableByAll = 0644;

}  // namespace

OutputFile::~OutputFile() {
  if (mDescriptor == kClosed || mDescriptor == STDOUT_FILENO) return;
  close(mDescriptor);
  std::error_code ignored;
  if (std::filesystem::is_regular_file(mPath, ignored)) std::filesystem::remove(mPath, ignored);
}

void OutputFile::Write(const std::vector<unsigned char>& bytes) {
  if (mDescriptor == kClosed) Open();
  for (std::size_t done = 0; done < bytes.size();) {
    const ssize_t written = write(mDescriptor, bytes.data() + done, bytes.size() - done);
    if (written >= 0) {
      done += static_cast<std::size_t>(written);
    } else if (errno == EINTR) {
      interruption::Check();
    } else {
      Fail();
    }
  }
  mBytesWritten += bytes.size();
}

void OutputFile::Finish() {
  if (mDescriptor == kClosed || mDescriptor == STDOUT_FILENO) return;
  if (close(mDescriptor) != 0) Fail();
  mDescriptor = kClosed;
}

void OutputFile::Open() {
  if (mPath == "-") {
    mDescriptor = STDOUT_FILENO;
    return;
  }
  mDescriptor = open(mPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kReadableByAll);
  if (mDescriptor == kClosed) Fail();
}

void OutputFile::Fail() const {
  const std::string reason = std::strerror(errno);
  interruption::Check();
  throw ToolError("cannot write " + mPath + ": " + reason);
}
