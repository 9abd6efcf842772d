#include "sources/kept_inventory.h"

#include <unistd.h>

#include <QDateTime>
#include <QFile>
#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "sources/archive_source.h"
#include "sources/cache_file_name.h"
#include "sources/cache_home.h"
#include "sources/check_memory.h"
#include "sources/folder_archives.h"
#include "sources/index_place.h"
#include "sources/reader_path.h"
#include "system/failure.h"
#include "system/file_status.h"

namespace {

// Where the name of the archive begins in a stem in a folder of indexes: after the time and a
// blank.
constexpr std::size_t kTimeSize = 18;

std::string EntriesFileOf(const std::string& archive, const std::string& folder) {
  return QFile::encodeName(CacheOf(archive, folder).entries).constData();
}

// Where a link leads; empty for anything else.
std::string TargetOf(const std::string& link) {
  std::string target(PATH_MAX, '\0');
  const ssize_t size = readlink(link.c_str(), target.data(), target.size());
  target.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
  return target;
}

// Whether a stem begins with the time of an archive in some time zone: a process in another zone
// looks for the index under another name.
bool HasTimeOf(const std::string& archive, const std::string& stem) {
  constexpr std::int64_t kQuarterOfAnHour = 900;
  constexpr std::int64_t kMostBetweenZones = 26 * 3600;
  const QString text = QLatin1String("20") + QLatin1String(stem.substr(0, kTimeSize - 1).c_str());
  QDateTime named = QDateTime::fromString(text, QLatin1String("yyyy.MM.dd hh-mm-ss"));
  named.setTimeSpec(Qt::UTC);
  const auto status = StatusOf(archive);
  if (!named.isValid() || !status) return false;
  const std::int64_t apart = named.toSecsSinceEpoch() - status->stx_mtime.tv_sec;
  return std::abs(apart) <= kMostBetweenZones && apart % kQuarterOfAnHour == 0;
}

class Inventory {
 public:
  Inventory(const std::string& cacheFolder, const std::vector<SourceFacts>& sources)
      : mCacheFolder(cacheFolder), mSources(sources) {
    for (const SourceFacts& source : sources) {
      for (const std::string& archive : source.Archives()) {
        if (source.HasIndex(archive))
          mInUse[EntriesFileOf(archive, source.IndexFolderOf(archive))] = archive;
      }
      const std::string folder = archive_source::CanonicalPath(FolderOf(source));
      mOwners[cache_home::NameFor(folder)] = folder;
    }
  }

  KeptInventory Take() {
    for (const SourceFacts& source : mSources) LookBeside(source);
    if (!mCacheFolder.empty() && archive_source::IsFolder(mCacheFolder))
      LookInto(mCacheFolder, KeptPlace::kFolder, "");
    LookIntoCacheHome();
    return std::move(mFound);
  }

 private:
  static std::string FolderOf(const SourceFacts& source) {
    return source.IsFolder() ? source.Path() : archive_source::FolderOf(source.Path());
  }

  void Add(KeptCache cache) {
    const std::string path = cache.PathOf(cache.files.front());
    if (mSeen.insert(path).second) mFound.caches.push_back(std::move(cache));
  }

  // Beside archives, files with such names may be somebody else's: only what can be of an archive
  // is listed.
  void LookBeside(const SourceFacts& source) {
    const std::string folder = FolderOf(source);
    // Each file of a folder may have been named by itself.
    const auto looked = mBeside.find(folder);
    const Beside& beside =
        looked != mBeside.end()
            ? looked->second
            : mBeside.try_emplace(folder, folder, InFolder(folder, KeptPlace::kBeside))
                  .first->second;
    const FolderArchives& archives = beside.archives;
    if (archives.IsEmpty()) return;
    const std::string only = source.IsFolder() ? "" : EntriesFileOf(source.Path(), "");
    // What stands for its name in unfinished files where it is too long.
    std::vector<std::string> numbers = IndexStemsOf(source.Path());
    numbers.erase(numbers.begin());
    for (KeptCache cache : beside.caches) {
      if (kept_caches::IsOutput(cache)) {
        if (only.empty()) Add(std::move(cache));
        continue;
      }
      const bool isNumbered =
          std::find(numbers.begin(), numbers.end(), cache.name) != numbers.end();
      if (!only.empty() && !isNumbered && cache.PathOf(cache.name + ".id3") != only) continue;
      if (IsAnArchive(cache, source)) continue;
      const std::vector<std::string> named = archives.NamedAs(cache.name);
      if (!named.empty()) {
        cache.of = named.front();
        const auto inUse = mInUse.find(cache.PathOf(cache.name + ".id3"));
        if (cache.state == KeptState::kUnused && inUse != mInUse.end()) {
          cache.state = KeptState::kInUse;
          cache.of = inUse->second;
        }
      } else if (cache.state == KeptState::kUnused && cache.bytes > 0) {
        cache.state = KeptState::kOrphan;
      } else if (cache.state != KeptState::kBusy) {
        continue;
      }
      Add(std::move(cache));
    }
  }

  static bool IsAnArchive(const KeptCache& cache, const SourceFacts& source) {
    return std::any_of(cache.files.begin(), cache.files.end(), [&](const std::string& file) {
      const std::vector<std::string>& archives = source.Files();
      return std::find(archives.begin(), archives.end(), cache.PathOf(file)) != archives.end();
    });
  }

