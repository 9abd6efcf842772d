#include <gmock/gmock.h>

#include <array>
#include <cstring>
#include <type_traits>
#include <utility>

#include "stores_for_tests.h"
#include "support/lookup_answer.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Stores : public testing::Test {
 protected:
  cZel3Indexer index;
};

TEST_F(Stores, AreReadyOnceTheSourceIsOpenAndAFileIsFiled) {
  EXPECT_FALSE(index.Is_ready());
  index.ready = true;
  EXPECT_FALSE(index.Is_ready());
  index.Add_file_index(FileOf("a", {10}));
  EXPECT_TRUE(index.Is_ready());
  index.ready = false;
  EXPECT_FALSE(index.Is_ready());
}

struct FilingCase {
  const char* what;
  std::vector<sFile_Index_Store> filed;
  Texts order;
};

TEST_F(Stores, AreFiledByStartTime) {
  const FilingCase cases[] = {
      {"the first file", {FileOf("a", {30})}, {"a"}},
      {"30, 10, 20",
       {FileOf("30", {30}), FileOf("10", {10}), FileOf("20", {20})},
       {"10", "20", "30"}},
      {"an equal start time goes after those present",
       {FileOf("10", {10}), FileOf("30", {30}), FileOf("20", {20}), FileOf("20 again", {20}),
        FileOf("20 once more", {20})},
       {"10", "20", "20 again", "20 once more", "30"}},
      {"an equal first start time", {FileOf("a", {10}), FileOf("b", {10})}, {"a", "b"}},
      {"unsigned times",
       {FileOf("late", {0x80000000}), FileOf("early", {0x7FFFFFFF})},
       {"early", "late"}},
      {"only the start time counts",
       {FileOf("long", {10, 90}), FileOf("short", {20, 30})},
       {"long", "short"}},
  };
  for (const FilingCase& row : cases) {
    SCOPED_TRACE(row.what);
    cZel3Indexer fresh;
    FileAll(fresh, row.filed);
    EXPECT_EQ(FileNames(fresh), row.order);
  }
}

struct RefilingCase {
  const char* what;
  sFile_Index_Store again;
  Texts order;
};

// Files at 10, 20 and 30, one of which is filed again.
TEST_F(Stores, AreReplacedByNameOnTheWayToTheirPlace) {
  const RefilingCase cases[] = {
      {"same start time", FileOf("b", {20}), {"a", "b", "c"}},
      {"a later start time keeps the place", FileOf("b", {90}), {"a", "b", "c"}},
      {"the first file with the latest start time", FileOf("a", {90}), {"a", "b", "c"}},
      {"a smaller start time that is still met on the way", FileOf("b", {15}), {"a", "b", "c"}},
      {"a start time equal to an earlier one", FileOf("c", {20}), {"a", "b", "c"}},
      {"an equal start time is passed, a later one not", FileOf("c", {10}), {"a", "c", "b", "c"}},
      {"the first file, earlier", FileOf("a", {1}), {"a", "b", "c"}},
      {"a start time below an earlier file's: listed twice",
       FileOf("b", {5}),
       {"b", "a", "b", "c"}},
      {"listed twice in the middle", FileOf("c", {15}), {"a", "c", "b", "c"}},
      {"names differ by case", FileOf("B", {20}), {"a", "b", "B", "c"}},
      {"names differ by length", FileOf("bb", {20}), {"a", "b", "bb", "c"}},
  };
  for (const RefilingCase& row : cases) {
    SCOPED_TRACE(row.what);
    cZel3Indexer fresh;
    FileAll(fresh, {FileOf("a", {10}), FileOf("b", {20}), FileOf("c", {30}), row.again});
    EXPECT_EQ(FileNames(fresh), row.order);
  }
}

TEST_F(Stores, HoldTheNewContentsAfterAReplacement) {
  FileAll(index, {FileOf("a", {10}), FileOf("b", {20}), FileOf("b", {95, 90})});
  ASSERT_EQ(index.Files().size(), 2U);
  EXPECT_THAT(Shown(index.Files()[1].id3Records), ElementsAre("95@0", "90@0"));
  EXPECT_EQ(index.Files()[1].startTime, 90U);
}

