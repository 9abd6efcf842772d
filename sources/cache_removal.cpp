#include "sources/cache_removal.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <list>
#include <tuple>

#include "sources/cache_file_name.h"
#include "sources/cache_home.h"
#include "sources/check_memory.h"
#include "sources/index_lock.h"
#include "system/file_handle.h"
#include "system/file_status.h"

namespace cache_removal {

namespace {

using Status = std::optional<struct statx>;

Status Look(const std::string& path) {
  return StatusOf(path, Links::kNot);
}

bool AreOneUnchanged(const Status& one, const Status& other) {
  const auto traits = [](const Status& status) {
    return std::make_tuple(status->stx_ino, status->stx_dev_major, status->stx_dev_minor,
                           status->stx_size, status->stx_mtime.tv_sec, status->stx_mtime.tv_nsec);
  };
  return one && other && traits(one) == traits(other);
}

bool HasShape(const KeptCache& cache, const std::string& file) {
  const std::string path = cache.PathOf(file);
  if (cache.place == KeptPlace::kChecked)
    return checked_files::KindOf(path) != checked_files::Kind::kStranger;
  if (kept_caches::IsOutput(cache)) {
    const Status status = Look(path);
    return status && !kept_caches::IsYoungOutput(*status);
  }
  const auto name = CacheFileNameFrom(file);
  if (!name) return false;
  // An unfinished file lacks its end.
  return name->isUnfinished ? !BeginsAsStranger(path, name->kind) : !IsStranger(path, name->kind);
}

// Why a file stays; empty for one that may go. `status`: as it was before its bytes were looked at.
std::string WhyToKeep(const KeptCache& cache, const std::string& file, const Status& status) {
  if (!status) return std::string("cannot be looked at: ") + std::strerror(errno);
  if (status->stx_uid != geteuid()) return "belongs to another user";
  if (!S_ISREG(status->stx_mode) || status->stx_nlink != 1 || !HasShape(cache, file))
    return "no longer has the shape of a cache file";
  return "";
}

// Holds the lock of an index, as readers that write it do.
class Claim {
 public:
  explicit Claim(const std::string& entriesFile) {
    const Status before = Look(entriesFile);
    if (!before || !S_ISREG(before->stx_mode)) return;  // nobody can hold it
    mFile = OpenForReading(entriesFile, O_NOFOLLOW);
    const bool isTaken =
        mFile.IsOpen() && flock(mFile.Get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    // If the name is that of another file by now, another process has replaced it.
    mIsHad = !isTaken && AreOneUnchanged(before, Look(entriesFile));
  }

  bool IsHad() const { return mIsHad; }

 private:
  FileHandle mFile;
  bool mIsHad = true;
};

// The .evt file goes first: without it the others are not used.
std::vector<std::string> InOrder(const KeptCache& cache) {
  std::vector<std::string> files = cache.files;
  std::stable_partition(files.begin(), files.end(), [](const std::string& file) {
    const auto name = CacheFileNameFrom(file);
    return name && name->kind == CacheKind::kEvents;
  });
  return files;
}

bool LiesInSafeFolder(const KeptCache& cache) {
  const bool isInCacheHome =
      cache.place == KeptPlace::kPrivate || cache.place == KeptPlace::kChecked;
  return !isInCacheHome ||
         (cache_home::IsSafe(cache_home::Path()) && cache_home::IsSafe(cache.folder));
}

}  // namespace

bool IsWished(const KeptCache& cache, Wish wish) {
  switch (cache.state) {
    case KeptState::kStranger:
    case KeptState::kBusy:
      return false;
    case KeptState::kOrphan:
    case KeptState::kOutdated:
    case KeptState::kLeftover:
      return true;
    case KeptState::kInUse:
    case KeptState::kUnused:
    case KeptState::kUnknown:
      break;
  }
  // Beside archives, such files may be somebody else's.
  const bool isOurs = cache.place != KeptPlace::kBeside || !cache.of.empty();
  return wish == Wish::kAll && isOurs;
}

Result Remove(const KeptCache& cache, bool onlyLooks) {
  constexpr char kBusy[] = "is in the hands of another process";
  if (!LiesInSafeFolder(cache)) return {{}, "lies in a folder that others can write", 0};
  std::list<Claim> claims;
  for (const std::string& lock : kept_caches::LocksOf(cache)) {
    const bool isHeld = onlyLooks && (kept_caches::IsOutput(cache) ? index_lock::IsLocked(lock)
                                                                   : index_lock::IsHeld(lock));
    if (onlyLooks ? isHeld : !claims.emplace_back(lock).IsHad()) return {{}, kBusy, 0};
  }

  const std::vector<std::string> files = InOrder(cache);
  std::vector<Status> statuses;
  for (const std::string& file : files) {
    statuses.push_back(Look(cache.PathOf(file)));
    const std::string why = WhyToKeep(cache, file, statuses.back());
    if (!why.empty()) return {{}, why, 0};
  }
  Result result;
  for (std::size_t i = 0; i < files.size(); ++i) {
    const std::string path = cache.PathOf(files[i]);
    if (!AreOneUnchanged(statuses[i], Look(path))) {
      result.whyNot = "has changed meanwhile";
      break;
    }
    if (!onlyLooks && unlink(path.c_str()) != 0) {
      result.whyNot = std::string("cannot be removed: ") + std::strerror(errno);
      break;
    }
    result.removed.push_back(files[i]);
    result.bytes += statuses[i]->stx_size;
  }
  return result;
}

}  // namespace cache_removal