  void LookIntoCacheHome() {
    const std::string home = cache_home::Path();
    if (home.empty() || !StatusOf(home, Links::kNot)) return;
    if (!cache_home::IsSafe(home)) {
      mFound.notLookedInto.push_back(home + " is not a folder that only this user can write");
      return;
    }
    std::vector<std::string> names = Names(home);
    std::sort(names.begin(), names.end());
    for (const std::string& name : names) {
      const std::string path = home + "/" + name;
      const bool isOurs = cache_home::IsName(name) && archive_source::IsFolder(path);
      if (isOurs && cache_home::IsSafe(path)) {
        LookInto(path, KeptPlace::kPrivate, OwnerOf(name, path));
      } else if (path != checked_files::Folder()) {
        Add({KeptPlace::kPrivate, KeptState::kStranger, home, name, {name}, 0, ""});
      }
    }
    LookIntoChecked();
  }

  // The canonical path of the folder whose indexes lie in a private folder; empty when not known.
  std::string OwnerOf(const std::string& name, const std::string& folder) {
    const auto known = mOwners.find(name);
    if (known != mOwners.end()) return known->second;
    for (const std::string& entry : Names(folder)) {
      const std::string target =
          reader_path::IsLinkName(entry) ? TargetOf(folder + "/" + entry) : "";
      if (target.empty() || target[0] != '/') continue;
      const std::string owner = archive_source::CanonicalPath(archive_source::FolderOf(target));
      if (cache_home::NameFor(owner) == name) return owner;
    }
    return "";
  }

  void LookInto(const std::string& folder, KeptPlace place, const std::string& owner) {
    const FolderArchives archives(owner);
    for (KeptCache& cache : InFolder(folder, place)) {
      const auto inUse = mInUse.find(cache.PathOf(cache.name + ".id3"));
      if (inUse != mInUse.end()) {
        cache.of = inUse->second;
        if (cache.state == KeptState::kUnused) cache.state = KeptState::kInUse;
      } else {
        FindOwner(archives, &cache);
      }
      Add(std::move(cache));
    }
  }

  // Finds the archive of a cache that is not in use.
  void FindOwner(const FolderArchives& archives, KeptCache* cache) const {
    const bool isWhole = cache->state == KeptState::kUnused;
    if (isWhole) cache->state = KeptState::kUnknown;
    if (archives.IsEmpty() || !BeginsWithTime(cache->name)) return;
    const std::vector<std::string> named = archives.NamedAs(cache->name.substr(kTimeSize));
    const auto current = std::find_if(named.begin(), named.end(), [&](const std::string& archive) {
      return EntriesFileOf(archive, cache->folder) == cache->PathOf(cache->name + ".id3");
    });
    if (!named.empty()) cache->of = current != named.end() ? *current : named.front();
    if (!isWhole) return;
    if (named.empty()) {
      cache->state = KeptState::kOrphan;
    } else if (current == named.end()) {
      const bool mayBeInUse = std::any_of(
          named.begin(), named.end(),
          [cache](const std::string& archive) { return HasTimeOf(archive, cache->name); });
      cache->state = mayBeInUse ? KeptState::kUnused : KeptState::kOutdated;
    } else {
      const std::string used = FindIndex(mCacheFolder, *current).folder;
      const bool isInUse = reader_path::IndexFolderOf(*current, used) == cache->folder;
      cache->state = isInUse ? KeptState::kInUse : KeptState::kUnused;
    }
  }

  void LookIntoChecked() {
    const std::string folder = checked_files::Folder();
    if (folder.empty() || !archive_source::IsFolder(folder)) return;
    std::vector<std::string> names = Names(folder);
    std::sort(names.begin(), names.end());
    for (const std::string& name : names) {
      KeptCache cache{KeptPlace::kChecked, KeptState::kUnknown, folder, name, {name}, 0, ""};
      const auto status = StatusOf(folder + "/" + name, Links::kNot);
      if (status) cache.bytes = status->stx_size;
      switch (checked_files::KindOf(folder + "/" + name)) {
        case checked_files::Kind::kWhole:
          if (mOwners.count(name) > 0) {
            cache.of = mOwners[name];
            cache.state = KeptState::kInUse;
          }
          break;
        case checked_files::Kind::kEarlier:
          cache.state = KeptState::kOutdated;
          break;
        case checked_files::Kind::kUnfinished:
          cache.state =
              status && kept_caches::IsFresh(*status) ? KeptState::kBusy : KeptState::kLeftover;
          break;
        case checked_files::Kind::kStranger:
          cache.state = KeptState::kStranger;
          break;
      }
      Add(std::move(cache));
    }
  }

  // A folder that cannot be looked into is reported and does not affect the rest.
  std::vector<std::string> Names(const std::string& folder) {
    try {
      return kept_caches::NamesIn(folder);
    } catch (const Failure& failure) {
      mFound.notLookedInto.push_back(failure.what());
      return {};
    }
  }

  std::vector<KeptCache> InFolder(const std::string& folder, KeptPlace place) {
    if (Names(folder).empty()) return {};
    return kept_caches::In(folder, place);
  }

  // What lies in a folder of archives.
  struct Beside {
    Beside(const std::string& folder, std::vector<KeptCache> found)
        : archives(folder), caches(std::move(found)) {}

    FolderArchives archives;
    std::vector<KeptCache> caches;
  };

  const std::string mCacheFolder;
  const std::vector<SourceFacts>& mSources;
  std::map<std::string, Beside> mBeside;       // by folder
  std::map<std::string, std::string> mInUse;   // archives by the paths of their .id3 files
  std::map<std::string, std::string> mOwners;  // folders by the names of their private folders
  std::set<std::string> mSeen;
  KeptInventory mFound;
};

}  // namespace

KeptInventory FindKeptCaches(const std::string& cacheFolder,
                             const std::vector<SourceFacts>& sources) {
  return Inventory(cacheFolder, sources).Take();
}