TEST_F(Stores, ListedTwiceAreReplacedWhereTheyAreMetFirst) {
  FileAll(index, {FileOf("a", {10}), FileOf("b", {20}), FileOf("b", {5}), FileOf("b", {6, 7})});
  EXPECT_THAT(FileNames(index), ElementsAre("b", "a", "b"));
  EXPECT_THAT(Shown(index.Files()[0].id3Records), ElementsAre("6@0", "7@0"));
  EXPECT_THAT(Shown(index.Files()[2].id3Records), ElementsAre("20@0"));
}

TEST_F(Stores, AreCopiesOfWhatWasFiled) {
  sFile_Index_Store store = FileOf("a", {10});
  index.Add_file_index(store);
  store.id3Records.append(EntryAt(20));
  store.blockPositions.push_back(7);
  store.endTime = 20;
  EXPECT_THAT(Shown(index.Files()[0].id3Records), ElementsAre("10@0"));
  EXPECT_THAT(index.Files()[0].blockPositions, IsEmpty());
  EXPECT_EQ(index.Files()[0].endTime, 10U);
}

TEST_F(Stores, AreFiledWithBuffersOfExactlyTheirLength) {
  sFile_Index_Store store = FileOf("a", {10});
  store.blockPositions.reserve(1000);
  for (const FilePosition position : {0, 10, 20}) store.blockPositions.append(position);
  ASSERT_GE(store.blockPositions.capacity(), 1000);
  index.Add_file_index(store);
  EXPECT_EQ(index.Files()[0].blockPositions.capacity(), 3);
}

TEST_F(Stores, AreFiledWithoutACopyOfWhatTheyHold) {
  sFile_Index_Store store = FileOf("a", {10});
  store.blockPositions = {0, 10, 20};
  index.Add_file_index(store);
  const sFile_Index_Store& filed = index.Files()[0];
  EXPECT_EQ(filed.blockPositions.constData(), std::as_const(store).blockPositions.constData());
  EXPECT_EQ(filed.id3Records.constData(), std::as_const(store).id3Records.constData());
}

TEST_F(Stores, MoveWithoutCopyingWhenTheListGrows) {
  EXPECT_TRUE(std::is_nothrow_move_constructible<FiledStore>::value);
  EXPECT_TRUE(std::is_nothrow_move_assignable<FiledStore>::value);
}

TEST_F(Stores, CanReplaceAStoreByItself) {
  FileAll(index, {FileOf("a", {10}), FileOf("b", {20})});
  index.Add_file_index(index.Files()[1]);
  EXPECT_THAT(FileNames(index), ElementsAre("a", "b"));
  EXPECT_THAT(Shown(index.Files()[1].id3Records), ElementsAre("20@0"));
}

// Filing moves the stores after the place, be it within their memory or to a larger one.
TEST_F(Stores, CanBeFiledOnceMoreFromTheListItself) {
  sFile_Index_Store whole = FileOf("c", {30});
  whole.id3Path = Path("c.id3");
  whole.headerPositions = {5};
  whole.events = {EVT_FILE_DATA_T()};
  whole.lastIndexTime = 31;
  whole.indexInterval = 32;
  whole.streamMap.fill(0xFF);
  whole.blockPositions = {5, 30};
  whole.partial = true;
  cZel3Indexer fresh;
  FileAll(fresh, {FileOf("a", {10}), FileOf("b", {20}), whole, FileOf("b", {90})});
  fresh.Add_file_index(fresh.Files()[2]);
  EXPECT_THAT(FileNames(fresh), ElementsAre("a", "c", "b", "c"));
  for (const std::size_t place : {1U, 3U}) {
    SCOPED_TRACE(place);
    const sFile_Index_Store& filed = fresh.Files()[place];
    EXPECT_EQ(Text(filed.id3Path), "c.id3");
    EXPECT_EQ(Positions(filed.headerPositions), std::vector<std::uint64_t>{5});
    EXPECT_THAT(Shown(filed.id3Records), ElementsAre("30@0"));
    EXPECT_THAT(Shown(filed.events), ElementsAre("0@0 x0"));
    EXPECT_EQ(filed.startTime, 30U);
    EXPECT_EQ(filed.lastIndexTime, 31U);
    EXPECT_EQ(filed.endTime, 30U);
    EXPECT_EQ(filed.indexInterval, 32U);
    EXPECT_EQ(filed.streamMap, whole.streamMap);
    EXPECT_THAT(filed.blockPositions, ElementsAre(5, 30));
    EXPECT_TRUE(filed.partial);
  }
}

