#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "stores_for_tests.h"

// Records as a parser reports them, one after the other.

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Intake : public testing::Test {
 protected:
  Intake() { index.BeginIntake(); }

  void IndexPoint(std::uint32_t time, std::uint64_t position = 0, std::uint8_t flag = 0) {
    index.SetRecordPosition(position);
    index.Add_index(IndexAt(time, flag));
  }
  void Block(std::uint8_t type, std::uint8_t flags, const std::string& text = "") {
    DATA_T block;
    block.type = type;
    block.flags = flags;
    block.length = static_cast<std::uint16_t>(text.size());
    index.Add_block(block, reinterpret_cast<const unsigned char*>(text.data()), text.size());
  }
  // All entries: the last one is appended when the next one arrives.
  Texts Entries() {
    IndexPoint(0xFFFFFFFF);
    return Shown(index.Current().id3Records);
  }

  cZel3Indexer index;
};

using IndexPoints = Intake;

TEST_F(IndexPoints, BecomeEntriesWhenTheNextOneArrives) {
  IndexPoint(100, 500);
  EXPECT_THAT(index.Current().id3Records, IsEmpty());
  IndexPoint(110, 600);
  EXPECT_THAT(Shown(index.Current().id3Records), ElementsAre("100@500"));
  IndexPoint(120, 700);
  EXPECT_THAT(Shown(index.Current().id3Records), ElementsAre("100@500", "110@600"));
}

TEST_F(IndexPoints, EndTheFilesBeingPartial) {
  index.Open_file_draft(Path("a"));
  ASSERT_TRUE(index.Current().partial);
  IndexPoint(100);
  EXPECT_FALSE(index.Current().partial);
}

TEST_F(IndexPoints, CutTheFileAtOnceAndAtTheirFullPosition) {
  IndexPoint(100, 500);
  IndexPoint(110, 0x123456789ABCDEF0);
  EXPECT_THAT(index.Current().blockPositions, ElementsAre(500, 0x123456789ABCDEF0));
}

TEST_F(IndexPoints, Keep48BitsOfThePosition) {
  const std::uint64_t positions[] = {0, 0xFFFFFFFF, 0x100000000, 0xFFFFFFFFFFFF,
                                     0x123456789ABCDEF0};
  for (const std::uint64_t position : positions) IndexPoint(7, position);
  Entries();
  ASSERT_EQ(index.Current().id3Records.size(), 5);
  for (int i = 0; i < 5; ++i) {
    const ZEL_ID3_REC& record = index.Current().id3Records.at(i);
    EXPECT_EQ(record.offsetLow, positions[i] & 0xFFFFFFFF);
    EXPECT_EQ(record.offsetHigh, positions[i] >> 32 & 0xFFFF);
  }
}

TEST_F(IndexPoints, WithoutANewPositionReuseTheLastOne) {
  IndexPoint(100, 500);
  index.Add_index(IndexAt(110));
  EXPECT_THAT(Entries(), ElementsAre("100@500", "110@500"));
}

TEST_F(IndexPoints, CarryOneFlag) {
  struct {
    std::uint8_t indexFlag;
    std::uint8_t flags;
  } const cases[] = {{0, 0}, {1, 0x80}, {2, 0x80}, {0x80, 0x80}, {0xFF, 0x80}};
  for (const auto& row : cases) IndexPoint(1, 1, row.indexFlag);
  Entries();
  for (int i = 0; i < 5; ++i)
    EXPECT_EQ(index.Current().id3Records.at(i).flags, cases[i].flags) << i;
}

TEST_F(IndexPoints, AreZeroButForWhatIsKnown) {
  Block(5, 31);
  IndexPoint(100, 500, 1);
  Block(6, 31);
  IndexPoint(110, 600);
  Entries();
  ZEL_ID3_REC plain = EntryAt(110, 600);
  EXPECT_EQ(std::memcmp(&index.Current().id3Records.at(1), &plain, sizeof(plain)), 0);
}

struct RangeCase {
  const char* what;
  std::vector<std::uint32_t> times;
  std::uint32_t start;
  std::uint32_t end;
};

