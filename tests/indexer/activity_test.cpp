#include <gmock/gmock.h>

#include <algorithm>
#include <limits>

#include "activity_cases.h"
#include "gist_buffer.h"
#include "stores_for_tests.h"

// Spans are in archive time, entries in index time. With bins of at most one index unit each the
// answer is fine: entries paint all bins that they last. Otherwise it is coarse: each entry counts
// in one bin.

namespace {

TEST(CoarseActivity, CountsEachEntryInOneBin) {
  const auto span = Span(0, 100000, 10);
  const auto file = [](const std::vector<Active>& entries) {
    return std::vector<sFile_Index_Store>{ActiveFile("a", 2, entries)};
  };
  const SpanCase cases[] = {
      {"at the start: bin 1", file({{0, 20}}), span, true, {{1, 1, 20}}},
      {"at the end: the last bin", file({{100, 20}}), span, true, {{9, 9, 20}}},
      {"the last bin but one", file({{79, 20}}), span, true, {{8, 8, 20}}},
      {"the first of the last bin", file({{80, 20}}), span, true, {{9, 9, 20}}},
      {"clamped", file({{90, 20}}), span, true, {{9, 9, 20}}},
      {"the larger level, rising", file({{10, 10}, {11, 30}}), span, true, {{2, 2, 30}}},
      {"the larger level, falling", file({{10, 30}, {11, 10}}), span, true, {{2, 2, 30}}},
      {"after the span", file({{101, 20}}), span, false, {}},
      {"level 0 is activity", file({{10, 0}}), span, true, {}},
      {"a level of 62", file({{10, 62}}), span, true, {{2, 2, 62}}},
      {"six bits of the level", file({{10, 0xFF}}), span, true, {{2, 2, 63}}},
      {"none of the stream", file({{10, kNoPair}}), span, false, {}},
      {"no other stream's level", file({{10, kNoPair}, {20, 7}}), span, true, {{3, 3, 7}}},
      {"from later on", file({{59, 9}, {60, 7}}), Span(60000, 160000, 10), true, {{1, 1, 7}}},
      {"before the span, though it lasts into it",
       file({{59, 9}}),
       Span(60000, 160000, 10),
       false,
       {}},
      {"one bin", file({{0, 7}, {50, 9}}), Span(0, 100000, 1), true, {{0, 0, 9}}},
      {"two files",
       {ActiveFile("a", 2, {{10, 7}}), ActiveFile("b", 2, {{50, 9}})},
       span,
       true,
       {{2, 2, 7}, {6, 6, 9}}},
      {"the walk ends at an entry before the span",
       file({{70, 7}, {10, 9}, {80, 8}}),
       Span(60000, 160000, 10),
       true,
       {{3, 3, 8}}},
      {"and goes on in the file before",
       {ActiveFile("a", 2, {{70, 7}}), ActiveFile("b", 2, {{80, 9}, {10, 9}})},
       Span(60000, 160000, 10),
       true,
       {{2, 2, 7}}},
      {"an entry after the span does not end it",
       file({{70, 7}, {900, 9}}),
       Span(60000, 160000, 10),
       true,
       {{2, 2, 7}}},
  };
  for (const SpanCase& row : cases) ExpectLevels(row);
}

TEST(FineActivity, PaintsTheBinsThatAnEntryLasts) {
  const auto span = Span(0, 50000, 100);
  const auto file = [](const std::vector<Active>& entries) {
    return std::vector<sFile_Index_Store>{ActiveFile("a", 2, entries)};
  };
  const auto lasting = [](std::uint32_t interval, const std::vector<Active>& entries) {
    return std::vector<sFile_Index_Store>{ActiveFile("a", interval, entries)};
  };
  const SpanCase cases[] = {
      {"both ends included", file({{10, 8}}), span, true, {{20, 24, 8}}},
      {"at the start", file({{0, 8}}), span, true, {{0, 4, 8}}},
      {"cut at the end", file({{49, 8}}), span, true, {{98, 99, 8}}},
      {"at the end", file({{50, 8}}), span, true, {{99, 99, 8}}},
      {"after it", file({{51, 8}}), span, false, {}},
      {"no duration", lasting(0, {{10, 8}}), span, true, {{20, 20, 8}}},
      {"lasting beyond all bins", lasting(0xFFFFFFFF, {{10, 8}}), span, true, {{20, 99, 8}}},
      {"the earlier overwrites the later",
       file({{10, 8}, {11, 16}}),
       span,
       true,
       {{20, 24, 8}, {25, 26, 16}}},
      {"with a smaller level too",
       file({{10, 1}, {11, 62}}),
       span,
       true,
       {{20, 24, 1}, {25, 26, 62}}},
      {"and with none", file({{10, kNoPair}, {11, 16}}), span, true, {{25, 26, 16}}},
      {"none of the stream", file({{10, kNoPair}}), span, false, {}},
      {"six bits of the level", file({{10, 0xC0 + 62}}), span, true, {{20, 24, 62}}},
      {"a level of 0 paints", file({{10, 0}, {11, 16}}), span, true, {{25, 26, 16}}},
      {"two files",
       {ActiveFile("a", 2, {{10, 7}}), ActiveFile("b", 1, {{20, 9}})},
       span,
       true,
       {{20, 24, 7}, {40, 42, 9}}},
      {"the file before overwrites",
       {ActiveFile("a", 2, {{10, 7}}), ActiveFile("b", 1, {{11, 9}})},
       span,
       true,
       {{20, 24, 7}}},
      {"a file of which only head and tail are known overwrites too",
       {Partial(ActiveFile("a", 0, {{10, kNoPair}, {12, kNoPair}})), ActiveFile("b", 5, {{11, 9}})},
       span,
       true,
       {{22, 23, 9}, {25, 32, 9}}},
      {"unsorted: what is walked later overwrites",
       file({{11, 16}, {10, 8}}),
       span,
       true,
       {{22, 26, 16}, {20, 21, 8}}},
  };
  for (const SpanCase& row : cases) ExpectLevels(row);
}

// Bins of one unit each, from 10 to 60.
TEST(FineActivity, TakesEntriesBeforeTheSpanThatLastIntoIt) {
  const auto span = Span(10000, 60000, 50);
  const SpanCase cases[] = {
      {"lasting into it", {ActiveFile("a", 5, {{9, 30}})}, span, true, {{0, 4, 30}}},
      {"lasting to its start", {ActiveFile("a", 5, {{5, 30}})}, span, true, {{0, 0, 30}}},
      {"ending before it", {ActiveFile("a", 5, {{4, 30}})}, span, false, {}},
      {"only the last of them, once bin 0 is painted",
       {ActiveFile("a", 5, {{8, 20}, {9, 30}})},
       span,
       true,
       {{0, 4, 30}}},
      {"none, once bin 0 is painted",
       {ActiveFile("a", 5, {{9, 30}, {10, 8}})},
       span,
       true,
       {{0, 5, 8}}},
      {"one, while it is not",
       {ActiveFile("a", 5, {{9, 30}, {11, 8}})},
       span,
       true,
       {{0, 4, 30}, {5, 6, 8}}},
      {"the painted bin 0 is remembered from file to file",
       {ActiveFile("a", 5, {{9, 30}}), ActiveFile("b", 2, {{10, 8}})},
       span,
       true,
       {{0, 2, 8}}},
      {"and so is that it is bare",
       {ActiveFile("a", 5, {{9, 30}}), ActiveFile("b", 2, {{12, 8}})},
       span,
       true,
       {{0, 4, 30}}},
      {"an entry with no level counts as painting",
       {ActiveFile("a", 5, {{9, 30}, {10, kNoPair}})},
       span,
       false,
       {}},
      {"the walk ends at an entry that ends before the span",
       {ActiveFile("a", 1, {{20, 7}, {4, 9}, {30, 8}})},
       span,
       true,
       {{20, 21, 8}}},
      {"one bin: never", {ActiveFile("a", 5, {{9, 30}})}, Span(10000, 11000, 1), false, {}},
  };
  for (const SpanCase& row : cases) ExpectLevels(row);
}

// An entry at the start shows the mode: only coarse bins are counted from 1.
TEST(Activity, IsFineUpToOneIndexUnitForABin) {
  const std::vector<sFile_Index_Store> file = {ActiveFile("a", 0, {{7, 9}})};
  const SpanCase cases[] = {
      {"less than a unit", file, Span(7000, 16999, 10), true, {{0, 0, 9}}},
      {"one unit", file, Span(7000, 17000, 10), true, {{0, 0, 9}}},
      {"a little more", file, Span(7000, 17001, 10), true, {{1, 1, 9}}},
  };
  for (const SpanCase& row : cases) ExpectLevels(row);
}

// Only pairs in use count, and stream ids are compared as they are.
TEST(Activity, IsThatOfTheFirstPairOfTheStreamInUse) {
  struct {
    const char* what;
    int count;
    std::vector<TActivityPair> pairs;
    std::int32_t streamId;
    bool found;
    int level;
  } const cases[] = {
      {"the second pair", 2, {{4, 10}, {5, 20}}, 5, true, 20},
      {"the sixth pair", 6, {{1, 1}, {2, 1}, {3, 1}, {4, 1}, {6, 1}, {5, 20}}, 5, true, 20},
      {"the first of two", 2, {{5, 10}, {5, 20}}, 5, true, 10},
      {"a pair that is not in use", 1, {{4, 10}, {5, 20}}, 5, false, 0},
      {"unused pairs are not stream 0", 1, {{4, 10}}, 0, false, 0},
      {"no pairs are not stream 0", 0, {}, 0, false, 0},
      {"stream 0 in use", 1, {{0, 10}}, 0, true, 10},
      {"stream 255", 1, {{255, 10}}, 255, true, 10},
      {"261 is not 5", 1, {{5, 10}}, 261, false, 0},
      {"-1 is not 255", 1, {{255, 10}}, -1, false, 0},
      {"a count beyond six", 200, {{1, 1}, {2, 1}, {3, 1}, {4, 1}, {6, 1}, {5, 20}}, 5, true, 20},
      {"a count beyond six, not there", 255, {{1, 1}}, 9, false, 0},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.what);
    sFile_Index_Store store = FileOf("a", {10});
    ZEL_ID3_REC& record = store.id3Records[0];
    record.activityCount = static_cast<std::uint8_t>(row.count);
    std::copy(row.pairs.begin(), row.pairs.end(), record.activity);
    cZel3Indexer index;
    index.Add_file_index(store);
    for (const std::uint64_t to : {100000U, 10000U}) {
      const ActivityAnswer answer = ActivityOf(index, Span(0, to, 10, row.streamId));
      EXPECT_EQ(answer.found, row.found);
      EXPECT_EQ(*std::max_element(answer.levels.begin(), answer.levels.end()), row.level);
    }
  }
}

