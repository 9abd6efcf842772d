#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "archive_host.h"
#include "bench.h"
#include "blocks/index_record.h"
#include "cache_files.h"
#include "indexer/zel3_indexer.h"
#include "parser/framing.h"
#include "support/temp_folder.h"

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kFileSize = 256 * 1024;
constexpr std::size_t kEnd = 64 * 1024;
int CacheFilesInFolder() {
  return Sized(30'000, 300);
}

enum class Cache { kNone, kBeside, kInFolder };

// Few entries, because all cache files of a folder must stay below the host's limit.
int EntriesOf(Cache cache) {
  return cache == Cache::kBeside ? Sized(3600, 10) : 10;
}

void Put(int file, const void* bytes, std::size_t size, std::size_t position) {
  if (pwrite(file, bytes, size, static_cast<off_t>(position)) != static_cast<ssize_t>(size))
    throw std::runtime_error("cannot write an archive");
}

// A header and an index record at the front, an index record at the end, nothing in between.
void PlaceArchive(const std::string& path, std::uint32_t startTime) {
  ArchiveHeader header;
  header.title = "cam";
  header.streams.push_back({1, 1, "video", "gate", "raw"});
  const auto head = EncodeHeaderRecord(header).value();
  IDX_T index;
  const int file = open(path.c_str(), O_WRONLY | O_CREAT, 0600);
  if (ftruncate(file, kFileSize) != 0) throw std::runtime_error("cannot make " + path);
  Put(file, head.data(), head.size(), 0);
  index.time = startTime;
  Put(file, EncodeIndexRecord(index).data(), kIndexRecordSize, head.size());
  index.time = startTime + 3599;
  Put(file, EncodeIndexRecord(index).data(), kIndexRecordSize, kFileSize - 5000);
  close(file);
}

// A folder of archives, one after the other in time, with the cache files that it needs.
struct ArchiveFolder {
  ArchiveFolder(int count, Cache cache)
      : folder(BenchFolder() + "/" + std::to_string(count) + "_" +
               std::to_string(static_cast<int>(cache))),
        cacheFolder(cache == Cache::kInFolder ? folder + "/cache" : "") {
    fs::create_directories(folder + "/cache");
    for (int i = 0; i < count; ++i) {
      const std::string stem = folder + "/cam" + std::to_string(100'000 + i) + ".";
      const std::uint32_t startTime = kFirstTime + static_cast<unsigned>(i) * 3600;
      PlaceArchive(stem + "zel3", startTime);
      SetModificationTime(stem + "zel3", 1'700'000'000 + i);
      paths.push_back(stem + "zel3");
      if (cache == Cache::kNone) continue;
      stems.push_back(cache == Cache::kBeside ? stem : CacheStem(paths.back()));
      WriteCacheFiles(stems.back(), EntriesFrom(startTime, EntriesOf(cache)));
    }
    // Cache files of archives that no longer exist.
    for (int i = 3 * count; cache == Cache::kInFolder && i < CacheFilesInFolder(); ++i) {
      WriteBytes(cacheFolder + "/" + std::to_string(i) + ".hdr", "", 0);
    }
  }

  // The start of the cache files' names. Found with an empty cache folder: opening an archive would
  // tidy up a full one.
  std::string CacheStem(const std::string& path) const {
    const TempFolder empty;
    cZel3Indexer index;
    index.cacheFolder = QString::fromStdString(empty.Path());
    index.Open_file_draft(QString::fromStdString(path));
    const std::string id3 = index.Current().id3Path.toStdString();
    return cacheFolder + id3.substr(empty.Path().size(), id3.size() - empty.Path().size() - 3);
  }

  const std::string folder;
  const std::string cacheFolder;
  std::vector<std::string> paths;
  std::vector<std::string> stems;
};

// Reads the start and the end of every archive.
Work ReadBothEnds(int count) {
  return [=](benchmark::State& state) {
    const ArchiveFolder& archives = Shared<ArchiveFolder>(count, Cache::kNone);
    std::vector<char> buffer(kEnd);
    bool right = true;
    for (auto _ : state) {
      for (const std::string& path : archives.paths) {
        struct stat status = {};
        const int file = open(path.c_str(), O_RDONLY);
        right = fstat(file, &status) == 0 && right;
        right = pread(file, buffer.data(), kEnd, 0) == kEnd && right;
        right = pread(file, buffer.data(), kEnd, status.st_size - off_t{kEnd}) == kEnd && right;
        close(file);
      }
    }
    Expect(state, right, "an archive was not read");
  };
}

// Looks at every archive and reads its three cache files.
Work ReadCacheFiles(int count, Cache cache) {
  return [=](benchmark::State& state) {
    const ArchiveFolder& archives = Shared<ArchiveFolder>(count, cache);
    std::vector<char> buffer(static_cast<std::size_t>(EntriesOf(cache)) * sizeof(ZEL_ID3_REC));
    bool right = true;
    for (auto _ : state) {
      for (std::size_t i = 0; i < archives.paths.size(); ++i) {
        struct stat status = {};
        right = stat(archives.paths[i].c_str(), &status) == 0 && right;
        for (const char* const extension : {"id3", "hdr", "evt"}) {
          const int file = open((archives.stems[i] + extension).c_str(), O_RDONLY);
          right = read(file, buffer.data(), buffer.size()) > 0 && right;
          close(file);
        }
      }
    }
    Expect(state, right, "a cache file was not read");
  };
}

Work OpenFolder(int count, Cache cache) {
  return [=](benchmark::State& state) {
    const ArchiveFolder& archives = Shared<ArchiveFolder>(count, cache);
    bool right = true;
    for (auto _ : state) {
      auto host = std::make_unique<ArchiveHost>(archives.folder, archives.cacheFolder);
      state.PauseTiming();
      right = right && host->ArchiveCount() == static_cast<unsigned>(count);
      host.reset();
      state.ResumeTiming();
    }
    Expect(state, right, "not all archives are listed");
  };
}

}  // namespace

void AddRows() {
  for (const int count : {Sized(1000, 10), Sized(10'000, 100)}) {
    const std::string size = std::to_string(count);
    AddPair("folder_open.no_caches", size, ReadBothEnds(count), OpenFolder(count, Cache::kNone));
    AddPair("folder_open.caches_beside", size, ReadCacheFiles(count, Cache::kBeside),
            OpenFolder(count, Cache::kBeside));
    AddPair("folder_open.cache_folder", size, ReadCacheFiles(count, Cache::kInFolder),
            OpenFolder(count, Cache::kInFolder));
  }
}
