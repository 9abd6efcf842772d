#include <algorithm>
#include <random>
#include <vector>

#include "bench.h"
#include "cache_files.h"
#include "indexer/zel3_indexer.h"

namespace {

// Files with `entriesPerFile` entries each, following one another without a gap, and times to ask
// for.
struct FiledIndex {
  FiledIndex(int fileCount, int entriesPerFile) : entryCount(fileCount * entriesPerFile) {
    const QVector<ZEL_ID3_REC> all = EntriesFrom(kFirstTime, entryCount);
    for (int i = 0; i < fileCount; ++i) {
      sFile_Index_Store store;
      store.fileName = QString::fromLatin1("/archives/cam%1.zel3").arg(i);
      store.id3Records = fileCount == 1 ? all : all.mid(i * entriesPerFile, entriesPerFile);
      store.startTime = store.id3Records.first().time;
      store.lastIndexTime = store.endTime = store.id3Records.last().time;
      index.Add_file_index(store);
    }
    if (fileCount > 1) records.assign(all.begin(), all.end());
    std::mt19937 random(1);
    for (std::uint64_t& time : times) {
      time = ToArchiveTime(kFirstTime) + random() % (ToArchiveTime(1) * entryCount);
    }
  }

  // All entries in one piece.
  const ZEL_ID3_REC* Begin() const {
    return records.empty() ? index.Files()[0].id3Records.constData() : records.data();
  }

  int entryCount;
  cZel3Indexer index;
  std::vector<ZEL_ID3_REC> records;
  std::vector<std::uint64_t> times = std::vector<std::uint64_t>(4096);
};

Work SearchPlainly(int fileCount, int entriesPerFile) {
  return [=](benchmark::State& state) {
    FiledIndex& filed = Shared<FiledIndex>(fileCount, entriesPerFile);
    const ZEL_ID3_REC* const begin = filed.Begin();
    const ZEL_ID3_REC* const end = begin + filed.entryCount;
    std::size_t next = 0;
    for (auto _ : state) {
      const std::uint64_t time = filed.times[next++ % filed.times.size()];
      benchmark::DoNotOptimize(
          std::upper_bound(begin, end, time, [](std::uint64_t wanted, const ZEL_ID3_REC& entry) {
            return wanted < ToArchiveTime(entry.time);
          }));
    }
  };
}

Work LookUp(int fileCount, int entriesPerFile) {
  return [=](benchmark::State& state) {
    FiledIndex& filed = Shared<FiledIndex>(fileCount, entriesPerFile);
    TZEL3ChunkInfo info;
    std::size_t next = 0;
    std::uint64_t time = 0;
    for (auto _ : state) {
      time = filed.times[next++ % filed.times.size()];
      benchmark::DoNotOptimize(filed.index.IndexInfoFromTime(time, kAtOrBefore, true, &info));
    }
    // A time between the last entry of a file and the first of the next belongs to the latter.
    const std::uint64_t entryTime = time / kArchiveTimePerIndexTime * kArchiveTimePerIndexTime;
    Expect(state, info.time == entryTime || info.time == entryTime + kArchiveTimePerIndexTime,
           "another entry was found");
  };
}

void AddLookup(const std::string& row, int fileCount, int entriesPerFile) {
  AddPair(row, std::to_string(fileCount * entriesPerFile), SearchPlainly(fileCount, entriesPerFile),
          LookUp(fileCount, entriesPerFile));
}

}  // namespace

void AddRows() {
  AddLookup("lookup.one_file", 1, Sized(86'400, 1000));
  AddLookup("lookup.one_file", 1, Sized(1'000'000, 2000));
  AddLookup("lookup.one_file", 1, Sized(10'000'000, 20'000));
  AddLookup("lookup.1000_files", Sized(1000, 100), Sized(3600, 36));
}