// The overall range shows in gaps: a time outside it finds nothing, a time inside it finds a
// neighbouring file.
class OverallRange : public Stores {};

TEST_F(OverallRange, IsThatOfTheFirstFile) {
  index.Add_file_index(FileOf("a", {0x90000000, 0x90000010}));
  EXPECT_EQ(Look(index, 0x80000000 * 1000ULL, Ask::kAtOrBefore), kNothing);
  EXPECT_EQ(Look(index, 0x90000011 * 1000ULL, Ask::kBackward), kNothing);
}

TEST_F(OverallRange, WidensToBothSides) {
  FileAll(index,
          {FileOf("middle", {300, 400}), FileOf("early", {100, 200}), FileOf("late", {500, 600})});
  EXPECT_EQ(Look(index, 250000, Ask::kForward), At(1, 0, 300000));
  EXPECT_EQ(Look(index, 450000, Ask::kForward), At(2, 0, 500000));
  EXPECT_EQ(Look(index, 99999, Ask::kForward), kNothing);
  EXPECT_EQ(Look(index, 600001, Ask::kBackward), kNothing);
}

TEST_F(OverallRange, KeepsItsEndWhenAFileIsReplacedByAShorterOne) {
  FileAll(index, {FileOf("a", {100, 400}), FileOf("a", {100, 200})});
  EXPECT_EQ(Look(index, 300000, Ask::kBackward), At(0, 0, 200000));
  EXPECT_EQ(Look(index, 400000, Ask::kBackward), At(0, 0, 200000));
  EXPECT_EQ(Look(index, 400001, Ask::kBackward), kNothing);
}

TEST_F(OverallRange, KeepsItsStartWhenAFileIsReplacedByALaterOne) {
  FileAll(index, {FileOf("a", {100, 400}), FileOf("a", {200, 400})});
  EXPECT_EQ(Look(index, 150000, Ask::kAtOrBefore), At(0, 0, 200000));
  EXPECT_EQ(Look(index, 100000, Ask::kAtOrBefore), At(0, 0, 200000));
  EXPECT_EQ(Look(index, 99999, Ask::kAtOrBefore), kNothing);
}

TEST_F(OverallRange, OfAFileWithoutEntriesIsWidenedByTheNext) {
  FileAll(index, {FileOf("events only", {}), FileOf("a", {10, 20}), FileOf("b", {30, 40})});
  EXPECT_THAT(FileNames(index), ElementsAre("a", "b", "events only"));
  EXPECT_EQ(Look(index, 25000, Ask::kForward), At(1, 0, 30000));
  EXPECT_EQ(Look(index, 9999, Ask::kForward), kNothing);
  EXPECT_EQ(Look(index, 40001, Ask::kBackward), kNothing);
}

// Head and tail of a file that is not indexed yet.
class BareEntries : public Stores {
 protected:
  BareEntries() { index.Open_file_draft(Path("a")); }
};

TEST_F(BareEntries, MarkTheTimeRange) {
  index.Add_first_index(IndexAt(100, 1));
  index.Add_last_index(IndexAt(900, 1));
  EXPECT_TRUE(index.Current().partial);
  EXPECT_EQ(index.Current().startTime, 100U);
  EXPECT_EQ(index.Current().endTime, 900U);
  ASSERT_EQ(index.Current().id3Records.size(), 2);
  const std::uint32_t times[] = {100, 900};
  for (int i = 0; i < 2; ++i) {
    ZEL_ID3_REC onlyTime = {};
    onlyTime.time = times[i];
    EXPECT_EQ(std::memcmp(&index.Current().id3Records.at(i), &onlyTime, sizeof(onlyTime)), 0) << i;
  }
}

