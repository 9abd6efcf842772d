#include "sources/kept_caches.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <map>
#include <memory>
#include <utility>

#include "blocks/units.h"
#include "indexer/file_index_store.h"
#include "sources/cache_file_name.h"
#include "sources/cache_home.h"
#include "sources/index_lock.h"
#include "sources/reader_path.h"
#include "system/failure.h"
#include "system/file_status.h"
#include "system/interruption.h"
#include "system/passing_name.h"

namespace {

struct CloseOpenFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};

std::uint64_t SizeAt(const std::string& path) {
  const auto status = StatusOf(path, Links::kNot);
  return status ? status->stx_size : 0;
}

bool IsLink(const std::string& path) {
  const auto status = StatusOf(path, Links::kNot);
  return status && S_ISLNK(status->stx_mode);
}

// Without a suffix an archive's index is named after the first parts of its time: 24.05
bool IsCutTime(const std::string& stem) {
  return stem.size() == 5 && BeginsWithTime(stem + ".01 00-00-00 x");
}

bool HasNameOfPlace(const CacheFileName& name, KeptPlace place) {
  if (place == KeptPlace::kBeside || BeginsWithTime(name.stem)) return true;
  // A name that would be too long stands in an unfinished one as a number.
  return (name.isUnfinished && cache_home::IsName(name.stem)) ||
         (place == KeptPlace::kPrivate && IsCutTime(name.stem));
}

bool IsStrangerThere(const std::string& path, const CacheFileName& name, KeptPlace place) {
  // An unfinished file lacks its end; away from archives the name says much.
  const bool isByName = name.isUnfinished || place != KeptPlace::kBeside;
  return isByName ? BeginsAsStranger(path, name.kind) : IsStranger(path, name.kind);
}

bool WasWrittenWithin(std::int64_t seconds, const struct statx& status) {
  return std::abs(std::int64_t{time(nullptr)} - status.stx_mtime.tv_sec) < seconds;
}

// Whether readers open these files without making them anew. `sizes`: of the whole files of an
// index.
bool AreAnIndex(const std::map<CacheKind, std::uint64_t>& sizes) {
  constexpr std::uint64_t kSmallestEventGroupBytes = 11;
  if (sizes.count(CacheKind::kEntries) == 0 || sizes.count(CacheKind::kEvents) == 0) return false;
  return sizes.count(CacheKind::kHeaders) == 0 ||
         sizes.at(CacheKind::kHeaders) >= sizeof(FilePosition) ||
         sizes.at(CacheKind::kEntries) >= sizeof(ZEL_ID3_REC) ||
         sizes.at(CacheKind::kEvents) > kSmallestEventGroupBytes;
}

class FolderOfCaches {
 public:
  FolderOfCaches(const std::string& folder, KeptPlace place) : mFolder(folder), mPlace(place) {}

  void Add(const std::string& file) {
    const std::string path = mFolder + "/" + file;
    if (mPlace == KeptPlace::kBeside && passing_name::Is(file)) return AddOutput(file);
    const auto name = CacheFileNameFrom(file);
    if (!name || !HasNameOfPlace(*name, mPlace)) {
      const bool isOurs = mPlace == KeptPlace::kPrivate && reader_path::IsLinkName(file);
      if (mPlace != KeptPlace::kBeside && !(isOurs && IsLink(path))) AddStranger(file, file);
      return;
    }
    if (IsStrangerThere(path, *name, mPlace)) return AddStranger(name->stem, file);
    const auto status = StatusOf(path, Links::kNot);
    if (!status) return;
    Group& group = mGroups[{name->stem, name->isUnfinished}];
    group.files.push_back(file);
    group.sizes[name->kind] = status->stx_size;
    group.bytes += status->stx_size;
    group.isFresh = group.isFresh || kept_caches::IsFresh(*status);
  }

  // By name.
  std::vector<KeptCache> All() {
    for (auto& [key, group] : mGroups) {
      std::sort(group.files.begin(), group.files.end());
      const auto& [stem, isUnfinished] = key;
      const KeptState state = StateOf(stem, isUnfinished, group);
      mCaches.push_back({mPlace, state, mFolder, stem, std::move(group.files), group.bytes, ""});
    }
    std::sort(mCaches.begin(), mCaches.end(), [](const KeptCache& one, const KeptCache& other) {
      return one.name != other.name ? one.name < other.name : one.files < other.files;
    });
    return std::move(mCaches);
  }

 private:
  // The files of one index, whole or unfinished.
  struct Group {
    std::vector<std::string> files;
    std::map<CacheKind, std::uint64_t> sizes;
    std::uint64_t bytes = 0;
    bool isFresh = false;
  };

