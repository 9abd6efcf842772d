#include "run_test.h"

namespace {

// What a run writes into the index cache for what the parser reports.
class IndexedRecords : public RunTest {
 protected:
  void SetUp() override {
    RunTest::SetUp();
    path = Place("cam.zel3", Bytes(1000, 0x11));
    OpenInARun(path);
  }

  void IndexAt(std::uint64_t position, std::uint32_t indexTime, std::uint8_t indexFlag = 0) {
    Parser().Report(ParsedPlace(position));
    Parser().Report(ParsedIndex(indexTime, indexFlag));
  }
  void HeaderAt(std::uint64_t position) {
    Parser().Report(ParsedPlace(position));
    Parser().Report(HeaderBlock::New());
  }
  void DataOf(std::uint8_t type, std::uint8_t flags, const std::string& payload = "",
              Tag kind = tag::kData) {
    Parser().Report(
        ParsedData({static_cast<std::uint16_t>(payload.size()), flags, type}, payload, kind));
  }

  // Ends the run; the three files must hold what `expected` says.
  void ExpectSaved(const IndexCache& expected) {
    EndRun();
    EXPECT_EQ(ReadFile(CachePath(path, "id3")), expected.Id3());
    EXPECT_EQ(ReadFile(CachePath(path, "hdr")), expected.Hdr());
    EXPECT_EQ(ReadFile(CachePath(path, "evt")), expected.Evt());
  }

