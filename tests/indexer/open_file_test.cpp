#include <filesystem>

#include "cache_test.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint32_t kNoTime = sFile_Index_Store::kNoStartTime;

class OpenFile : public CacheTest {};

struct PresenceCase {
  const char* missing;
  bool opens;
};

TEST_F(OpenFile, NeedsEntriesAndEventsButNoHeaders) {
  const PresenceCase cases[] = {{"", true}, {"hdr", true}, {"id3", false}, {"evt", false}};
  for (const PresenceCase& row : cases) {
    SCOPED_TRACE(row.missing);
    WriteSmallCache();
    if (*row.missing != 0) std::filesystem::remove(Beside(row.missing));
    cZel3Indexer fresh;
    EXPECT_EQ(fresh.Open_file(Path(archive), 9000), row.opens);
    EXPECT_EQ(fresh.Files().size(), row.opens ? 1U : 0U);
  }
}

TEST_F(OpenFile, FilesWhatTheCacheHolds) {
  WriteSmallCache();
  ASSERT_TRUE(Open(9000));
  ASSERT_EQ(index.Files().size(), 1U);
  const sFile_Index_Store& store = index.Files()[0];
  EXPECT_EQ(Text(store.fileName), archive);
  EXPECT_EQ(Text(store.id3Path), Beside("id3"));
  EXPECT_EQ(ContentsOf(store), (Contents{{"100@700"}, {5}, {"100@700 x1 80'door'"}}));
  EXPECT_EQ(store.startTime, 100U);
  EXPECT_EQ(store.endTime, 106U);
  EXPECT_THAT(AllCuts(store), ElementsAre(5, 700, 9000));
  EXPECT_FALSE(store.partial);
  EXPECT_EQ(ContentsOf(index.Current()), ContentsOf(store));
}

TEST_F(OpenFile, LoadsTheHeadersAlsoWhenEntriesAndEventsAreThere) {
  WriteSmallCache();
  ASSERT_TRUE(Open());
  EXPECT_EQ(index.Header_pos_for_index(MakeIndexId(0, 0)), 5U);
}

TEST_F(OpenFile, AppendsTheEndPositionWhateverItIs) {
  WriteSmallCache();
  for (const std::uint64_t end : {0ULL, 1ULL, 9000ULL, 1ULL << 40, ~0ULL}) {
    ASSERT_TRUE(Open(end));
    EXPECT_THAT(AllCuts(index.Files()[0]), ElementsAre(5, 700, end));
  }
}

struct PartsCase {
  const char* what;
  Bytes id3;
  Bytes hdr;
  Bytes evt;
  bool opens;
};

TEST_F(OpenFile, CountsAsDoneWhenAnyOneFileHoldsSomething) {
  const Bytes id3 = Id3FileWithTimes({100});
  const Bytes hdr = HdrFile({5});
  const Bytes evt = EvtFile().Group(100, 0, 1).Event(0x80, "door");
  const PartsCase cases[] = {
      {"nothing", {}, {}, {}, false},
      {"entries", id3, {}, {}, true},
      {"headers", {}, hdr, {}, true},
      {"events", {}, {}, evt, true},
      {"entries and headers", id3, hdr, {}, true},
      {"fragments only", Cut(id3, 23), Cut(hdr, 7), Cut(evt, 11), false},
  };
  for (const PartsCase& row : cases) {
    SCOPED_TRACE(row.what);
    WriteCache(row.id3, row.hdr, row.evt);
    cZel3Indexer fresh;
    EXPECT_EQ(fresh.Open_file(Path(archive), 9000), row.opens);
    EXPECT_EQ(fresh.Files().size(), row.opens ? 1U : 0U);
    EXPECT_EQ(fresh.Current().id3Records.isEmpty(), row.id3.size() < 24);
    EXPECT_EQ(fresh.Current().headerPositions.isEmpty(), row.hdr.size() < 8);
    EXPECT_EQ(fresh.Current().events.isEmpty(), row.evt.size() < 12);
  }
}

