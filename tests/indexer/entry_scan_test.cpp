#include "indexer/entry_scan.h"

#include <gmock/gmock.h>

#include <random>
#include <vector>

#include "stores_for_tests.h"

namespace {

// Takes the entries in portions of this size at most.
EntryScan ScanOf(const QVector<ZEL_ID3_REC>& entries, int portion) {
  EntryScan scan;
  for (int done = 0; done < entries.size(); done += portion) {
    const int count = std::min(portion, entries.size() - done);
    scan.Add(entries.constData() + done, count);
  }
  scan.Add(entries.constData(), 0);
  return scan;
}

TimeRange PlainRange(const QVector<ZEL_ID3_REC>& entries) {
  TimeRange range(entries.first().time);
  for (const ZEL_ID3_REC& entry : entries) range.Add(entry.time);
  return range;
}

TEST(EntryScan, TakesNothingFromAnEmptyPortion) {
  const ZEL_ID3_REC entries[] = {EntryAt(5, 900), EntryAt(100, 200), EntryAt(110, 300)};
  EntryScan scan;
  scan.Add(entries, 0);
  scan.Add(entries + 1, 2);
  EXPECT_EQ(scan.Range().startTime, 100U);
  EXPECT_TRUE(scan.Order().positionsAscend);
}

// In portions of any size, of entries that ascend all the time, mostly or hardly ever.
TEST(EntryScan, SaysWhatThePlainRuleSays) {
  int ascending = 0;
  for (unsigned seed = 1; seed <= 3000; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const std::uint32_t steps[] = {1, 3, 8, 0x80000000};
    const std::uint32_t falls[] = {1, 4, 20, 1000};
    const std::uint32_t step = steps[random() % 4];
    const std::uint32_t fall = falls[random() % 4];
    sFile_Index_Store store;
    std::uint32_t time = random() % 100;
    std::uint32_t position = random() % 100;
    for (std::uint32_t count = 1 + random() % 30; count > 0; --count) {
      store.id3Records.append(EntryAt(time, position + (std::uint64_t{random() % 3} << 32)));
      store.blockPositions.append(position);
      time += random() % fall == 0 ? 0U - random() % 5 : random() % step;
      position += random() % fall == 0 ? 0U - random() % 5 : random() % step;
    }
    const EntryScan scan = ScanOf(store.id3Records, 1 + static_cast<int>(random() % 8));
    const TimeRange plain = PlainRange(store.id3Records);
    ASSERT_EQ(scan.Range().startTime, plain.startTime);
    ASSERT_EQ(scan.Range().lastIndexTime, plain.lastIndexTime);
    ASSERT_EQ(scan.Range().minIndexStep, plain.minIndexStep);
    ASSERT_EQ(scan.Range().EndTime(), plain.EndTime());
    ASSERT_EQ(scan.Order().timesAscend, OrderOf(store).entriesAscend);
    ASSERT_EQ(scan.Order().positionsAscend, OrderOf(store).cutsAscend);
    ascending += scan.Order().timesAscend ? 1 : 0;
  }
  EXPECT_GT(ascending, 300);
  EXPECT_LT(ascending, 2700);
}

}  // namespace
