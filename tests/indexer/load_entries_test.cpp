#include "cache_test.h"
#include "support/lookup_answer.h"

namespace {

using testing::ElementsAre;

class LoadedEntries : public CacheTest {
 protected:
  // The .id3 file alone has contents.
  bool OpenWith(const Bytes& id3) {
    WriteCache(id3, {}, {});
    return Open();
  }
};

struct TimesCase {
  const char* what;
  std::vector<std::uint32_t> times;
  std::uint32_t start;
  std::uint32_t last;
  std::uint32_t end;
  std::uint32_t interval;
};

// The end lies one smallest step after the last time; steps count from 3 to 6. The interval is the
// upper median of the first five steps.
TEST_F(LoadedEntries, TellTheTimeRangeAndTheInterval) {
  const TimesCase cases[] = {
      {"one entry", {500}, 500, 500, 506, 3000},
      {"steps below the floor", {100, 101, 102}, 100, 102, 105, 1},
      {"sorted 5, 10, 10, 20, 55", {0, 10, 30, 35, 45, 100}, 0, 100, 105, 10},
      {"a step of 2", {100, 102}, 100, 102, 105, 2},
      {"a step of 3", {100, 103}, 100, 103, 106, 3},
      {"a step of 4", {100, 104}, 100, 104, 108, 4},
      {"a step of 5", {100, 105}, 100, 105, 110, 5},
      {"a step of 6", {100, 106}, 100, 106, 112, 6},
      {"a step of 7 does not raise it", {100, 107}, 100, 107, 113, 7},
      {"equal times make no step of the range", {100, 100}, 100, 100, 106, 0},
      {"two steps: the larger one", {0, 20, 30}, 0, 30, 36, 20},
      {"four steps: the third", {0, 4, 7, 9, 10}, 0, 10, 13, 3},
      {"three steps: the second", {0, 30, 40, 60}, 0, 60, 66, 20},
      {"only the first five steps", {0, 10, 20, 30, 40, 50, 1050, 2050, 3050}, 0, 3050, 3056, 10},
      {"later steps still lower the end", {0, 10, 20, 30, 40, 50, 60, 64}, 0, 64, 68, 10},
      {"falling times widen the start", {100, 90, 95}, 90, 100, 106, 4294967286},
      {"a small step at the start", {100, 96}, 96, 100, 104, 4294967292},
      {"a small step inside the range does not count", {100, 200, 150, 151}, 100, 200, 206, 100},
      {"the step at the start is from the start so far", {100, 50, 46}, 46, 100, 104, 4294967292},
      {"the step at the end is from the end so far", {100, 50, 104}, 50, 104, 108, 4294967246},
      {"the first time as the largest", {0xFFFFFFF0}, 0xFFFFFFF0, 0xFFFFFFF0, 0xFFFFFFF6, 3000},
      {"an end that wraps", {0xFFFFFFFE}, 0xFFFFFFFE, 0xFFFFFFFE, 4, 3000},
      {"a range as large as can be", {0, 0xFFFFFFFF}, 0, 0xFFFFFFFF, 5, 0xFFFFFFFF},
  };
  for (const TimesCase& row : cases) {
    SCOPED_TRACE(row.what);
    ASSERT_TRUE(OpenWith(Id3FileWithTimes(row.times)));
    EXPECT_EQ(index.Current().startTime, row.start);
    EXPECT_EQ(index.Current().lastIndexTime, row.last);
    EXPECT_EQ(index.Current().endTime, row.end);
    EXPECT_EQ(index.Current().indexInterval, row.interval);
  }
}

TEST_F(LoadedEntries, StartTheSmallestStepAnewForEachFile) {
  ASSERT_TRUE(OpenWith(Id3FileWithTimes({100, 103})));
  ASSERT_TRUE(OpenWith(Id3FileWithTimes({100})));
  EXPECT_EQ(index.Current().endTime, 106U);
}

TEST_F(LoadedEntries, AreTheBytesOfTheFile) {
  const Bytes entry = {0x80,                    // flags
                       2,                       // pairs in use
                       0x34, 0x12,              // bits 32-47 of the position
                       0x01, 0x02, 0x03, 0x04,  // time
                       0x78, 0x56, 0x34, 0xF2,  // bits 0-31 of the position
                       5,    14,   6,    62,   0, 0, 0, 0, 0, 0, 0, 0};
  ASSERT_TRUE(OpenWith(entry));
  ASSERT_EQ(index.Current().id3Records.size(), 1);
  const ZEL_ID3_REC record = index.Current().id3Records.at(0);
  EXPECT_EQ(record.flags, 0x80);
  EXPECT_EQ(record.activityCount, 2);
  EXPECT_EQ(record.offsetHigh, 0x1234);
  EXPECT_EQ(record.time, 0x04030201U);
  EXPECT_EQ(record.offsetLow, 0xF2345678U);
  EXPECT_EQ(record.activity[0].streamId, 5);
  EXPECT_EQ(record.activity[0].level, 14);
  EXPECT_EQ(record.activity[1].streamId, 6);
  EXPECT_EQ(record.activity[1].level, 62);
  EXPECT_EQ(record.activity[5].streamId, 0);
}

TEST_F(LoadedEntries, CutTheFileAtTheLow32BitsOfTheirPositions) {
  ASSERT_TRUE(OpenWith(Id3File({{100, 700}, {101, 0xFFFFFFFF}, {102, 5, 1}})));
  EXPECT_THAT(AllCuts(index.Current()), ElementsAre(700, 0xFFFFFFFF, 5, 9000));
  EXPECT_THAT(Shown(index.Current().id3Records),
              ElementsAre("100@700", "101@4294967295", "102@4294967301"));
}

// They ascended when they were loaded; with the one that is added they do not.
TEST_F(LoadedEntries, AreFoundBesideABareOneThatIsAddedBehindThem) {
  ASSERT_TRUE(OpenWith(Id3FileWithTimes({10, 20, 30, 40, 50})));
  EXPECT_EQ(Look(index, 45000, Ask::kAtOrBefore), At(0, 3, 40000));
  index.Add_last_index(IndexAt(15));
  EXPECT_EQ(Look(index, 45000, Ask::kAtOrBefore), At(0, 3, 40000));
}

// Bare entries are not cuts, wherever they go.
TEST_F(LoadedEntries, StayCutsBesideBareOnesThatAreAdded) {
  WriteCache(Id3File({{100, 700}, {101, 800}}), HdrFile({5, 750}), {});
  ASSERT_TRUE(Open());
  index.Add_last_index(IndexAt(102));
  EXPECT_THAT(AllCuts(index.Current()), ElementsAre(5, 700, 750, 800, 9000));
  ASSERT_TRUE(Open());
  index.Add_first_index(IndexAt(99));
  EXPECT_THAT(AllCuts(index.Current()), ElementsAre(5, 700, 750, 800, 9000));
  std::uint64_t start = 760;
  EXPECT_EQ(index.Get_read_size(0, &start), 800U);
  EXPECT_EQ(start, 750U);
}

// The memory of an index is that of its entries.
TEST_F(LoadedEntries, AreTheirOwnCutsWhereTheirPositionsAscend) {
  ASSERT_TRUE(OpenWith(Id3File({{100, 700}, {101, 700}, {102, 900}})));
  EXPECT_THAT(index.Files()[0].blockPositions, ElementsAre(9000));
  EXPECT_EQ(index.Files()[0].blockPositions.capacity(), 1);
  EXPECT_EQ(index.Files()[0].id3Records.capacity(), 3);
}

TEST_F(LoadedEntries, AreWholeOnesOnly) {
  const Bytes three = Id3FileWithTimes({10, 20, 30});
  struct {
    std::size_t size;
    Texts records;
  } const cases[] = {
      {0, {}},
      {1, {}},
      {23, {}},
      {24, {"10@0"}},
      {25, {"10@0"}},
      {47, {"10@0"}},
      {48, {"10@0", "20@0"}},
      {71, {"10@0", "20@0"}},
      {72, {"10@0", "20@0", "30@0"}},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.size);
    EXPECT_EQ(OpenWith(Cut(three, row.size)), !row.records.empty());
    EXPECT_EQ(Shown(index.Current().id3Records), row.records);
  }
}

}  // namespace
