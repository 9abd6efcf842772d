#include "sources/archive_identity.h"

#include <time.h>

#include <QFile>
#include <algorithm>
#include <tuple>

#include "sources/index_place.h"
#include "system/file_status.h"

namespace {

constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;
// No file system's clock ticks more slowly.
constexpr std::int64_t kLongestTick = 2 * kNanosecondsPerSecond;

std::int64_t Nanoseconds(const struct statx_timestamp& time) {
  // Some file systems accept any 64-bit number as a time.
  constexpr std::int64_t kFar = 9'000'000'000;
  const std::int64_t seconds = std::clamp<std::int64_t>(time.tv_sec, -kFar, kFar);
  return seconds * kNanosecondsPerSecond + time.tv_nsec;
}

std::int64_t Now() {
  struct timespec now = {};
  clock_gettime(CLOCK_REALTIME, &now);
  return static_cast<std::int64_t>(now.tv_sec) * kNanosecondsPerSecond + now.tv_nsec;
}

FileIdentity IdentityOf(const std::string& path) {
  FileIdentity identity;
  const auto status = StatusOf(path);
  if (!status) return identity;
  identity.size = status->stx_size;
  identity.inode = status->stx_ino;
  identity.device = std::uint64_t{status->stx_dev_major} << 32 | status->stx_dev_minor;
  identity.modified = Nanoseconds(status->stx_mtime);
  identity.changed = Nanoseconds(status->stx_ctime);
  return identity;
}

FileIdentity IdentityOf(const QString& path) {
  return IdentityOf(std::string(QFile::encodeName(path).constData()));
}

}  // namespace

bool operator==(const FileIdentity& one, const FileIdentity& other) {
  return std::tie(one.size, one.inode, one.device, one.modified, one.changed) ==
         std::tie(other.size, other.inode, other.device, other.modified, other.changed);
}

bool operator==(const ArchiveIdentity& one, const ArchiveIdentity& other) {
  return std::tie(one.archive, one.entries, one.headers, one.events) ==
         std::tie(other.archive, other.entries, other.headers, other.events);
}

ArchiveIdentity LookAtArchive(const std::string& archive, const std::string& cacheFolder) {
  ArchiveIdentity identity;
  identity.lookedAt = Now();
  identity.archive = IdentityOf(archive);
  const CacheNames names = CacheOf(archive, cacheFolder);
  identity.entries = IdentityOf(names.entries);
  identity.headers = IdentityOf(names.headers);
  identity.events = IdentityOf(names.events);
  return identity;
}

bool ShowsChanges(const ArchiveIdentity& identity) {
  const std::int64_t latest = identity.lookedAt - kLongestTick;
  const FileIdentity* const files[] = {&identity.archive, &identity.entries, &identity.headers,
                                       &identity.events};
  return std::all_of(std::begin(files), std::end(files), [latest](const FileIdentity* file) {
    return file->modified <= latest && file->changed <= latest;
  });
}