TEST_F(OpenFile, OfEventsOnlyHasNoTimeRange) {
  WriteCache({}, {}, EvtFile().Group(100, 0, 1).Event(0x80, "door"));
  ASSERT_TRUE(Open());
  EXPECT_EQ(index.Files()[0].startTime, kNoTime);
  EXPECT_EQ(index.Files()[0].endTime, 0U);
  EXPECT_EQ(index.Files()[0].indexInterval, 0U);
  EXPECT_THAT(AllCuts(index.Files()[0]), ElementsAre(9000));
}

TEST_F(OpenFile, WithEmptyFilesAndNoHeaderFileCountsAsDone) {
  WriteCache({}, {}, {});
  std::filesystem::remove(Beside("hdr"));
  EXPECT_TRUE(Open());
}

// Fills everything that opening the next file resets.
void FillCurrent(cZel3Indexer& index, const std::string& archive) {
  HDR_T header;
  header.streams[0].streamActive = 1;
  ASSERT_TRUE(index.Open_file(Path(archive), 9000));
  index.SetRecordPosition(77);
  index.Add_header(header);
  const sFile_Index_Store& current = index.Current();
  EXPECT_EQ(ContentsOf(current), (Contents{{"100@700"}, {5, 77}, {"100@700 x1 80'door'"}}));
  EXPECT_NE(current.streamMap, StreamMap());
  EXPECT_EQ(current.startTime, 100U);
  EXPECT_EQ(current.endTime, 106U);
  EXPECT_EQ(current.indexInterval, 3000U);
  EXPECT_THAT(AllCuts(current), ElementsAre(5, 700, 9000, 77));
}

void ExpectReset(const sFile_Index_Store& current, const std::string& fileName) {
  EXPECT_EQ(Text(current.fileName), fileName);
  EXPECT_EQ(ContentsOf(current), Contents());
  EXPECT_EQ(current.streamMap, StreamMap());
  EXPECT_EQ(current.startTime, kNoTime);
  EXPECT_EQ(current.endTime, 0U);
  EXPECT_EQ(current.indexInterval, 0U);
  EXPECT_THAT(AllCuts(current), IsEmpty());
  EXPECT_EQ(current.lastIndexTime, 100U) << "the last index time is not reset";
}

TEST_F(OpenFile, ResetsWhatTheLastFileLeft) {
  WriteSmallCache();
  FillCurrent(index, archive);
  const std::string other = MakeArchive(folder / "other.zel3");
  EXPECT_FALSE(index.Open_file(Path(other), 9000));
  ExpectReset(index.Current(), other);
  index.Add_header(HDR_T());
  EXPECT_EQ(Positions(index.Current().headerPositions), std::vector<std::uint64_t>{0});
}

TEST_F(OpenFile, WithoutACacheStaysPartialOrWhole) {
  for (const bool partial : {true, false}) {
    partial ? index.Add_last_index(IndexAt(1)) : index.Add_index(IndexAt(1));
    EXPECT_FALSE(Open());
    EXPECT_EQ(index.Current().partial, partial);
  }
}

TEST_F(OpenFile, KeepsTheFilesThatAreFiled) {
  WriteSmallCache();
  ASSERT_TRUE(Open());
  index.ready = true;
  EXPECT_FALSE(index.Open_file(Path(MakeArchive(folder / "other.zel3")), 1));
  EXPECT_THAT(FileNames(index), ElementsAre(archive));
  EXPECT_EQ(ContentsOf(index.Files()[0]), (Contents{{"100@700"}, {5}, {"100@700 x1 80'door'"}}));
  EXPECT_TRUE(index.Is_ready());
}

TEST_F(OpenFile, AgainReplacesWhatIsFiled) {
  WriteSmallCache();
  ASSERT_TRUE(Open());
  WriteCache(Id3FileWithTimes({900}), {}, {});
  ASSERT_TRUE(Open());
  ASSERT_EQ(index.Files().size(), 1U);
  EXPECT_EQ(ContentsOf(index.Files()[0]), (Contents{{"900@0"}, {}, {}}));
}

TEST_F(OpenFile, AfterADraftIsNoLongerPartial) {
  WriteSmallCache();
  index.Open_file_draft(Path(archive));
  ASSERT_TRUE(Open());
  EXPECT_FALSE(index.Current().partial);
  EXPECT_FALSE(index.Files()[0].partial);
}

