#include <memory>

#include "bench.h"
#include "cache_files.h"
#include "indexer/zel3_indexer.h"

namespace {

constexpr std::uint8_t kEvent = 0x80;

// Ten events for every three entries.
void TakeIn(cZel3Indexer& index, int eventCount) {
  constexpr unsigned char kText[] = "the gate was opened";
  DATA_T block;
  block.type = kEvent;
  block.length = sizeof(kText) - 1;
  IDX_T entry;
  index.BeginIntake();
  for (int i = 0; i < eventCount; ++i) {
    if (i % 10 == 0 || i % 10 == 3 || i % 10 == 6) {
      entry.time = kFirstTime + static_cast<unsigned>(i);
      index.SetRecordPosition(std::uint64_t{kBytesPerEntry} * static_cast<unsigned>(i));
      index.Add_index(entry);
    }
    index.Add_block(block, kText, block.length);
  }
}

Work CollectEvents(int eventCount) {
  return [=](benchmark::State& state) {
    bool right = true;
    for (auto _ : state) {
      auto index = std::make_unique<cZel3Indexer>();
      TakeIn(*index, eventCount);
      state.PauseTiming();
      right = right && index->Current().events.size() == eventCount / 10 * 3 &&
              index->Current().events.last().eventCount == 4;
      index.reset();
      state.ResumeTiming();
    }
    Expect(state, right, "events are missing");
  };
}

}  // namespace

void AddRows() {
  for (const int eventCount : {Sized(10'000, 100), Sized(100'000, 1000)}) {
    AddAlone("events", std::to_string(eventCount), CollectEvents(eventCount));
  }
}
