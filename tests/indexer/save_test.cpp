#include <algorithm>
#include <filesystem>

#include "cache_test.h"
#include "indexer/events_file.h"
#include "support/file_faults.h"
#include "support/folder_watch.h"

namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

void AddEvent(cZel3Indexer& index, std::uint8_t type, const std::string& text) {
  DATA_T block;
  block.type = type;
  block.flags = 7;
  block.length = static_cast<std::uint16_t>(text.size());
  index.Add_block(block, reinterpret_cast<const unsigned char*>(text.data()), text.size());
}

class Save : public CacheTest {
 protected:
  // A short indexing run: a header, entries at 100, 110 and 130, and three events.
  void CollectThreeEvents() {
    Open();
    index.BeginIntake();
    index.SetRecordPosition(16);
    index.Add_header(HDR_T());
    index.SetRecordPosition(500);
    index.Add_index(IndexAt(100, 1));
    AddEvent(index, 0x80, "door");
    AddEvent(index, 0x81, "");
    index.SetRecordPosition((1ULL << 32) + 600);
    index.Add_index(IndexAt(110));
    index.SetRecordPosition(700);
    index.Add_index(IndexAt(130));
    AddEvent(index, 0xFF, "last \xFF");
  }
  const Contents collected = {
      {"100@500 flags 80 128:14 129:14", "110@4294967896", "130@700 255:14"},
      {16},
      {"100@500 x2 80'door' 81''", "130@700 x1 ff'last \xFF'"}};
};

TEST_F(Save, GivesBackTheSameWhenTheFileIsOpened) {
  CollectThreeEvents();
  index.Save_files();
  cZel3Indexer reader;
  ASSERT_TRUE(reader.Open_file(Path(archive), 9000));
  EXPECT_EQ(ContentsOf(reader.Files()[0]), collected);
  EXPECT_EQ(reader.Files()[0].startTime, 100U);
  EXPECT_EQ(reader.Files()[0].endTime, 136U);
  EXPECT_FALSE(reader.Files()[0].partial);
  EXPECT_THAT(AllCuts(reader.Files()[0]), ElementsAre(16, 500, 600, 700, 9000));
}

TEST_F(Save, GivesBackTheSameToTheIndexerThatSaved) {
  CollectThreeEvents();
  index.Save_files();
  ASSERT_TRUE(Open());
  EXPECT_EQ(ContentsOf(index.Current()), collected);
}