TEST_F(OpenFile, LeavesTheStreamsEmpty) {
  WriteSmallCache();
  ASSERT_TRUE(Open());
  EXPECT_EQ(index.Files()[0].streamMap, StreamMap());
}

TEST_F(OpenFile, ForgetsTheEntryThatWasBeingCollected) {
  index.Add_index(IndexAt(50));
  EXPECT_FALSE(Open());
  index.Add_index(IndexAt(100));
  EXPECT_TRUE(index.Current().id3Records.isEmpty());
}

TEST_F(OpenFile, KeysEventsBeforeTheFirstEntryOnZeros) {
  DATA_T event;
  event.type = 0x80;
  for (const bool draft : {false, true}) {
    index.SetRecordPosition(5000);
    index.Add_index(IndexAt(50));
    draft ? index.Open_file_draft(Path(archive)) : Open();
    index.Add_block(event, nullptr, 0);
    EXPECT_THAT(Shown(index.Current().events), ElementsAre("0@0 x1 80''"));
  }
}

TEST_F(OpenFile, DoesNotNeedTheArchive) {
  WriteSmallCache();
  std::filesystem::remove(archive);
  EXPECT_TRUE(Open());
}

TEST_F(OpenFile, KeepsTheCacheFilesOpenUntilTheNextOne) {
  WriteSmallCache();
  ASSERT_TRUE(Open());
  EXPECT_THAT(OpenFilesIn(folder.Path()), ElementsAre("cam.evt", "cam.hdr", "cam.id3"));
  ASSERT_TRUE(Open());
  EXPECT_THAT(OpenFilesIn(folder.Path()), ElementsAre("cam.evt", "cam.hdr", "cam.id3"));
  index.Open_file_draft(Path(archive));
  EXPECT_THAT(OpenFilesIn(folder.Path()), IsEmpty());
}

TEST_F(OpenFile, ClosesTheCacheFilesAtTheEnd) {
  WriteSmallCache();
  {
    cZel3Indexer shortLived;
    ASSERT_TRUE(shortLived.Open_file(Path(archive), 1));
    ASSERT_THAT(OpenFilesIn(folder.Path()), testing::SizeIs(3));
  }
  EXPECT_THAT(OpenFilesIn(folder.Path()), IsEmpty());
}

class OpenFileDraft : public CacheTest {};

TEST_F(OpenFileDraft, NeitherLoadsNorFiles) {
  WriteSmallCache();
  EXPECT_FALSE(index.Open_file_draft(Path(archive)));
  EXPECT_THAT(index.Files(), IsEmpty());
  EXPECT_EQ(ContentsOf(index.Current()), Contents());
  EXPECT_TRUE(index.Current().partial);
  EXPECT_EQ(Text(index.Current().id3Path), Beside("id3"));
  EXPECT_THAT(OpenFilesIn(folder.Path()), IsEmpty());
}

TEST_F(OpenFileDraft, ResetsWhatTheLastFileLeft) {
  WriteSmallCache();
  FillCurrent(index, archive);
  index.Open_file_draft(Path(archive));
  ExpectReset(index.Current(), archive);
}

TEST_F(OpenFileDraft, KeepsThePositionOfTheRecordAtHand) {
  index.SetRecordPosition(77);
  index.Open_file_draft(Path(archive));
  index.Add_header(HDR_T());
  EXPECT_EQ(Positions(index.Current().headerPositions), std::vector<std::uint64_t>{77});
}

TEST_F(OpenFileDraft, KeepsThatAnEntryIsBeingCollectedButNotTheEntry) {
  index.SetRecordPosition(5000);
  index.Add_index(IndexAt(50));
  index.Open_file_draft(Path(archive));
  index.Add_index(IndexAt(100));
  EXPECT_THAT(Shown(index.Current().id3Records), ElementsAre("0@0"));
}

TEST_F(OpenFileDraft, NeverMakesAFile) {
  index.Open_file_draft(Path(archive));
  EXPECT_THAT(ArchiveFolderNames(), ElementsAre("cam.zel3"));
}

}  // namespace
