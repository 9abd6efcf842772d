#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <random>
#include <vector>

#include "bench.h"
#include "cache_files.h"
#include "indexer/zel3_indexer.h"

namespace {

enum class Headers { kOne, kOneInHundred, kOneInHundredUnsorted, kOneEachUnsorted };

std::vector<std::uint64_t> HeaderPositions(int entryCount, Headers headers) {
  if (headers == Headers::kOne) return {0};
  const int distance = headers == Headers::kOneEachUnsorted ? 1 : 100;
  std::vector<std::uint64_t> positions;
  for (int i = 0; i < entryCount; i += distance) {
    positions.push_back(std::uint64_t{kBytesPerEntry} * static_cast<unsigned>(i) + 1);
  }
  if (headers != Headers::kOneInHundred)
    std::shuffle(positions.begin(), positions.end(), std::mt19937(1));
  return positions;
}

// The cache of one archive.
struct Cache {
  Cache(int entryCount, Headers headers)
      : stem(BenchFolder() + "/cam" + std::to_string(entryCount) + "_" +
             std::to_string(static_cast<int>(headers)) + "."),
        buffer(static_cast<std::size_t>(entryCount) * sizeof(ZEL_ID3_REC)) {
    WriteCacheFiles(stem, EntriesFrom(kFirstTime, entryCount),
                    HeaderPositions(entryCount, headers));
  }

  std::string stem;
  std::vector<char> buffer;
};

enum class Memory { kWarm, kFresh };

// What reading the entries costs: into memory already in use, or into fresh memory, which was given
// back to the system before.
Work ReadEntries(int entryCount, Memory memory) {
  return [=](benchmark::State& state) {
    Cache& cache = Shared<Cache>(entryCount, Headers::kOne);
    const std::string path = cache.stem + "id3";
    ssize_t got = 0;
    for (auto _ : state) {
      const int file = open(path.c_str(), O_RDONLY);
      void* const fresh = memory == Memory::kFresh ? std::malloc(cache.buffer.size()) : nullptr;
      got = read(file, fresh == nullptr ? cache.buffer.data() : fresh, cache.buffer.size());
      benchmark::ClobberMemory();
      close(file);
      if (fresh == nullptr) continue;
      state.PauseTiming();
      std::free(fresh);
      malloc_trim(0);
      state.ResumeTiming();
    }
    Expect(state, got == static_cast<ssize_t>(cache.buffer.size()), "the file was not read");
  };
}

Work OpenCache(int entryCount, Headers headers) {
  return [=](benchmark::State& state) {
    const Cache& cache = Shared<Cache>(entryCount, headers);
    const QString path = QString::fromStdString(cache.stem + "zel3");
    const std::uint64_t end = std::uint64_t{kBytesPerEntry} * static_cast<unsigned>(entryCount + 2);
    bool right = true;
    for (auto _ : state) {
      auto index = std::make_unique<cZel3Indexer>();
      right = index->Open_file(path, end) && right;
      state.PauseTiming();
      right = right && index->Files().size() == 1 &&
              index->Files()[0].id3Records.size() == entryCount &&
              index->Files()[0].lastIndexTime == kFirstTime + static_cast<unsigned>(entryCount) - 1;
      index.reset();
      malloc_trim(0);
      state.ResumeTiming();
    }
    Expect(state, right, "the cache gave another index");
  };
}

void AddLoad(int entryCount) {
  const std::string size = std::to_string(entryCount);
  AddPair("cache_load", size, ReadEntries(entryCount, Memory::kFresh),
          OpenCache(entryCount, Headers::kOne));
  AddPair("cache_load.of_a_read_into_warm_memory", size, ReadEntries(entryCount, Memory::kWarm),
          OpenCache(entryCount, Headers::kOne));
}

void AddHeaders(const std::string& row, int entryCount, Headers headers) {
  AddPair(row, std::to_string(entryCount), OpenCache(entryCount, Headers::kOne),
          OpenCache(entryCount, headers));
}

}  // namespace

void AddRows() {
  AddLoad(Sized(100'000, 1000));
  AddLoad(Sized(1'000'000, 10'000));
  AddLoad(Sized(10'000'000, 100'000));
  for (const int entryCount : {Sized(100'000, 1000), Sized(1'000'000, 10'000)}) {
    AddHeaders("cache_load.1_header_per_100", entryCount, Headers::kOneInHundred);
    AddHeaders("cache_load.1_header_per_100_unsorted", entryCount, Headers::kOneInHundredUnsorted);
    AddHeaders("cache_load.1_header_per_1_unsorted", entryCount, Headers::kOneEachUnsorted);
  }
}