TEST(Activity, OfNothingIsNone) {
  const std::vector<sFile_Index_Store> file = {ActiveFile("a", 2, {{10, 8}})};
  constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
  const SpanCase cases[] = {
      {"no files", {}, Span(0, 100000, 10), false, {}},
      {"a file without entries", {FileOf("a", {})}, Span(0, 100000, 10), false, {}},
      {"no span", file, Span(10000, 10000, 10), false, {}},
      {"no span at zero", file, Span(0, 0, 10), false, {}},
      {"no bins", file, Span(0, 100000, 0), false, {}},
      {"less than no bins", file, Span(0, 100000, -1), false, {}},
      {"the least bins", file, Span(0, 100000, kLeast), false, {}},
      {"neither bins nor span", file, Span(10000, 10000, 0), false, {}},
      {"no files and no bins", {}, Span(0, 100000, -5), false, {}},
  };
  for (const SpanCase& row : cases) ExpectLevels(row);
}

TEST(Activity, OfASpanThatEndsBeforeItBeginsIsThatOfAHugeOne) {
  const SpanCase cases[] = {
      {"lasting to its start",
       {ActiveFile("a", 100, {{5, 7}})},
       Span(50000, 10000, 10),
       true,
       {{0, 0, 7}}},
      {"not lasting to it", {ActiveFile("a", 2, {{5, 7}})}, Span(50000, 10000, 10), false, {}},
      {"between end and start",
       {ActiveFile("a", 100, {{20, 7}})},
       Span(50000, 10000, 10),
       false,
       {}},
      {"after the start", {ActiveFile("a", 100, {{60, 7}})}, Span(50000, 10000, 10), false, {}},
      {"to zero", {ActiveFile("a", 100, {{0, 7}})}, Span(1, 0, 10), true, {{0, 0, 7}}},
  };
  for (const SpanCase& row : cases) ExpectLevels(row);
}