// The end moves only when an entry is appended that lies after it, and then to the newest index
// point.
TEST_F(IndexPoints, MoveTheTimeRange) {
  const RangeCase cases[] = {
      {"one", {100}, 100, 100},
      {"the second does not count yet", {100, 101}, 100, 100},
      {"the third does, with its own time", {100, 101, 105}, 100, 105},
      {"one more", {100, 101, 105, 120}, 100, 105},
      {"and one more", {100, 101, 105, 120, 121}, 100, 121},
      {"the newest is earlier", {100, 110, 50}, 100, 50},
      {"falling", {100, 50}, 100, 100},
      {"falling, third", {100, 50, 70}, 50, 100},
      {"equal", {100, 100, 100}, 100, 100},
      {"large", {0xFFFFFFF0, 0xFFFFFFF8, 0xFFFFFFFF}, 0xFFFFFFF0, 0xFFFFFFFF},
  };
  for (const RangeCase& row : cases) {
    SCOPED_TRACE(row.what);
    cZel3Indexer fresh;
    CollectBareEntries(fresh, "a", {1, 0xFFFFFFFF});
    for (const std::uint32_t time : row.times) fresh.Add_index(IndexAt(time));
    EXPECT_EQ(fresh.Current().startTime, row.start);
    EXPECT_EQ(fresh.Current().endTime, row.end);
  }
}

using Headers = Intake;

TEST_F(Headers, AreKeptAndCutTheFile) {
  index.SetRecordPosition(16);
  index.Add_header(HDR_T());
  IndexPoint(100, 500);
  index.SetRecordPosition(1ULL << 40);
  index.Add_header(HDR_T());
  EXPECT_THAT(Positions(index.Current().headerPositions), ElementsAre(16, 1ULL << 40));
  EXPECT_THAT(index.Current().blockPositions, ElementsAre(16, 500, 1ULL << 40));
}

TEST_F(Headers, MarkTheirActiveStreamsByIdInAnyOrder) {
  HDR_T header;
  header.streams[0].streamId = 255;
  header.streams[0].streamActive = 1;
  header.streams[100].streamId = 0;
  header.streams[100].streamActive = 0xFF;
  header.streams[255].streamId = 7;
  header.streams[255].streamActive = 2;
  header.streams[7].streamId = 9;
  index.Add_header(header);
  StreamMap expected = {};
  expected[0] = 0x81;
  expected[31] = 0x80;
  EXPECT_EQ(index.Current().streamMap, expected);
}

TEST_F(Headers, MarkAll256Streams) {
  HDR_T header;
  for (int i = 0; i < 256; ++i) {
    header.streams[i].streamId = static_cast<std::uint8_t>(255 - i);
    header.streams[i].streamActive = 1;
  }
  index.Add_header(header);
  StreamMap all;
  all.fill(0xFF);
  EXPECT_EQ(index.Current().streamMap, all);
}

TEST_F(Headers, AddTheirStreamsUp) {
  for (const std::uint8_t id : {1, 3}) {
    HDR_T header;
    header.streams[0].streamId = id;
    header.streams[0].streamActive = 1;
    index.Add_header(header);
  }
  index.Add_header(HDR_T());
  EXPECT_EQ(index.Current().streamMap[0], 0x0A);
}

struct Level {
  std::uint8_t stream;
  std::uint8_t flags;
};

struct ActivityCase {
  const char* what;
  std::vector<Level> blocks;
  const char* entry;
};

