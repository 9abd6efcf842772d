#include "system/file_status.h"

#include <fcntl.h>

namespace {

std::optional<struct statx> Ask(int folder, const char* path, int flags) {
  struct statx status = {};
  if (statx(folder, path, flags | AT_STATX_SYNC_AS_STAT, STATX_BASIC_STATS, &status) != 0)
    return std::nullopt;
  return status;
}

}  // namespace

std::optional<struct statx> StatusOf(const std::string& path, Links links) {
  return Ask(AT_FDCWD, path.c_str(), links == Links::kFollow ? 0 : AT_SYMLINK_NOFOLLOW);
}

std::optional<struct statx> StatusOf(const FileHandle& file) {
  return Ask(file.Get(), "", AT_EMPTY_PATH);
}
