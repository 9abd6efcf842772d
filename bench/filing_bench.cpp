#include <algorithm>
#include <memory>
#include <vector>

#include "bench.h"
#include "cache_files.h"
#include "indexer/zel3_indexer.h"

namespace {

std::vector<sFile_Index_Store> StoresByTime(int count) {
  std::vector<sFile_Index_Store> stores;
  for (int i = 0; i < count; ++i) {
    sFile_Index_Store store;
    store.fileName = QString::fromLatin1("/archives/cam%1.zel3").arg(i, 8);
    store.startTime = kFirstTime + static_cast<unsigned>(i) * 10;
    store.lastIndexTime = store.endTime = store.startTime + 9;
    store.id3Records = EntriesFrom(store.startTime, 2);
    stores.push_back(store);
  }
  return stores;
}

Work FileStores(int count, bool newestFirst) {
  return [=](benchmark::State& state) {
    std::vector<sFile_Index_Store> stores = StoresByTime(count);
    if (newestFirst) std::reverse(stores.begin(), stores.end());
    bool right = true;
    for (auto _ : state) {
      auto index = std::make_unique<cZel3Indexer>();
      for (const sFile_Index_Store& store : stores) index->Add_file_index(store);
      state.PauseTiming();
      right = right && index->Files().size() == stores.size() &&
              std::is_sorted(index->Files().begin(), index->Files().end(),
                             [](const sFile_Index_Store& one, const sFile_Index_Store& other) {
                               return one.startTime < other.startTime;
                             });
      index.reset();
      state.ResumeTiming();
    }
    Expect(state, right, "the files are not listed by time");
  };
}

}  // namespace

void AddRows() {
  for (const int count : {Sized(1000, 100), Sized(10'000, 1000)}) {
    AddAlone("filing.newest_first", std::to_string(count), FileStores(count, true));
    AddAlone("filing.oldest_first", std::to_string(count), FileStores(count, false));
  }
}
