#include "system/file_handle.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>
#include <vector>

#include "system/failure.h"

namespace {

// Archives, cache files with their unfinished copies, folders and a plug-in, with some to spare.
constexpr std::size_t kHandlesOfAReader = 24;

bool NoHandleIsLeft(int error) {
  return error == EMFILE || error == ENFILE;
}

}  // namespace

FileHandle::~FileHandle() {
  if (IsOpen()) close(mHandle);
}

FileHandle& FileHandle::operator=(FileHandle&& other) noexcept {
  std::swap(mHandle, other.mHandle);
  return *this;
}

int FileHandle::Release() {
  return std::exchange(mHandle, -1);
}

FileHandle OpenForReading(const std::string& path, int flags) {
  constexpr int kNeverWait = O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
  FileHandle file(open(path.c_str(), O_RDONLY | kNeverWait | flags));
  if (!file.IsOpen() && NoHandleIsLeft(errno))
    throw Failure("cannot open " + path + ": " + std::strerror(errno));
  return file;
}

void RequireFileHandles() {
  std::vector<FileHandle> handles;
  while (handles.size() < kHandlesOfAReader) {
    handles.emplace_back(open("/dev/null", O_RDONLY | O_CLOEXEC));
    if (handles.back().IsOpen()) continue;
    if (!NoHandleIsLeft(errno)) return;
    throw Failure("too few files may be open at once: a reader needs " +
                  std::to_string(kHandlesOfAReader));
  }
}