TEST_F(Save, WritesTheFilesByteByByte) {
  CollectThreeEvents();
  index.Save_files();
  EXPECT_EQ(ReadFile(Beside("hdr")), (Bytes{16, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(ReadFile(Beside("id3")),
            (Bytes{0x80, 2,  0, 0, 100, 0, 0, 0, 0xF4, 1, 0, 0, 0x80, 14, 0x81, 14, 0,    0, 0, 0,
                   0,    0,  0, 0, 0,   0, 1, 0, 110,  0, 0, 0, 0x58, 2,  0,    0,  0,    0, 0, 0,
                   0,    0,  0, 0, 0,   0, 0, 0, 0,    1, 0, 0, 130,  0,  0,    0,  0xBC, 2, 0, 0,
                   0xFF, 14, 0, 0, 0,   0, 0, 0, 0,    0, 0, 0}));
  EXPECT_EQ(ReadFile(Beside("evt")),
            (Bytes{100, 0, 0, 0, 0xF4, 1, 0, 0, 2, 0x80, 'd', 'o', 'o', 'r', 0,   0x81, 0,
                   130, 0, 0, 0, 0xBC, 2, 0, 0, 1, 0xFF, 'l', 'a', 's', 't', ' ', 0xFF, 0}));
}

TEST_F(Save, LeavesTheThreeCacheFilesAndNothingElse) {
  CollectThreeEvents();
  index.Save_files();
  EXPECT_THAT(ArchiveFolderNames(), ElementsAre("cam.evt", "cam.hdr", "cam.id3", "cam.zel3"));
}

TEST_F(Save, LeavesNoFileOpen) {
  CollectThreeEvents();
  index.Save_files();
  EXPECT_THAT(OpenFilesIn(folder.Path()), IsEmpty());
}

TEST_F(Save, AppendsTheLastEntryOnce) {
  CollectThreeEvents();
  EXPECT_EQ(index.Current().id3Records.size(), 2);
  index.Save_files();
  index.Save_files();
  EXPECT_EQ(ContentsOf(index.Current()), collected);
  EXPECT_EQ(ReadFile(Beside("id3")).size(), 72U);
}

TEST_F(Save, WidensTheRangeByTheLastEntry) {
  struct {
    std::vector<std::uint32_t> times;
    std::uint32_t start;
    std::uint32_t end;
  } const cases[] = {{{100}, 100, 100},
                     {{100, 150}, 100, 150},
                     {{100, 50}, 50, 100},
                     {{100, 90, 120, 130}, 90, 130}};
  for (const auto& row : cases) {
    SCOPED_TRACE(testing::PrintToString(row.times));
    Open();
    index.BeginIntake();
    for (const std::uint32_t time : row.times) index.Add_index(IndexAt(time));
    index.Save_files();
    EXPECT_EQ(index.Current().startTime, row.start);
    EXPECT_EQ(index.Current().endTime, row.end);
  }
}

TEST_F(Save, DoesNotTouchTheFilesThatAreFiled) {
  WriteSmallCache();
  Open();
  const Contents before = ContentsOf(index.Files()[0]);
  CollectThreeEvents();
  index.Save_files();
  EXPECT_EQ(ContentsOf(index.Files()[0]), before);
}

TEST_F(Save, ReplacesLongerFiles) {
  WriteCache(Bytes(24000, 1), Bytes(8000, 1), Bytes(9000, 1));
  CollectThreeEvents();
  index.Save_files();
  EXPECT_EQ(ReadFile(Beside("hdr")).size(), 8U);
  EXPECT_EQ(ReadFile(Beside("id3")).size(), 72U);
  EXPECT_EQ(ReadFile(Beside("evt")).size(), 34U);
}

TEST_F(Save, ThatDoesNotReachTheDiskLeavesTheThreeFilesEmpty) {
  // One file after the other is waited for.
  for (const int failing : {0, 1, 2}) {
    SCOPED_TRACE(failing);
    CollectThreeEvents();
    {
      const FileFaults faults(FileOperation::kSync, failing, FileFaults::Repeats::kOnce, EIO);
      index.Save_files();
      EXPECT_EQ(faults.Struck(), 1);
    }
    EXPECT_THAT(ArchiveFolderNames(), ElementsAre("cam.evt", "cam.hdr", "cam.id3", "cam.zel3"));
    for (const char* kind : {"evt", "hdr", "id3"}) EXPECT_THAT(ReadFile(Beside(kind)), IsEmpty());
  }
}

TEST_F(Save, OfAnEmptyIndexIsNoCache) {
  Open();
  index.Save_files();
  EXPECT_THAT(ArchiveFolderNames(), ElementsAre("cam.evt", "cam.hdr", "cam.id3", "cam.zel3"));
  EXPECT_FALSE(Open());
}

struct CountCase {
  const char* what;
  std::uint8_t count;
  int held;
  Bytes bytes;
};

TEST(EventsFile, HoldsTheEventCountAsItIsAndNoMoreEventsThanThat) {
  const TempFolder folder;
  const std::string path = folder / "cam.evt";

  const CountCase cases[] = {
      {"as many", 2, 2, EvtFile().Group(7, 8, 2).Event(0x80, "e0").Event(0x81, "e1")},
      {"more counted", 3, 2, EvtFile().Group(7, 8, 3).Event(0x80, "e0").Event(0x81, "e1")},
      {"more held", 1, 2, EvtFile().Group(7, 8, 1).Event(0x80, "e0")},
      {"none counted", 0, 2, EvtFile().Group(7, 8, 0)},
      {"none held", 255, 0, EvtFile().Group(7, 8, 255)},
  };
  for (const CountCase& row : cases) {
    SCOPED_TRACE(row.what);
    EVT_FILE_DATA_T group;
    group.time = 7;
    group.offsetLow = 8;
    group.eventCount = row.count;
    for (int i = 0; i < row.held; ++i) {
      EVT_FILE_EVENT_T event;
      event.eventType = static_cast<std::uint8_t>(0x80 + i);
      event.text = "e" + std::to_string(i);
      group.events.append(event);
    }
    WriteFile(path, Bytes());
    PlainFile file;
    ASSERT_TRUE(file.Open(Path(path), PlainFile::Mode::kUpdate));
    EXPECT_TRUE(WriteEvents(file, {group}));
    EXPECT_TRUE(file.SaveAndClose());
    EXPECT_EQ(ReadFile(path), row.bytes);
  }
}

TEST_F(Save, WritesTextsWithTheirInnerNuls) {
  Open();
  index.Add_index(IndexAt(7));
  AddEvent(index, 0x80, std::string("a\0b", 3));
  index.Save_files();
  EXPECT_EQ(ReadFile(Beside("evt")), (Bytes{7, 0, 0, 0, 0, 0, 0, 0, 1, 0x80, 'a', 0, 'b', 0}));
}

struct ReadBackCase {
  const char* what;
  std::vector<Texts> eventsOfEntries;
  Texts readBack;
};

// Counts wrap and texts end at their first NUL; what follows is read as what should stand there.
TEST_F(Save, GivesBackWhatTheWrittenBytesMean) {
  Texts numbered;
  for (int i = 0; i < 257; ++i) numbered.push_back("e" + std::to_string(i));
  const Texts first256 = Texts(numbered.begin(), numbered.end() - 1);
  const ReadBackCase cases[] = {
      {"256 events count as none, which ends the list", {first256, {"last"}}, {}},
      {"257 events count as one",
       {numbered, {"last"}},
       {"100@500 x1 80'e0'", "110@600 x1 80'last'"}},
      {"11 bytes after a NUL are no group",
       {{std::string("a\0bcdefghijk", 12)}},
       {"100@500 x1 80'a'"}},
      {"12 bytes are",
       {{std::string("a\0bcdefghijkl", 13)}},
       {"100@500 x1 80'a'", "1701077858@1768449894 x1 6b'l'"}},
  };
  for (const ReadBackCase& row : cases) {
    SCOPED_TRACE(row.what);
    Open();
    index.BeginIntake();
    std::uint32_t time = 100;
    for (const Texts& events : row.eventsOfEntries) {
      index.SetRecordPosition(time * 10 - 500);
      index.Add_index(IndexAt(time));
      for (const std::string& text : events) AddEvent(index, 0x80, text);
      time += 10;
    }
    index.Save_files();
    cZel3Indexer reader;
    ASSERT_TRUE(reader.Open_file(Path(archive), 9000));
    EXPECT_EQ(Shown(reader.Current().events), row.readBack);
  }
}

TEST_F(Save, OfManyEntriesKeepsThemAll) {
  Open();
  index.BeginIntake();
  for (std::uint32_t i = 0; i < 5000; ++i) {
    index.SetRecordPosition(i * 100);
    if (i % 50 == 0) index.Add_header(HDR_T());
    index.Add_index(IndexAt(i * 10));
    if (i % 7 == 0) AddEvent(index, 0x80, "event " + std::to_string(i));
  }
  index.Save_files();
  cZel3Indexer reader;
  ASSERT_TRUE(reader.Open_file(Path(archive), 9000));
  EXPECT_EQ(ContentsOf(reader.Current()), ContentsOf(index.Current()));
  EXPECT_EQ(reader.Current().id3Records.size(), 5000);
  EXPECT_EQ(reader.Current().headerPositions.size(), 100);
  EXPECT_EQ(reader.Current().events.size(), 715);
}

// A cache counts with its .evt file: that one goes first and comes last, and all three come whole.
TEST_F(Save, ReplacesTheFilesInAnOrderInWhichNoneIsEverHalf) {
  for (const bool again : {false, true}) {
    SCOPED_TRACE(again ? "over an older cache" : "for the first time");
    CollectThreeEvents();
    const FolderWatch watch(folder.Path());
    index.Save_files();
    Texts order;
    for (const std::string& step : watch.Steps()) {
      const bool isChange = step.rfind("closed", 0) != 0 && step.rfind("written", 0) != 0;
      if (isChange) order.push_back(step);
    }
    Texts wanted;
    if (again) wanted = {"removed cam.evt", "removed cam.hdr", "removed cam.id3"};
    for (const char* step :
         {"made cam.id3", "made cam.hdr", "made cam.evt", "made cam.hdr.unfinished.hdr",
          "made cam.id3.unfinished.id3", "made cam.evt.unfinished.evt", "removed cam.evt",
          "renamed cam.hdr.unfinished.hdr", "to cam.hdr", "renamed cam.id3.unfinished.id3",
          "to cam.id3", "renamed cam.evt.unfinished.evt", "to cam.evt"}) {
      wanted.emplace_back(step);
    }
    EXPECT_EQ(order, wanted);
    for (const char* name : {"written cam.hdr", "written cam.id3", "written cam.evt"})
      EXPECT_THAT(watch.Steps(), Not(Contains(name)));
  }
}

TEST_F(Save, WorksOverAnUnfinishedOne) {
  for (const char* name :
       {"cam.hdr.unfinished.hdr", "cam.id3.unfinished.id3", "cam.evt.unfinished.evt"}) {
    WriteFile(folder / name, Bytes(5000, 'x'));
  }
  CollectThreeEvents();
  index.Save_files();
  EXPECT_THAT(ArchiveFolderNames(), ElementsAre("cam.evt", "cam.hdr", "cam.id3", "cam.zel3"));
  EXPECT_EQ(ReadFile(Beside("evt")).size(), 34U);
}

class ReopenForWrite : public Save {};

TEST_F(ReopenForWrite, EmptiesTheCacheFiles) {
  WriteSmallCache();
  Open();
  EXPECT_TRUE(index.Reopen_for_write());
  for (const char* kind : {"id3", "hdr", "evt"}) {
    EXPECT_TRUE(FileExists(Beside(kind))) << kind;
    EXPECT_THAT(ReadFile(Beside(kind)), IsEmpty()) << kind;
  }
}

TEST_F(ReopenForWrite, MakesThemAfterADraft) {
  index.Open_file_draft(Path(archive));
  EXPECT_TRUE(index.Reopen_for_write());
  EXPECT_THAT(ArchiveFolderNames(), ElementsAre("cam.evt", "cam.hdr", "cam.id3", "cam.zel3"));
}

TEST_F(ReopenForWrite, DoesNotTouchTheFilesOfTheRunAgain) {
  index.Open_file_draft(Path(archive));
  ASSERT_TRUE(index.Reopen_for_write());
  const FolderWatch watch(folder.Path());
  EXPECT_TRUE(index.Reopen_for_write());
  EXPECT_THAT(watch.Steps(), IsEmpty());
}

TEST_F(ReopenForWrite, MakesThemAgainWhenTheyAreGone) {
  index.Open_file_draft(Path(archive));
  ASSERT_TRUE(index.Reopen_for_write());
  fs::remove(Beside("id3"));
  EXPECT_TRUE(index.Reopen_for_write());
  EXPECT_THAT(ArchiveFolderNames(), ElementsAre("cam.evt", "cam.hdr", "cam.id3", "cam.zel3"));
}

TEST_F(ReopenForWrite, WithoutASaveLeavesNoCache) {
  WriteSmallCache();
  {
    cZel3Indexer run;
    run.Open_file_draft(Path(archive));
    ASSERT_TRUE(run.Reopen_for_write());
  }
  EXPECT_FALSE(Open());
  EXPECT_THAT(index.Files(), IsEmpty());
}

TEST_F(ReopenForWrite, KeepsWhatWasCollected) {
  CollectThreeEvents();
  EXPECT_TRUE(index.Reopen_for_write());
  index.Save_files();
  EXPECT_EQ(ContentsOf(index.Current()), collected);
}

}  // namespace