  void AddStranger(const std::string& name, const std::string& file) {
    mCaches.push_back(
        {mPlace, KeptState::kStranger, mFolder, name, {file}, SizeAt(mFolder + "/" + file), ""});
  }

  // What a verb has begun to write.
  void AddOutput(const std::string& file) {
    const auto status = StatusOf(mFolder + "/" + file, Links::kNot);
    if (!status || !S_ISREG(status->stx_mode)) return;
    const bool isBusy =
        kept_caches::IsYoungOutput(*status) || index_lock::IsLocked(mFolder + "/" + file);
    const KeptState state = isBusy ? KeptState::kBusy : KeptState::kLeftover;
    mCaches.push_back({mPlace, state, mFolder, file, {file}, status->stx_size, ""});
  }

  KeptState StateOf(const std::string& stem, bool isUnfinished, const Group& group) const {
    const KeptCache cache{mPlace, KeptState::kUnknown, mFolder, stem, group.files, 0, ""};
    for (const std::string& lock : kept_caches::LocksOf(cache)) {
      if (index_lock::IsHeld(lock)) return KeptState::kBusy;
    }
    if (isUnfinished) return group.isFresh ? KeptState::kBusy : KeptState::kLeftover;
    if (AreAnIndex(group.sizes)) return KeptState::kUnused;
    // A run makes its .id3 first. Beside archives, files like the rest may be somebody else's.
    const bool hasEntries = group.sizes.count(CacheKind::kEntries) > 0;
    const bool isOfARun = hasEntries || mPlace != KeptPlace::kBeside;
    return isOfARun ? KeptState::kLeftover : KeptState::kUnknown;
  }

  const std::string mFolder;
  const KeptPlace mPlace;
  std::map<std::pair<std::string, bool>, Group> mGroups;  // by stem, and whether unfinished
  std::vector<KeptCache> mCaches;
};

}  // namespace

const char* Name(KeptPlace place) {
  switch (place) {
    case KeptPlace::kBeside:
      return "beside";
    case KeptPlace::kPrivate:
      return "private";
    case KeptPlace::kFolder:
      return "folder";
    case KeptPlace::kChecked:
      return "checked";
  }
  return "";
}

const char* Name(KeptState state) {
  switch (state) {
    case KeptState::kInUse:
      return "in-use";
    case KeptState::kUnused:
      return "unused";
    case KeptState::kOutdated:
      return "outdated";
    case KeptState::kOrphan:
      return "orphan";
    case KeptState::kLeftover:
      return "leftover";
    case KeptState::kBusy:
      return "busy";
    case KeptState::kUnknown:
      return "unknown";
    case KeptState::kStranger:
      return "stranger";
  }
  return "";
}

namespace kept_caches {

bool IsFresh(const struct statx& status) {
  return WasWrittenWithin(60, status);
}

bool IsYoungOutput(const struct statx& status) {
  constexpr std::int64_t kDay = 24 * 3600;
  return WasWrittenWithin(kDay, status);
}

bool IsOutput(const KeptCache& cache) {
  return cache.place == KeptPlace::kBeside && passing_name::Is(cache.name);
}

std::vector<std::string> LocksOf(const KeptCache& cache) {
  if (cache.place == KeptPlace::kChecked) return {};
  if (IsOutput(cache)) return {cache.PathOf(cache.name)};
  const std::string claimed = cache.name + ".id3";
  std::vector<std::string> locks = {cache.PathOf(claimed)};
  for (const std::string& file : cache.files) {
    const auto name = CacheFileNameFrom(file);
    if (name && name->kind == CacheKind::kEntries && file != claimed)
      locks.push_back(cache.PathOf(file));
  }
  return locks;
}

std::vector<std::string> NamesIn(const std::string& folder) {
  const std::unique_ptr<DIR, CloseOpenFolder> open(opendir(folder.c_str()));
  if (open == nullptr) throw Failure("cannot look into " + folder + ": " + std::strerror(errno));
  std::vector<std::string> names;
  errno = 0;
  while (const dirent* const entry = readdir(open.get())) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
    errno = 0;
  }
  // Half a listing would make archives seem to be gone.
  if (errno != 0) throw Failure("cannot look into " + folder + ": " + std::strerror(errno));
  return names;
}

std::vector<KeptCache> In(const std::string& folder, KeptPlace place) {
  FolderOfCaches caches(folder, place);
  for (const std::string& name : NamesIn(folder)) {
    interruption::Check();
    caches.Add(name);
  }
  return caches.All();
}

}  // namespace kept_caches
