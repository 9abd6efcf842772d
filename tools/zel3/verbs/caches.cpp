#include "verbs/caches.h"

#include <fmt/format.h>

#include <algorithm>
#include <iostream>

#include "json/json_line.h"
#include "output/notice.h"
#include "output/tables.h"
#include "sources/cache_folder.h"
#include "sources/kept_inventory.h"
#include "system/failure.h"
#include "system/interruption.h"
#include "text/shown_text.h"

namespace {

// How many caches, of how many files and bytes.
struct CacheCounts {
  std::uint64_t caches = 0;
  std::uint64_t files = 0;
  std::uint64_t bytes = 0;

  void Add(std::size_t fileCount, std::uint64_t byteCount) {
    ++caches;
    files += fileCount;
    bytes += byteCount;
  }
};

struct ShownCache {
  KeptCache cache;
  std::vector<std::string> removed;  // names of files removed, or that would be
};

std::string PathOf(const KeptCache& cache) {
  return cache.PathOf(cache.files.size() == 1 ? cache.files.front() : cache.name + ".*");
}

Json AsJson(const CacheCounts& counts) {
  return {{"caches", counts.caches}, {"files", counts.files}, {"bytes", counts.bytes}};
}

std::string AsText(const CacheCounts& counts) {
  return fmt::format("{} in {}, {}", Counted(counts.caches, "cache"), Counted(counts.files, "file"),
                     Counted(counts.bytes, "byte"));
}

// Lists and, if the user wants it, removes what is found; the output is complete even when the user
// interrupts.
class CachesRun {
 public:
  explicit CachesRun(const CachesOptions& options) : mOptions(options) {}

  void Take(const KeptInventory& inventory) {
    for (const std::string& why : inventory.notLookedInto) {
      PrintNotice(why + "; skipped");
      mIsWhole = false;
    }
    for (const KeptCache& cache : inventory.caches) {
      mShown.push_back({cache, {}});
      if (cache.state == KeptState::kStranger) {
        ++mStrangers;
      } else {
        mKept.Add(cache.files.size(), cache.bytes);
      }
    }
  }

  void Remove() {
    for (ShownCache& shown : mShown) {
      interruption::Check();
      if (!cache_removal::IsWished(shown.cache, *mOptions.wish)) {
        if (shown.cache.state == KeptState::kBusy)
          Stays(shown.cache, "another process is using it");
        continue;
      }
      const cache_removal::Result result = cache_removal::Remove(shown.cache, mOptions.onlyLooks);
      shown.removed = result.removed;
      if (!result.whyNot.empty()) Stays(shown.cache, "it " + result.whyNot);
      if (!shown.removed.empty()) mRemoved.Add(shown.removed.size(), result.bytes);
    }
  }

  void Print() const {
    if (mOptions.format == OutputFormat::kJson) {
      PrintAsJson();
    } else {
      PrintAsText();
    }
  }

  bool IsWhole() const { return mIsWhole; }

 private:
  void Stays(const KeptCache& cache, const std::string& why) {
    PrintNotice(PathOf(cache) + " stays: " + why);
    mIsWhole = false;
  }

  void PrintAsJson() const {
    Json json;
    Json& caches = json["caches"] = Json::array();
    for (const ShownCache& shown : mShown) {
      const KeptCache& cache = shown.cache;
      Json item;
      item["place"] = Name(cache.place);
      item["state"] = Name(cache.state);
      item["folder"] = cache.folder;
      item["name"] = cache.name;
      item["cacheFiles"] = cache.files;
      item["bytes"] = cache.bytes;
      item["source"] = cache.of.empty() ? Json(nullptr) : Json(cache.of);
      item["removed"] = shown.removed;
      caches.push_back(std::move(item));
    }
    json["found"] = AsJson(mKept);
    json["removed"] = AsJson(mRemoved);
    json["dryRun"] = mOptions.onlyLooks;
    PrintJsonLine(json);
  }

  void PrintAsText() const {
    std::vector<std::vector<std::string>> rows{{"state", "place", "bytes", "path", "of"}};
    for (const ShownCache& shown : mShown) {
      const KeptCache& cache = shown.cache;
      if (mOptions.wish && shown.removed.empty()) continue;
      rows.push_back({Name(cache.state), Name(cache.place), std::to_string(cache.bytes),
                      Escaped(PathOf(cache)), cache.of.empty() ? "-" : Escaped(cache.of)});
    }
    if (rows.size() > 1) PrintTable(rows, {{"orphan", Colour::kYellow}});
    if (mOptions.wish) {
      std::cout << (mOptions.onlyLooks ? "would remove " : "removed ") << AsText(mRemoved) << " of "
                << AsText(mKept) << '\n';
      return;
    }
    std::cout << AsText(mKept);
    if (mStrangers > 0) {
      std::cout << "; " << Counted(mStrangers, "stranger") << ", never touched";
    }
    std::cout << '\n';
  }

  const CachesOptions& mOptions;
  std::vector<ShownCache> mShown;
  CacheCounts mKept;
  CacheCounts mRemoved;
  std::uint64_t mStrangers = 0;
  bool mIsWhole = true;
};

}  // namespace

int RunCaches(const HostOptions& host, const CachesOptions& options) {
  if (options.onlyLooks && !options.wish)
    throw Failure("--dry-run needs --remove-orphans or --remove-all", kExitUsage);
  const std::string cacheFolder = cache_folder::Checked(host.cacheFolder);
  std::vector<SourceFacts> sources;
  for (const std::string& path : options.sources) sources.emplace_back(host, path);
  CachesRun run(options);
  run.Take(FindKeptCaches(cacheFolder, sources));
  if (options.wish) {
    try {
      run.Remove();
    } catch (const Failure&) {
      run.Print();
      throw;
    }
  }
  run.Print();
  return run.IsWhole() ? kExitDone : kExitDamaged;
}
