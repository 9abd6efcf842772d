#include <gmock/gmock.h>

#include "stores_for_tests.h"

namespace {

constexpr std::uint64_t kUntouched = 77;
constexpr std::uint64_t kFourGiB = 1ULL << 32;

// One file with these cuts.
sFile_Index_Store FileWithCuts(const std::vector<std::uint64_t>& cuts) {
  sFile_Index_Store store = FileOf("a", {10});
  store.blockPositions = AsPositions(cuts);
  return store;
}

struct StretchCase {
  const char* what;
  std::vector<std::uint64_t> cuts;
  std::uint64_t position;
  std::uint64_t start;
  std::uint64_t end;
};

TEST(Stretch, IsTheFirstOneThatHoldsThePosition) {
  const StretchCase cases[] = {
      {"start of the first", {0, 1000, 5000}, 0, 0, 1000},
      {"inside the first", {0, 1000, 5000}, 999, 0, 1000},
      {"start of the second", {0, 1000, 5000}, 1000, 1000, 5000},
      {"end of the second", {0, 1000, 5000}, 4999, 1000, 5000},
      {"the last position opens none", {0, 1000, 5000}, 5000, 0, 0},
      {"after all", {0, 1000, 5000}, 6000, 0, 0},
      {"before all", {100, 200}, 99, 0, 0},
      {"no cuts", {}, 0, 0, 0},
      {"one cut", {0}, 0, 0, 0},
      {"two equal cuts", {0, 0}, 0, 0, 0},
      {"an empty stretch is passed over", {0, 0, 100}, 0, 0, 100},
      {"a header at the place of an entry", {0, 500, 500, 900}, 500, 500, 900},
      {"cuts that do not ascend", {0, 500, 200, 900}, 300, 0, 500},
      {"cuts that do not ascend, later stretch", {0, 500, 200, 900}, 600, 200, 900},
      {"cuts that fall", {900, 500, 0}, 600, 0, 0},
      {"an end position of 0", {100, 200, 0}, 250, 0, 0},
      {"beyond 4 GiB",
       {0, kFourGiB + 10, kFourGiB + 20},
       kFourGiB + 15,
       kFourGiB + 10,
       kFourGiB + 20},
      {"an end position near 2^64", {0, 100, ~0ULL}, 1ULL << 63, 100, ~0ULL},
      {"the largest position", {0, 100, ~0ULL}, ~0ULL, 0, 0},
  };
  for (const StretchCase& row : cases) {
    SCOPED_TRACE(row.what);
    cZel3Indexer index;
    index.Add_file_index(FileWithCuts(row.cuts));
    std::uint64_t position = row.position;
    EXPECT_EQ(index.Get_read_size(0, &position), row.end);
    EXPECT_EQ(position, row.start);
  }
}

TEST(Stretch, OfAFileThatIsNotThereIsNone) {
  cZel3Indexer index;
  std::uint64_t position = kUntouched;
  EXPECT_EQ(index.Get_read_size(0, &position), 0U);
  EXPECT_EQ(position, 0U);
  index.Add_file_index(FileWithCuts({0, 1000}));
  for (const std::uint32_t file : {1U, 0x80000000U, 0xFFFFFFFFU}) {
    position = kUntouched;
    EXPECT_EQ(index.Get_read_size(file, &position), 0U) << file;
    EXPECT_EQ(position, 0U) << file;
  }
}

// Two files; the second holds headers at 0 and 700 and entries at 700, 1500 and 9000, the last of
// which lies after all cuts.
class ByteRange : public testing::Test {
 protected:
  ByteRange() {
    index.Add_file_index(FileWithCuts({0, 300}));
    store.startTime = 20;
    store.endTime = 50;
    store.id3Records = {EntryAt(20, 700), EntryAt(30, kFourGiB + 1500), EntryAt(40, 9000)};
    store.headerPositions = {0, 700};
    store.blockPositions = {0, 700, 1500, 5000};
    index.Add_file_index(store);
  }

