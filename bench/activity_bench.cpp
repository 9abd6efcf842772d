#include <algorithm>
#include <cstring>

#include "bench.h"
#include "blocks/commands.h"
#include "cache_files.h"
#include "indexer/zel3_indexer.h"

namespace {

// One file whose entries are spread evenly over `duration` index times.
struct ActiveFile {
  ActiveFile(int entryCount, int duration) {
    sFile_Index_Store store;
    store.fileName = QLatin1String("/archives/cam.zel3");
    store.id3Records = EntriesFrom(kFirstTime, entryCount);
    for (int i = 0; i < entryCount; ++i) {
      store.id3Records[i].time =
          kFirstTime +
          static_cast<std::uint32_t>(std::uint64_t(i) * unsigned(duration) / unsigned(entryCount));
    }
    store.startTime = kFirstTime;
    store.lastIndexTime = store.endTime = kFirstTime + static_cast<unsigned>(duration);
    store.indexInterval = 1;
    index.Add_file_index(store);
  }

  cZel3Indexer index;
};

// One field of every record.
Work AddUpTimes(int entryCount, int duration) {
  return [=](benchmark::State& state) {
    const ActiveFile& file = Shared<ActiveFile>(entryCount, duration);
    for (auto _ : state) {
      std::uint64_t sum = 0;
      for (const ZEL_ID3_REC& entry : file.index.Files()[0].id3Records) sum += entry.time;
      benchmark::DoNotOptimize(sum);
    }
  };
}

Work Summarise(int entryCount, int duration, int binCount) {
  return [=](benchmark::State& state) {
    const ActiveFile& file = Shared<ActiveFile>(entryCount, duration);
    TZEL3ActivityRequest request;
    request.from = ToArchiveTime(kFirstTime);
    request.to = request.from + ToArchiveTime(static_cast<unsigned>(duration));
    request.binCount = binCount;
    request.streamId = 1;
    ActivityGistBlock block =
        ActivityGistBlock::New(static_cast<std::uint32_t>(sizeof(TActivityGist)) + binCount);
    TActivityGist& gist = block.Record();
    bool found = true;
    for (auto _ : state) {
      std::memset(gist.Levels(), 0, static_cast<std::size_t>(binCount));
      found = file.index.Fill_activity(request, &gist) && found;
    }
    const bool isActive = std::any_of(gist.Levels(), gist.Levels() + binCount,
                                      [](std::uint8_t level) { return level != 0; });
    Expect(state, found && isActive, "there is no activity");
  };
}

void AddActivity(const std::string& row, int duration, int binCount) {
  const int entryCount = Sized(1'000'000, 10'000);
  AddPair(row, std::to_string(binCount), AddUpTimes(entryCount, duration),
          Summarise(entryCount, duration, binCount));
}

}  // namespace

void AddRows() {
  for (const int binCount : {10, 1000, 100'000}) {
    // The fine mode is for ranges in which a bin is at most an index time long.
    AddActivity("activity.coarse", 1'000'000, binCount);
    AddActivity("activity.fine", binCount, binCount);
  }
}