TEST(Activity, IsTheLargestLevelOfEachStreamDoubled) {
  const ActivityCase cases[] = {
      {"none", {}, "100@500"},
      {"one block", {{5, 3}}, "100@500 5:6"},
      {"3, then 7", {{5, 3}, {5, 7}}, "100@500 5:14"},
      {"7, then 3", {{5, 7}, {5, 3}}, "100@500 5:14"},
      {"the largest level", {{5, 31}}, "100@500 5:62"},
      {"level 0 makes no pair", {{5, 0}}, "100@500"},
      {"only the low five bits count", {{5, 0xE0}, {6, 0x20}, {7, 0xE1}}, "100@500 7:2"},
      {"in the order in which they came", {{9, 1}, {3, 2}, {9, 3}}, "100@500 9:6 3:4"},
      {"stream 0", {{0, 4}}, "100@500 0:8"},
      {"six streams",
       {{1, 1}, {2, 1}, {3, 1}, {4, 1}, {5, 1}, {6, 1}},
       "100@500 1:2 2:2 3:2 4:2 5:2 6:2"},
      {"a seventh is dropped",
       {{1, 1}, {2, 1}, {3, 1}, {4, 1}, {5, 1}, {6, 1}, {7, 31}},
       "100@500 1:2 2:2 3:2 4:2 5:2 6:2"},
      {"after that the six still rise",
       {{1, 1}, {2, 1}, {3, 1}, {4, 1}, {5, 1}, {6, 1}, {7, 31}, {6, 9}, {1, 8}},
       "100@500 1:16 2:2 3:2 4:2 5:2 6:18"},
      {"event blocks count too", {{0x80, 5}}, "100@500 128:10"},
  };
  for (const ActivityCase& row : cases) {
    SCOPED_TRACE(row.what);
    cZel3Indexer index;
    index.SetRecordPosition(500);
    index.Add_index(IndexAt(100));
    for (const Level& level : row.blocks) {
      DATA_T block;
      block.type = level.stream;
      block.flags = level.flags;
      index.Add_block(block, nullptr, 0);
    }
    index.Add_index(IndexAt(200));
    EXPECT_THAT(Shown(index.Current().id3Records), ElementsAre(row.entry));
  }
}

TEST(Activity, DroppedForASeventhStreamLeavesTheCountAtSix) {
  cZel3Indexer index;
  index.Add_index(IndexAt(100));
  for (int stream = 0; stream < 256; ++stream) {
    DATA_T block;
    block.type = static_cast<std::uint8_t>(stream);
    block.flags = 1;
    index.Add_block(block, nullptr, 0);
  }
  index.Add_index(IndexAt(200));
  EXPECT_EQ(index.Current().id3Records.at(0).activityCount, 6);
}

using Events = Intake;

TEST_F(Events, AreTheBlocksOfNineTypes) {
  const std::vector<int> eventTypes = {0x80, 0x81, 0x82, 0x83, 0x90, 0x91, 0xFA, 0xFE, 0xFF};
  IndexPoint(100, 500);
  for (int type = 0; type < 256; ++type) Block(static_cast<std::uint8_t>(type), 0, "text");
  ASSERT_EQ(index.Current().events.size(), 1);
  std::vector<int> types;
  for (const EVT_FILE_EVENT_T& event : index.Current().events.at(0).events)
    types.push_back(event.eventType);
  EXPECT_EQ(types, eventTypes);
}

TEST_F(Events, OfOneEntryAreOneGroup) {
  IndexPoint(100, 500);
  Block(0x80, 0, "door");
  Block(0x81, 0, "");
  EXPECT_THAT(Shown(index.Current().events), ElementsAre("100@500 x2 80'door' 81''"));
}

TEST_F(Events, OfOtherEntriesAreOtherGroups) {
  IndexPoint(100, 500);
  Block(0x80, 0, "one");
  IndexPoint(100, 600);
  Block(0x80, 0, "two");
  IndexPoint(110, 600);
  Block(0x80, 0, "three");
  EXPECT_THAT(Shown(index.Current().events),
              ElementsAre("100@500 x1 80'one'", "100@600 x1 80'two'", "110@600 x1 80'three'"));
}

TEST_F(Events, OfALaterEntryWithTheSameTimeAndPositionJoinTheGroup) {
  IndexPoint(100, 500);
  Block(0x80, 0, "one");
  IndexPoint(200, 600);
  Block(0x80, 0, "two");
  IndexPoint(100, (1ULL << 32) + 500);
  Block(0x81, 0, "three");
  EXPECT_THAT(Shown(index.Current().events),
              ElementsAre("100@500 x2 80'one' 81'three'", "200@600 x1 80'two'"));
}