  cZel3Indexer index;
  sFile_Index_Store store = FileOf("b", {});
  std::uint64_t start = kUntouched;
  std::uint64_t end = kUntouched;
};

TEST_F(ByteRange, AreTheStretchThatHoldsItsPosition) {
  EXPECT_TRUE(index.Index_pos_from_IndexId(MakeIndexId(1, 0), &start, &end));
  EXPECT_EQ(start, 700U);
  EXPECT_EQ(end, 1500U);
}

TEST_F(ByteRange, AreFoundByTheLow32BitsOfThePosition) {
  EXPECT_TRUE(index.Index_pos_from_IndexId(MakeIndexId(1, 1), &start, &end));
  EXPECT_EQ(start, 1500U);
  EXPECT_EQ(end, 5000U);
}

TEST_F(ByteRange, BeginWhereTheStretchBegins) {
  store.blockPositions = {600, 800};
  index.Add_file_index(store);
  EXPECT_TRUE(index.Index_pos_from_IndexId(MakeIndexId(1, 0), &start, &end));
  EXPECT_EQ(start, 600U);
  EXPECT_EQ(end, 800U);
}

TEST_F(ByteRange, AreNoneButFoundWhenNoStretchHoldsThePosition) {
  EXPECT_TRUE(index.Index_pos_from_IndexId(MakeIndexId(1, 2), &start, &end));
  EXPECT_EQ(start, 0U);
  EXPECT_EQ(end, 0U);
}

TEST_F(ByteRange, AreRefusedWithoutAPlaceForTheEnd) {
  EXPECT_FALSE(index.Index_pos_from_IndexId(MakeIndexId(1, 0), &start, nullptr));
  EXPECT_EQ(start, kUntouched);
}

const std::uint64_t kNoSuchEntries[] = {
    MakeIndexId(1, 3),          MakeIndexId(1, 0x80000000), MakeIndexId(1, 0xFFFFFFFF),
    MakeIndexId(0, 1),          MakeIndexId(0, 0xFFFFFFFF), MakeIndexId(2, 0),
    MakeIndexId(0x80000000, 0), MakeIndexId(0xFFFFFFFF, 0), kNoIndexId,
};

TEST_F(ByteRange, AreNotFoundForAnEntryThatIsNotThere) {
  for (const std::uint64_t indexId : kNoSuchEntries) {
    EXPECT_FALSE(index.Index_pos_from_IndexId(indexId, &start, &end)) << std::hex << indexId;
    EXPECT_EQ(start, kUntouched);
    EXPECT_EQ(end, kUntouched);
  }
}

TEST_F(ByteRange, HaveNoHeaderForAnEntryThatIsNotThere) {
  sFile_Index_Store first = index.Files()[0];
  first.headerPositions = store.headerPositions = {5};
  FileAll(index, {first, store});
  ASSERT_THAT(FileNames(index), testing::ElementsAre("a", "b"));
  for (const std::uint64_t indexId : kNoSuchEntries) {
    EXPECT_EQ(index.Header_pos_for_index(indexId), 0U) << std::hex << indexId;
  }
}

struct HeaderPositionCase {
  const char* what;
  QVector<FilePosition> headers;
  std::uint64_t entry;
  std::uint64_t header;
};

TEST_F(ByteRange, FollowTheLastHeaderThatStandsBeforeThem) {
  const HeaderPositionCase cases[] = {
      {"a header at the entry's place is not before it", {0, 700}, 700, 0},
      {"one byte after the header", {0, 700}, 701, 700},
      {"between two", {0, 700, 900}, 800, 700},
      {"after all", {0, 700, 900}, 5000, 900},
      {"none before", {700}, 700, 0},
      {"no headers", {}, 700, 0},
      {"the first header at the start of the file", {0}, 700, 0},
      {"an entry at the start of the file", {0, 700}, 0, 0},
      {"headers from 4 GiB on are never found", {0, 700, kFourGiB, kFourGiB + 5}, 800, 700},
      {"only such headers", {kFourGiB + 5}, 800, 0},
      {"the position of the entry counts with its low 32 bits", {50, 700}, kFourGiB + 600, 50},
      {"headers in any order are walked from the last", {900, 700, 300}, 800, 300},
      {"and passed over where they are not before", {300, 700, 900}, 650, 300},
      {"a position with its highest bit set", {0, 0x80000000}, 0xFFFFFFFF, 0x80000000},
  };
  for (const HeaderPositionCase& row : cases) {
    SCOPED_TRACE(row.what);
    store.headerPositions = row.headers;
    store.id3Records[0] = EntryAt(20, row.entry);
    index.Add_file_index(store);
    EXPECT_EQ(index.Header_pos_for_index(MakeIndexId(1, 0)), row.header);
  }
}

TEST_F(ByteRange, HaveNoHeaderInAnEmptyIndex) {
  const cZel3Indexer empty;
  EXPECT_EQ(empty.Header_pos_for_index(MakeIndexId(0, 0)), 0U);
  EXPECT_FALSE(empty.Index_pos_from_IndexId(MakeIndexId(0, 0), &start, &end));
}

}  // namespace