TEST_F(BareEntries, AreFiledEachTime) {
  index.Add_first_index(IndexAt(100));
  ASSERT_EQ(index.Files().size(), 1U);
  EXPECT_THAT(Shown(index.Files()[0].id3Records), ElementsAre("100@0"));
  index.Add_last_index(IndexAt(900));
  ASSERT_EQ(index.Files().size(), 1U);
  EXPECT_THAT(Shown(index.Files()[0].id3Records), ElementsAre("100@0", "900@0"));
  EXPECT_TRUE(index.Files()[0].partial);
}

TEST_F(BareEntries, GoToTheFrontAndToTheEnd) {
  index.Add_last_index(IndexAt(500));
  index.Add_last_index(IndexAt(900));
  index.Add_first_index(IndexAt(100));
  EXPECT_THAT(Shown(index.Current().id3Records), ElementsAre("100@0", "500@0", "900@0"));
}

TEST_F(BareEntries, OnlyTheLastOneSetsTheLastIndexTime) {
  index.Add_last_index(IndexAt(7));
  index.Add_first_index(IndexAt(100));
  EXPECT_EQ(index.Current().lastIndexTime, 7U);
  index.Add_last_index(IndexAt(50));
  EXPECT_EQ(index.Current().lastIndexTime, 50U);
}

TEST_F(BareEntries, WidenTheRangeWhateverTheirOrder) {
  index.Add_first_index(IndexAt(900));
  EXPECT_EQ(index.Current().startTime, 900U);
  EXPECT_EQ(index.Current().endTime, 900U);
  index.Add_last_index(IndexAt(100));
  EXPECT_EQ(index.Current().startTime, 100U);
  EXPECT_EQ(index.Current().endTime, 900U);
  index.Add_last_index(IndexAt(500));
  EXPECT_EQ(index.Current().startTime, 100U);
  EXPECT_EQ(index.Current().endTime, 900U);
}

TEST_F(BareEntries, TakeNothingFromDataThatCameBefore) {
  DATA_T active;
  active.flags = 31;
  active.type = 5;
  index.Add_block(active, nullptr, 0);
  index.Add_first_index(IndexAt(100, 1));
  EXPECT_THAT(Shown(index.Current().id3Records), ElementsAre("100@0"));
}

TEST_F(BareEntries, KeyTheEventsThatFollowThem) {
  DATA_T event;
  event.type = 0x80;
  index.Add_first_index(IndexAt(100));
  index.Add_block(event, nullptr, 0);
  index.Add_last_index(IndexAt(900));
  index.Add_block(event, nullptr, 0);
  EXPECT_THAT(Shown(index.Current().events), ElementsAre("100@0 x1 80''", "900@0 x1 80''"));
}

TEST_F(BareEntries, WhoseTailIsEarlierThanAnotherFileAreListedTwice) {
  index.Add_file_index(FileOf("other", {50}));
  index.Add_first_index(IndexAt(100));
  index.Add_last_index(IndexAt(20));
  EXPECT_THAT(FileNames(index), ElementsAre("a", "other", "a"));
}

TEST_F(Stores, HandOutTheirStreams) {
  sFile_Index_Store active = FileOf("b", {20});
  active.streamMap[0] = 0x81;
  active.streamMap[31] = 0x80;
  FileAll(index, {FileOf("a", {10}), active});
  std::array<std::uint8_t, 34> map;
  map.fill(0xEE);
  index.FillFileStreamMap(1, map.data() + 1);
  std::array<std::uint8_t, 34> expected = {};
  expected.front() = expected.back() = 0xEE;
  expected[1] = 0x81;
  expected[32] = 0x80;
  EXPECT_EQ(map, expected);
  index.FillFileStreamMap(0, map.data() + 1);
  EXPECT_THAT(std::vector<int>(map.begin() + 1, map.end() - 1), testing::Each(0));
}

}  // namespace