TEST(Activity, IsCountedIn64Bits) {
  const std::uint64_t late = 4000000000000;
  constexpr std::uint32_t kLongest = 0xFFFFFFFF;
  const SpanCase cases[] = {
      {"coarse, late",
       {ActiveFile("a", 2, {{4000000000, 7}})},
       Span(late, late + 100000, 10),
       true,
       {{1, 1, 7}}},
      {"fine, late",
       {ActiveFile("a", 2, {{4000000000, 7}})},
       Span(late, late + 10000, 10),
       true,
       {{0, 2, 7}}},
      {"fine, lasting for ever",
       {ActiveFile("a", kLongest, {{4000000000, 7}})},
       Span(late, late + 1, 3),
       true,
       {{0, 2, 7}}},
      {"all of time, coarse",
       {ActiveFile("a", 2, {{0xFFFFFFFF, 7}})},
       Span(0, ~0ULL, 10),
       true,
       {{1, 1, 7}}},
      {"all of index time, coarse",
       {ActiveFile("a", 2, {{0x80000000, 7}})},
       Span(0, 0xFFFFFFFFULL * 1000, 10),
       true,
       {{6, 6, 7}}},
      {"fine, a product beyond 2^64 wraps to bin 0",
       {ActiveFile("a", 3689348815, {{0, 8}})},
       Span(0, 5000000000, 5000000),
       true,
       {{0, 0, 8}}},
      {"fine, a last bin wrapped before the first paints nothing",
       {ActiveFile("a", 3689348805, {{10, 8}})},
       Span(0, 5000000000, 5000000),
       true,
       {}},
      {"coarse, a product beyond 2^64 wraps to bin 1",
       {ActiveFile("a", 2, {{3689348815, 7}})},
       Span(0, 4000000000000, 5000000),
       true,
       {{1, 1, 7}}},
      {"a start near the end of time",
       {ActiveFile("a", 2, {{10, 7}})},
       Span(~0ULL - 5, ~0ULL, 10),
       false,
       {}},
  };
  for (const SpanCase& row : cases) ExpectLevels(row);
}

