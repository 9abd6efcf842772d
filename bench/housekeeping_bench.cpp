#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <QString>
#include <filesystem>
#include <string>

#include "bench.h"
#include "cache_files.h"
#include "indexer/cache_housekeeping.h"
#include "support/temp_folder.h"

namespace {

namespace fs = std::filesystem;

// A cache folder with the three files of each archive.
struct CacheFolder {
  explicit CacheFolder(int fileCount) : path(BenchFolder() + "/cache") {
    fs::create_directories(path);
    for (int i = 0; i < fileCount / 3; ++i) {
      const std::string stem = path + "/24.05.01 12-30-00 cam" + std::to_string(100'000 + i) + ".";
      WriteCacheFiles(stem, EntriesFrom(kFirstTime, 10));
    }
  }

  const std::string path;
};

// Looks at every file of the folder.
Work LookAtFiles(int fileCount) {
  return [=](benchmark::State& state) {
    const std::string& path = Shared<CacheFolder>(fileCount).path;
    std::uint64_t total = 0;
    for (auto _ : state) {
      DIR* const folder = opendir(path.c_str());
      while (const dirent* const entry = readdir(folder)) {
        struct statx status = {};
        statx(dirfd(folder), entry->d_name, 0, STATX_BASIC_STATS, &status);
        total += status.stx_size;
      }
      closedir(folder);
    }
    Expect(state, total > 0, "no file was seen");
  };
}

// What opening an archive does when all files together are below the limit.
Work KeepAllFiles(int fileCount) {
  return [=](benchmark::State& state) {
    const QString path = QString::fromStdString(Shared<CacheFolder>(fileCount).path);
    for (auto _ : state) CacheTrimmer().Trim(path);
  };
}

// The same when they are above it: the oldest file goes.
Work DeleteOldestFile(int fileCount) {
  return [=](benchmark::State& state) {
    const std::string& path = Shared<CacheFolder>(fileCount).path;
    const std::string oldest = path + "/23.05.01 12-30-00 cam.id3";
    bool right = true;
    for (auto _ : state) {
      state.PauseTiming();
      WriteBytes(oldest, "", 0);
      fs::resize_file(oldest, std::uintmax_t{1} << 30);
      SetModificationTime(oldest, 1'000'000'000);
      state.ResumeTiming();
      CacheTrimmer().Trim(QString::fromStdString(path));
      right = right && !fs::exists(oldest);
    }
    Expect(state, right, "the oldest file is still there");
  };
}

}  // namespace

void AddRows() {
  const int fileCount = Sized(30'000, 300);
  const std::string size = std::to_string(fileCount);
  AddPair("housekeeping.below_limit", size, LookAtFiles(fileCount), KeepAllFiles(fileCount));
  AddPair("housekeeping.above_limit", size, LookAtFiles(fileCount), DeleteOldestFile(fileCount));
}
