#include <filesystem>

#include "support/reader_test.h"

namespace {

namespace fs = std::filesystem;

class ArchiveListing : public ReaderTest {
 protected:
  // A file whose run goes on until the test ends it.
  void OpenAndStayInARun() {
    workshop.pullsItself = false;
    Open(Place("cam.zel3", ArchiveOf("cam", {10, 20, 30})));
    Settle();
  }
  void EndTheRunWithRecords() {
    for (const ParsedRecord& record : workshop.archives[0].records)
      workshop.current->Report(record.block);
    workshop.current->Report(Message(tag::kLevelWarning, tag::kCodeEndOfFile));
  }
};

TEST_F(ArchiveListing, DescribesEveryFileInOrderOfItsStart) {
  Place("b.zel3", ArchiveBuilder("b").Header({{3}}).Index(300).Index(400).Archive());
  Place("a.zel3", ArchiveBuilder("a").Header({{1}, {8}}).Index(100).Index(200).Archive());
  Open(folder.Path());
  Send(ArchivesRequest());
  const std::vector<cMemBlock> blocks = Received();
  ASSERT_EQ(blocks.size(), 1u);
  ASSERT_EQ(blocks[0].GetType(), tag::kArchives);
  const ArchivesBlock list = ArchivesBlock::View(blocks[0]);
  EXPECT_EQ(list.Size(), sizeof(TArchivesInfo) + 2 * 56);
  EXPECT_EQ(list.Record().count, 2u);
  EXPECT_EQ(list.Record().source, folder.Path());

  const TArchiveEntry* const entries = list.Record().Archives();
  EXPECT_EQ(entries[0].startTime, 100000u);
  EXPECT_EQ(entries[0].endTime, 200000u);
  EXPECT_EQ(entries[0].fileNumber, 0u);
  EXPECT_EQ(entries[0].reserved, 0u);
  EXPECT_EQ(entries[0].streamMap[0], 1 << 1);
  EXPECT_EQ(entries[0].streamMap[1], 1 << 0);
  EXPECT_EQ(entries[1].startTime, 300000u);
  EXPECT_EQ(entries[1].endTime, 400000u);
  EXPECT_EQ(entries[1].fileNumber, 1u);
  EXPECT_EQ(entries[1].reserved, 0u);
  EXPECT_EQ(entries[1].streamMap[0], 1 << 3);
}

TEST_F(ArchiveListing, NamesASingleFileByItsFullPath) {
  const std::string path = Place("cam.zel3", NumberedBytes(100));
  IndexCache{{{10, 20}, {20, 60}}}.WriteBeside(path);
  Open(path);
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre("ArcA 1 " + path));
}

TEST_F(ArchiveListing, NamesAnOlderFileByItsFullPath) {
  const std::string path = Place("cam.zel", NumberedBytes(100));
  IndexCache{{{10, 20}, {20, 60}}}.WriteBeside(path);
  Open(path);
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre("ArcA 1 " + path));
}

TEST_F(ArchiveListing, KeepsNamesOfAnyLanguage) {
  fs::create_directory(folder / "каме\u0301ра");
  const std::string path = Place("каме\u0301ра/тор № 1.zel3", NumberedBytes(100));
  IndexCache{{{10, 20}, {20, 60}}}.WriteBeside(path);
  Open(path);
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre("ArcA 1 " + path));
}

TEST_F(ArchiveListing, ComesAsOftenAsItIsAskedFor) {
  const std::string path = Place("cam.zel3", NumberedBytes(100));
  IndexCache{{{10, 20}, {20, 60}}}.WriteBeside(path);
  Open(path);
  Send(ArchivesRequest());
  Send(ArchivesRequest());
  EXPECT_THAT(Told(), ElementsAre("ArcA 1 " + path, "ArcA 1 " + path));
}

// The index cache does not keep the streams.
TEST_F(ArchiveListing, AFileServedFromItsCacheShowsNoStreams) {
  const std::string path = Place("cam.zel3", ArchiveOf("cam", {10, 20}));
  Open(path);
  Settle();
  const std::vector<TArchiveEntry> entries = ArchiveList();
  ASSERT_EQ(entries.size(), 1u);
  EXPECT_EQ(Bytes(entries[0].streamMap, entries[0].streamMap + 32), Bytes(32));
}

TEST_F(ArchiveListing, WaitsForTheEndOfTheFirstRunAndComesOnce) {
  OpenAndStayInARun();
  EXPECT_THAT(Ask(ArchivesRequest()), IsEmpty());
  EXPECT_THAT(Ask(ArchivesRequest()), IsEmpty());
  EndTheRunWithRecords();
  EXPECT_THAT(Without("Warn W008", Told()), ElementsAre("Cewg", "ArcA 1 " + (folder / "cam.zel3")));
}

TEST_F(ArchiveListing, IsNotSentUnaskedAtTheEndOfARun) {
  OpenAndStayInARun();
  EndTheRunWithRecords();
  EXPECT_THAT(Without("Warn W008", Told()), ElementsAre("Cewg"));
}

TEST_F(ArchiveListing, ComesAtOnceDuringALaterRun) {
  Place("cam.zel3", ArchiveOf("cam", {10, 20, 30}));
  workshop.pullsItself = false;
  Open(folder.Path());
  Ask(ChunkRequest(15000));
  ASSERT_NE(workshop.current, nullptr);
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre("ArcA 1 " + folder.Path()));
  EXPECT_THAT(workshop.log, testing::Contains("ctrl ArcA 1 " + folder.Path()))
      << "commands go to the neighbours on both sides";

  EndTheRunWithRecords();
  EXPECT_THAT(Without("Warn W008", Told()), ElementsAre("Cewg", kNoAnswerForward))
      << "the request has been answered";
}

TEST_F(ArchiveListing, ComesOncePerRequestAfterTheFolderWasOpenedAgain) {
  Place("cam.zel3", ArchiveOf("cam", {10, 20, 30}));
  Open(folder.Path());
  Ask(ChunkRequest(15000));
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre("ArcA 1 " + folder.Path()));
}

TEST_F(ArchiveListing, TheWarningCarriesTheFieldsOfAnError) {
  Open(folder.Path());
  Send(ArchivesRequest());
  const std::vector<cMemBlock> blocks = Received();
  ASSERT_EQ(blocks.size(), 1u);
  const MessageBlock warning = MessageBlock::View(blocks[0]);
  EXPECT_EQ(warning.GetType(), FourCc("ntfy"));
  EXPECT_EQ(warning.Size(), sizeof(TNotifyMessage));
  EXPECT_EQ(warning.Record().kind, FourCc("NMsg"));
  EXPECT_EQ(warning.Record().sender, reader->GetSignature());
  EXPECT_EQ(warning.Record().level, FourCc("Err "));
  EXPECT_EQ(warning.Record().code, FourCc("W010"));
  EXPECT_EQ(warning.Record().value, 6);
  EXPECT_EQ(warning.Record().text, "No archive in");
  EXPECT_EQ(warning.Record().detail, folder.Path());
}

TEST_F(ArchiveListing, TheWarningNamesTheFolderByItsCanonicalPath) {
  fs::create_directory(folder / "archives");
  fs::create_symlink(folder / "archives", folder / "link");
  Open(folder / "link/");
  EXPECT_THAT(Ask(ArchivesRequest()),
              ElementsAre("Err W010 No archive in " + (folder / "archives")));
}

TEST_F(ArchiveListing, TheWarningNamesASingleFileByItsBareName) {
  Open(Place("a.zel3", Bytes(100, 0x11)));
  Settle();
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre("Err W010 No archive in a.zel3"));
}

}  // namespace
