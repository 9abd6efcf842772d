#include "system/file_status.h"

#include <fcntl.h>

namespace {

std::optional<struct statx> Ask(int folder, const char* path, int flags) {
  struct statx status = {};
  if (statx(folder, path, flags | AT_STATX_SYNC_AS_STAT, STATX_BASIC_STATS | STATX_BTIME,
            &status) != 0)
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

InodeId InodeOf(const struct statx& status) {
  constexpr std::uint64_t kNanoseconds = 1'000'000'000;
  const bool isKnown = (status.stx_mask & STATX_BTIME) != 0;
  const std::uint64_t made =
      static_cast<std::uint64_t>(status.stx_btime.tv_sec) * kNanoseconds + status.stx_btime.tv_nsec;
  return {std::uint64_t{status.stx_dev_major} << 32 | status.stx_dev_minor, status.stx_ino,
          isKnown ? made : 0};
}

bool AreOneFile(const std::string& path, const std::string& other) {
  const auto first = StatusOf(path);
  const auto second = StatusOf(other);
  return first && second && first->stx_ino == second->stx_ino &&
         first->stx_dev_major == second->stx_dev_major &&
         first->stx_dev_minor == second->stx_dev_minor;
}