  std::string path;
};

TEST_F(IndexedRecords, IndexEntriesAre24BytesEach) {
  IndexAt(0x1234, 0x01020304, 7);
  DataOf(5, 3);
  EndRun();
  const Bytes expected = {0x80, 1, 0, 0, 0x04, 0x03, 0x02, 0x01, 0x34, 0x12, 0, 0,
                          5,    6, 0, 0, 0,    0,    0,    0,    0,    0,    0, 0};
  EXPECT_EQ(ReadFile(CachePath(path, "id3")), expected);
}

TEST_F(IndexedRecords, HeaderPositionsAre8BytesEach) {
  HeaderAt(0);
  HeaderAt(0x0102030405060708);
  EndRun();
  const Bytes expected = {0, 0, 0, 0, 0, 0, 0, 0, 8, 7, 6, 5, 4, 3, 2, 1};
  EXPECT_EQ(ReadFile(CachePath(path, "hdr")), expected);
}

TEST_F(IndexedRecords, EventsAreGroupedByTheirIndexEntry) {
  IndexAt(0x1234, 0x01020304);
  DataOf(0x80, 0, "door");
  DataOf(0xFF, 0, "");
  EndRun();
  const Bytes expected = {0x04, 0x03, 0x02, 0x01, 0x34, 0x12, 0,    0, 2,
                          0x80, 'd',  'o',  'o',  'r',  0,    0xFF, 0};
  EXPECT_EQ(ReadFile(CachePath(path, "evt")), expected);
}

TEST_F(IndexedRecords, AWholeFile) {
  HeaderAt(0);
  IndexAt(100, 10);
  DataOf(1, 4, "picture", tag::kVideo);
  IndexAt(200, 20, 1);
  DataOf(0x81, 0, "gate opened");
  HeaderAt(250);
  IndexAt(300, 30);
  ExpectSaved({{{10, 100, {{1, 8}}}, {20, 200, {}, 0x80}, {30, 300}},
               {0, 250},
               {{20, 200, {{0x81, "gate opened"}}}}});
  EXPECT_THAT(ArchiveTimes(), ElementsAre("10000-36000"));
}

TEST_F(IndexedRecords, AnyIndexFlagGivesTheSameBit) {
  IndexAt(100, 10, 0);
  IndexAt(200, 20, 1);
  IndexAt(300, 30, 0x80);
  IndexAt(400, 40, 0xFF);
  ExpectSaved({{{10, 100}, {20, 200, {}, 0x80}, {30, 300, {}, 0x80}, {40, 400, {}, 0x80}}, {}});
}

TEST_F(IndexedRecords, AllKindsOfDataCountAlike) {
  IndexAt(100, 10);
  std::uint8_t stream = 1;
  for (const Tag kind :
       {tag::kData, tag::kVideo, tag::kSound, tag::kImage, tag::kText, tag::kBinary}) {
    DataOf(stream++, 2, "x", kind);
  }
  IndexAt(200, 20);
  DataOf(7, 2, "x", tag::kUnknownKind);
  DataOf(0xFA, 0, "seen", tag::kVideo);
  ExpectSaved({{{10, 100, {{1, 4}, {2, 4}, {3, 4}, {4, 4}, {5, 4}, {6, 4}}}, {20, 200, {{7, 4}}}},
               {},
               {{20, 200, {{0xFA, "seen"}}}}});
}

TEST_F(IndexedRecords, ActivityIsTheDoubledMaximumOfAStream) {
  IndexAt(100, 10);
  DataOf(5, 3);
  DataOf(5, 7);
  DataOf(5, 6);
  DataOf(6, 31);
  ExpectSaved({{{10, 100, {{5, 14}, {6, 62}}}}, {}});
}

TEST_F(IndexedRecords, OnlyTheLowFiveFlagBitsAreActivity) {
  IndexAt(100, 10);
  DataOf(5, 0x20);
  DataOf(6, 0xE0);
  DataOf(7, 0xE1);
  ExpectSaved({{{10, 100, {{7, 2}}}}, {}});
}

TEST_F(IndexedRecords, AnEntryKeepsTheActivityOfSixStreams) {
  IndexAt(100, 10);
  for (std::uint8_t stream = 1; stream <= 7; ++stream) DataOf(stream, stream);
  DataOf(3, 20);
  ExpectSaved({{{10, 100, {{1, 2}, {2, 4}, {3, 40}, {4, 8}, {5, 10}, {6, 12}}}}, {}});
}

TEST_F(IndexedRecords, TheTypesOfEventsAreFixed) {
  IndexAt(100, 10);
  for (int type = 0; type <= 0xFF; ++type) DataOf(static_cast<std::uint8_t>(type), 0, "e");
  IndexCache::EventGroup group{10, 100, {}};
  for (const std::uint8_t type : {0x80, 0x81, 0x82, 0x83, 0x90, 0x91, 0xFA, 0xFE, 0xFF}) {
    group.events.push_back({type, "e"});
  }
  ExpectSaved({{{10, 100}}, {}, {group}});
}

TEST_F(IndexedRecords, ABlockMayBeBothActivityAndEvent) {
  IndexAt(100, 10);
  DataOf(0x80, 5, "motion");
  ExpectSaved({{{10, 100, {{0x80, 10}}}}, {}, {{10, 100, {{0x80, "motion"}}}}});
}

TEST_F(IndexedRecords, AnEventOfALaterEntryOfTheSameTimeAndPlaceJoinsTheGroup) {
  IndexAt(100, 10);
  DataOf(0x80, 0, "a");
  IndexAt(200, 20);
  DataOf(0x80, 0, "b");
  IndexAt(100, 10);
  DataOf(0x80, 0, "c");
  ExpectSaved({{{10, 100}, {20, 200}, {10, 100}},
               {},
               {{10, 100, {{0x80, "a"}, {0x80, "c"}}}, {20, 200, {{0x80, "b"}}}}});
}

TEST_F(IndexedRecords, EventsBeforeTheFirstIndexEntryHaveTimeZero) {
  DataOf(0x80, 9, "early");
  IndexAt(100, 10);
  ExpectSaved({{{10, 100}}, {}, {{0, 0, {{0x80, "early"}}}}});
}

TEST_F(IndexedRecords, ATextEndsWithThePayloadWhateverTheHeadSays) {
  IndexAt(100, 10);
  Parser().Report(ParsedData({1000, 0, 0x80}, "short"));
  Parser().Report(ParsedData({2, 0, 0x81}, "cut here"));
  ExpectSaved({{{10, 100}}, {}, {{10, 100, {{0x80, "short"}, {0x81, "cu"}}}}});
}

TEST_F(IndexedRecords, ARecordWithoutANewPlaceStandsWhereTheLastOneStood) {
  HeaderAt(77);
  Parser().Report(ParsedIndex(10));
  ExpectSaved({{{10, 77}}, {77}});
}

TEST_F(IndexedRecords, PlacesAbove4GiBKeep48Bits) {
  IndexAt(0x0123456789ABCDEF, 10);
  EndRun();
  EXPECT_EQ(Part(ReadFile(CachePath(path, "id3")), 2, 2), (Bytes{0x67, 0x45}));
  EXPECT_EQ(Part(ReadFile(CachePath(path, "id3")), 8, 4), (Bytes{0xEF, 0xCD, 0xAB, 0x89}));
}

TEST_F(IndexedRecords, BlocksTooSmallForTheirRecordsAreIgnored) {
  IndexAt(100, 10);
  Parser().Report(ParserTagBlock::New(7));
  Parser().Report(IndexBlock::New(8));
  Parser().Report(HeaderBlock::New(sizeof(HDR_T) - 1));
  Parser().Report(DataBlock::New(3));
  // Also when there is something where the record would be.
  auto place = ParserTagBlock::New(7);
  place.WritableRecord().position = 150;
  Parser().Report(place);
  auto event = DataBlock::New(3);
  event.WritableRecord().flags = 7;
  event.WritableRecord().type = 0x80;
  Parser().Report(event);
  Parser().Report(ParsedIndex(15));
  for (const std::uint32_t size : {0u, 1u}) {
    Parser().Report(ParserTagBlock::New(size));
    Parser().Report(IndexBlock::New(size));
    Parser().Report(HeaderBlock::New(size));
    Parser().Report(DataBlock::New(size));
  }
  IndexAt(200, 20);
  ExpectSaved({{{10, 100}, {15, 100}, {20, 200}}, {}});
}

TEST_F(IndexedRecords, OtherBlocksAreIgnored) {
  IndexAt(100, 10);
  Parser().Report(RawDataBlock::New(100));
  Parser().Report(cStructBlock<std::uint32_t, FourCc("Else")>::New());
  Parser().Report(cMemBlock());
  ExpectSaved({{{10, 100}}, {}});
}

TEST_F(IndexedRecords, ARunBeginsWithEmptyFilesAndEndsWithTheSameThree) {
  EXPECT_THAT(EntryNames(folder.Path()), ElementsAre("cam.evt", "cam.hdr", "cam.id3", "cam.zel3"));
  EXPECT_THAT(ReadFile(CachePath(path, "id3")), IsEmpty());
  IndexAt(100, 10);
  EXPECT_THAT(ReadFile(CachePath(path, "id3")), IsEmpty()) << "nothing is written before the end";
  EndRun();
  EXPECT_THAT(EntryNames(folder.Path()), ElementsAre("cam.evt", "cam.hdr", "cam.id3", "cam.zel3"));
}

TEST_F(IndexedRecords, TheArchiveItselfStaysAsItIs) {
  IndexAt(100, 10);
  EndRun();
  EXPECT_EQ(ReadFile(path), Bytes(1000, 0x11));
}

TEST_F(IndexedRecords, AnEmptyRunLeavesThreeEmptyFiles) {
  ExpectSaved({{}, {}});
}

// Until the run ends, what stands in the cache is not mixed with what the run finds.
TEST_F(RunTest, ACacheThatAppearsMeanwhileIsReplacedAndNotContinued) {
  const SmallArchive archive = ArchiveOf("cam", {10, 20, 30});
  const std::string path = Place("cam.zel3", archive);
  Open(folder.Path());
  IndexCache{{{10, 100}, {20, 200}}, {0, 50}, {{10, 100, {{0x80, "old"}}}}}.WriteBeside(path);
  Ask(ChunkRequest(15000));
  ASSERT_NE(workshop.current, nullptr);
  ReportAll(archive);
  EndRun();
  EXPECT_EQ(ReadFile(CachePath(path, "id3")).size(), 3u * 24);
  EXPECT_EQ(ReadFile(CachePath(path, "hdr")), Bytes(8));
  EXPECT_THAT(ReadFile(CachePath(path, "evt")), IsEmpty());
}

// No progress can be counted on an empty file, but the places of its records are kept.
TEST_F(RunTest, AnEntryOfAnEmptyFileStandsWhereTheParserSaysToo) {
  const std::string path = Place("cam.zel3", Bytes());
  OpenInARun(path);
  Parser().Report(ParsedPlace(1000));
  Parser().Report(ParsedIndex(10));
  EndRun();
  EXPECT_EQ(ReadFile(CachePath(path, "id3")), (IndexCache{{{10, 1000}}}.Id3()));
}

}  // namespace
