#include <gmock/gmock.h>

#include <algorithm>
#include <random>

#include "gist_buffer.h"
#include "plain_activity.h"
#include "stores_for_tests.h"

// Whatever the files hold, activity is what painting entry by entry gives.

namespace {

class ActivityComparison : public testing::Test {
 protected:
  std::uint32_t Below(std::uint32_t limit) { return static_cast<std::uint32_t>(random() % limit); }

  ZEL_ID3_REC RandomEntry(std::uint32_t time) {
    ZEL_ID3_REC entry = EntryAt(time);
    entry.activityCount = static_cast<std::uint8_t>(Below(12) == 0 ? 255 : Below(4));
    for (TActivityPair& pair : entry.activity) {
      pair.streamId = static_cast<std::uint8_t>(Below(4));
      pair.level = static_cast<std::uint8_t>(Below(256));
    }
    return entry;
  }

  void FileRandomStores(bool ascending, cZel3Indexer* index) {
    for (std::uint32_t file = Below(5); file > 0; --file) {
      sFile_Index_Store store = FileOf(std::to_string(file), {});
      const std::uint32_t intervals[] = {0, 1, 2, 5, 40, 0xFFFFFFFF};
      store.indexInterval = intervals[Below(6)];
      std::uint32_t time = Below(100);
      for (std::uint32_t count = Below(16); count > 0; --count) {
        time = ascending ? time + Below(8) : Below(200);
        if (Below(100) == 0) time = 0xFFFFFFFF - Below(2) * 5;
        store.id3Records.append(RandomEntry(time));
      }
      index->Add_file_index(store);
    }
  }

  // Mostly small numbers; sometimes the ends of a range lie right at entries or far away.
  TZEL3ActivityRequest RandomRequest(const StoreList::Stores& files) {
    TZEL3ActivityRequest request = RandomRequest();
    const auto anEntryTime = [this, &files](std::uint64_t otherwise) {
      if (files.empty()) return otherwise;
      const auto& entries = files[Below(static_cast<std::uint32_t>(files.size()))].id3Records;
      if (entries.isEmpty()) return otherwise;
      const auto number = static_cast<int>(Below(static_cast<std::uint32_t>(entries.size())));
      return std::uint64_t{entries.at(number).time} * 1000;
    };
    if (Below(3) == 0) request.from = anEntryTime(request.from);
    if (Below(3) == 0) request.to = anEntryTime(request.to);
    if (Below(8) == 0) request.from = 0;
    return request;
  }