TEST_F(Events, AreCountedModulo256) {
  IndexPoint(100, 500);
  for (int i = 0; i < 256; ++i) Block(0x80, 0, "x");
  EXPECT_EQ(index.Current().events.at(0).eventCount, 0);
  EXPECT_EQ(index.Current().events.at(0).events.size(), 256);
  Block(0x80, 0, "x");
  EXPECT_EQ(index.Current().events.at(0).eventCount, 1);
  EXPECT_EQ(index.Current().events.at(0).events.size(), 257);
}

TEST_F(Events, BeforeTheFirstIndexPointAreKeyedOnZeros) {
  Block(0x80, 0, "early");
  EXPECT_THAT(Shown(index.Current().events), ElementsAre("0@0 x1 80'early'"));
  EXPECT_THAT(Entries(), IsEmpty());
}

TEST_F(Events, MayCarryActivityToo) {
  IndexPoint(100, 500);
  Block(0x80, 0xE3, "door");
  EXPECT_THAT(Shown(index.Current().events), ElementsAre("100@500 x1 80'door'"));
  EXPECT_THAT(Entries(), ElementsAre("100@500 128:6"));
}

struct TextCase {
  const char* what;
  std::uint16_t length;
  std::size_t payloadSize;
  std::string text;
};

TEST_F(Events, HaveTextsOfTheBlocksLengthAsFarAsThePayloadGoes) {
  const std::string payload("ab\0cd", 5);
  const TextCase cases[] = {
      {"whole", 5, 5, payload},
      {"none", 0, 5, ""},
      {"shorter", 2, 5, "ab"},
      {"with a NUL", 3, 5, {"ab\0", 3}},
      {"no payload", 5, 0, ""},
      {"payload cut", 5, 1, "a"},
      {"the largest length", 0xFFFF, 5, payload},
  };
  for (const TextCase& row : cases) {
    SCOPED_TRACE(row.what);
    cZel3Indexer fresh;
    DATA_T block;
    block.type = 0x80;
    block.length = row.length;
    const std::unique_ptr<unsigned char[]> exact(new unsigned char[row.payloadSize]);
    std::copy_n(payload.begin(), row.payloadSize, exact.get());
    fresh.Add_block(block, exact.get(), row.payloadSize);
    ASSERT_EQ(fresh.Current().events.size(), 1);
    EXPECT_EQ(fresh.Current().events.at(0).events.at(0).text, row.text);
  }
}

using BeginIntake = Intake;

TEST_F(BeginIntake, EmptiesWhatARunCollectsInto) {
  HDR_T header;
  header.streams[0].streamActive = 1;
  index.Add_header(header);
  IndexPoint(50, 300);
  IndexPoint(60, 400);
  Block(0x80, 5, "old");
  index.BeginIntake();
  EXPECT_THAT(Shown(index.Current().id3Records), IsEmpty());
  EXPECT_THAT(Positions(index.Current().headerPositions), IsEmpty());
  EXPECT_THAT(Shown(index.Current().events), IsEmpty());
  EXPECT_THAT(index.Current().blockPositions, IsEmpty());
  EXPECT_EQ(index.Current().streamMap, StreamMap());
  index.Add_header(HDR_T());
  EXPECT_THAT(Positions(index.Current().headerPositions), ElementsAre(0));
  Block(0x80, 0, "early");
  EXPECT_THAT(Shown(index.Current().events), ElementsAre("0@0 x1 80'early'"));
  IndexPoint(100, 500);
  EXPECT_EQ(index.Current().startTime, 100U);
  EXPECT_THAT(Entries(), ElementsAre("100@500"));
}

TEST_F(BeginIntake, LeavesTheFilesThatAreFiled) {
  CollectBareEntries(index, "a", {10, 20});
  index.BeginIntake();
  EXPECT_THAT(Shown(index.Files()[0].id3Records), ElementsAre("10@0", "20@0"));
  EXPECT_EQ(Text(index.Current().fileName), "a");
}

}  // namespace