// The range ends long after the largest time.
TEST(CoarseActivity, EndsAtTheLargestIndexTime) {
  cZel3Indexer index;
  index.Add_file_index(ActiveFile("a", 1, {{0, 10}, {0xFFFFFFFF, 20}}));
  const ActivityAnswer one = ActivityOf(index, Span(0, 5'000'000'000'000, 1));
  EXPECT_TRUE(one.found);
  EXPECT_EQ(one.levels, Levels{20});
  const ActivityAnswer many = ActivityOf(index, Span(0, 1'000'000'000'000'000, 100));
  EXPECT_TRUE(many.found);
  EXPECT_EQ(many.levels, Painted(100, {{1, 1, 20}}));
}

// The product of the one entry's end is the largest of 64 bits; that of the other wraps, so it
// paints nothing.
TEST(FineActivity, TellsEntriesApartWhereProductsBeginToWrap) {
  constexpr int kBins = 4294968;
  cZel3Indexer index;
  index.Add_file_index(ActiveFile("a", 4294966296, {{11000, 20}, {10000, 8}}));
  const ActivityAnswer answer = ActivityOf(index, Span(9704000, 4304672000, kBins));
  EXPECT_TRUE(answer.found);
  EXPECT_EQ(answer.levels, Painted(kBins, {{296, kBins - 1, 8}}));
}

// After the entry that lies at the very end of the range, times run backwards.
TEST(ActivityOfOneBin, LeavesOutWhatIsLaterThanTheRange) {
  cZel3Indexer index;
  index.Add_file_index(ActiveFile("a", 1, {{200, 40}, {100, 10}}));
  EXPECT_EQ(ActivityOf(index, Span(0, 100000, 1)).levels, Levels{10});
  index.Add_file_index(ActiveFile("a", 1, {{200, 40}, {100, kNoPair}}));
  EXPECT_FALSE(ActivityOf(index, Span(0, 100000, 1)).found);
  index.Add_file_index(ActiveFile("a", 1, {{5, 30}, {1, 10}}));
  EXPECT_EQ(ActivityOf(index, Span(0, 1000, 1)).levels, Levels{10});
}

}  // namespace
