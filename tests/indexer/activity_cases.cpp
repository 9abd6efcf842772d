#include "activity_cases.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "stores_for_tests.h"

sFile_Index_Store ActiveFile(const std::string& name, std::uint32_t interval,
                             const std::vector<Active>& entries) {
  sFile_Index_Store store = FileOf(name, {});
  store.indexInterval = interval;
  for (const Active& active : entries) {
    ZEL_ID3_REC entry = EntryAt(active.time);
    if (active.level != kNoPair) {
      entry.activityCount = 1;
      entry.activity[0] = TActivityPair{5, static_cast<std::uint8_t>(active.level)};
    }
    store.id3Records.append(entry);
    store.startTime = std::min(store.startTime, active.time);
    store.endTime = std::max(store.endTime, active.time);
  }
  return store;
}

Levels Painted(int binCount, const std::vector<Stretch>& stretches) {
  Levels levels(static_cast<std::size_t>(binCount), 0);
  for (const Stretch& stretch : stretches) {
    for (int bin = stretch.first; bin <= stretch.last; ++bin)
      levels[static_cast<std::size_t>(bin)] = stretch.level;
  }
  return levels;
}

void ExpectLevels(const SpanCase& row) {
  SCOPED_TRACE(row.what);
  cZel3Indexer index;
  FileAll(index, row.files);
  const ActivityAnswer answer = ActivityOf(index, row.request);
  EXPECT_EQ(answer.found, row.found);
  EXPECT_EQ(answer.levels, Painted(std::max<int>(row.request.binCount, 0), row.painted));
}