  TZEL3ActivityRequest RandomRequest() {
    const std::int32_t binCounts[] = {-1, 0, 1, 2, 7, 10, 20, 50, 100, 300};
    const std::uint64_t lengths[] = {0,
                                     1,
                                     999,
                                     1000,
                                     7000,
                                     50000,
                                     50000,
                                     100000,
                                     100000,
                                     200000,
                                     200000,
                                     300000,
                                     300000,
                                     ~0ULL - 30000,
                                     ~0ULL,
                                     5'000'000'000'000,
                                     1'000'000'000'000'000};
    const std::uint64_t from = Below(60000);
    return Span(Below(20) == 0 ? ~0ULL - from : from, from + lengths[Below(17)],
                binCounts[Below(10)], static_cast<std::int32_t>(Below(5)));
  }

  // So many bins that products with index times of a file reach 2^64, and an entry that lasts until
  // there; the request's range begins where this is so.
  TZEL3ActivityRequest RequestWhereProductsWrap(sFile_Index_Store* store) {
    constexpr std::uint64_t kMost = 0xFFFFFFFF;
    const auto bins = static_cast<std::int32_t>(Below(3) == 0 ? 4294968 : 2200000 + Below(2500000));
    const std::uint64_t largest = ~0ULL / static_cast<std::uint64_t>(bins);
    const std::uint64_t end = (largest + Below(20'000'000)) / 1000 + 1;
    const std::uint64_t from = end * 1000 - largest + Below(3) - 1;

    const std::uint64_t least = end > kMost ? end - kMost : 0;
    const std::uint64_t time = Below(2) == 0 ? least + Below(20000) : std::min(end, kMost);
    store->indexInterval = static_cast<std::uint32_t>(end - time);
    for (std::uint64_t entry = time < 3 ? 0 : time - 3; entry < time + 3 && entry <= kMost; ++entry)
      if (entry == time || Below(2) == 0)
        store->id3Records.append(RandomEntry(static_cast<std::uint32_t>(entry)));

    const std::uint64_t fine = static_cast<std::uint64_t>(bins) * 1000;
    const std::uint64_t lengths[] = {fine,    fine - Below(1000), fine + 1,
                                     largest, ~0ULL - from,       0 - Below(from)};
    return Span(from, from + lengths[Below(6)], bins, static_cast<std::int32_t>(Below(4)));
  }

  // Adds 1 to `found` for an answer from entries.
  void CompareAnswers(const cZel3Indexer& index, const TZEL3ActivityRequest& request, int* found) {
    const ActivityAnswer expected = PlainActivity(index.Files(), request);
    const ActivityAnswer answer = ActivityOf(index, request);
    ASSERT_EQ(answer.found, expected.found);
    ASSERT_EQ(answer.levels, expected.levels);
    *found += answer.found ? 1 : 0;
  }

  void Compare(bool ascending) {
    int found = 0;
    for (unsigned seed = 1; seed <= 2000; ++seed) {
      SCOPED_TRACE(seed);
      random.seed(seed);
      cZel3Indexer index;
      FileRandomStores(ascending, &index);
      for (int i = 0; i < 5; ++i)
        ASSERT_NO_FATAL_FAILURE(CompareAnswers(index, RandomRequest(index.Files()), &found));
    }
    EXPECT_GT(found, 2000) << "a good part of the requests should be answered from entries";
  }

  std::mt19937 random;
};

TEST_F(ActivityComparison, PaintsAsThePlainRuleDoes) {
  Compare(true);
}

TEST_F(ActivityComparison, PaintsAsThePlainRuleDoesWhereTimesDoNotAscend) {
  Compare(false);
}

TEST_F(ActivityComparison, PaintsAsThePlainRuleDoesWhereProductsWrap) {
  int found = 0;
  for (unsigned seed = 1; seed <= 150; ++seed) {
    SCOPED_TRACE(seed);
    random.seed(seed);
    cZel3Indexer index;
    sFile_Index_Store store;
    const TZEL3ActivityRequest request = RequestWhereProductsWrap(&store);
    if (seed % 2 == 0) std::reverse(store.id3Records.begin(), store.id3Records.end());
    index.Add_file_index(store);
    ASSERT_NO_FATAL_FAILURE(CompareAnswers(index, request, &found));
  }
  EXPECT_GT(found, 40) << "a good part of the requests should be answered from entries";
}

// Painting each of these entries over all bins after it would take hours.
TEST(ActivityOfAHostileCache, CostsEntriesAndBinsNotTheirProduct) {
  constexpr int kCount = 1000000;
  sFile_Index_Store store;
  store.indexInterval = 0xFFFFFFFF;
  store.id3Records.resize(kCount);
  for (int i = 0; i < kCount; ++i) {
    ZEL_ID3_REC& record = store.id3Records[i];
    record.time = static_cast<std::uint32_t>(i);
    record.activityCount = 1;
    record.activity[0] = TActivityPair{5, static_cast<std::uint8_t>(7 + i % 50)};
  }
  cZel3Indexer index;
  index.Add_file_index(store);
  const ActivityAnswer answer = ActivityOf(index, Span(0, kCount * 1000ULL, kCount));
  EXPECT_TRUE(answer.found);
  // The earliest entry is walked last and lasts longest.
  EXPECT_EQ(answer.levels, Levels(kCount, 7));
}

}  // namespace
