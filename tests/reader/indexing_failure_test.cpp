#include <filesystem>

#include "host/brick_plugins.h"
#include "run_test.h"
#include "support/callbacks.h"

namespace {

namespace fs = std::filesystem;

class WithoutAParser : public ReaderTest {
 protected:
  void SetUp() override { workshop.Close(); }
};

TEST_F(WithoutAParser, ASingleFileIsNoArchive) {
  Open(Place("cam.zel3", ArchiveOf("cam", {10, 20})));
  EXPECT_THAT(Told(), IsEmpty());
  EXPECT_EQ(pipeline.BrickCount(), 2u) << "the index reader has been ended";
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre("Err W010 No archive in cam.zel3"));
  EXPECT_THAT(Ask(ChunkRequest(10000)), ElementsAre("IRN3 none at 13000"));
  EXPECT_THAT(Ask(DataTick()), ElementsAre("RDat 13")) << "no run is on";
}

TEST_F(WithoutAParser, AFolderAnswersAsIfTheTimeHadNotBeenFound) {
  Place("cam.zel3", ArchiveOf("cam", {10, 20}));
  Open(folder.Path());
  EXPECT_THAT(Ask(ChunkRequest(15000)), ElementsAre("IRN3 none at 18000"));
  EXPECT_THAT(Ask(ChunkRequest(15000)), ElementsAre("IRN3 none at 18000"));
  Ask(Play(0));
  EXPECT_THAT(Ask(ChunkRequest(15000)), ElementsAre("IRN3 none at 12000"));
  EXPECT_THAT(Ask(DataTick()), ElementsAre("RDat 13"));
  EXPECT_EQ(pipeline.BrickCount(), 2u);
  EXPECT_THAT(ArchiveTimes(), ElementsAre("10000-20000"));
}

TEST_F(WithoutAParser, TheFileIsIndexedOnceThereIsOne) {
  const SmallArchive archive = ArchiveOf("cam", {10, 20});
  Place("cam.zel3", archive);
  Open(folder.Path());
  Ask(ChunkRequest(15000));
  ParserWorkshop opened;
  opened.Learn(archive);
  Ask(ChunkRequest(15000));
  EXPECT_THAT(Ask(ChunkRequest(15000)), ElementsAre("IRN3 0/0 at 10000"));
}

TEST_F(WithoutAParser, AFailedStartLeavesTheCacheToOtherReaders) {
  const SmallArchive archive = ArchiveOf("cam", {10, 20});
  const std::string path = Place("cam.zel3", archive);
  Open(path);
  const std::unique_ptr<CBrick> first = std::move(reader);
  ParserWorkshop opened;
  opened.Learn(archive);
  Open(path);
  Settle();
  EXPECT_THAT(ReadFile(CachePath(path, "id3")), testing::Not(IsEmpty()));
}

TEST_F(WithoutAParser, AFailedStartLeavesNoRequestForALaterRunToAnswer) {
  const SmallArchive archive = ArchiveOf("cam", {10, 20});
  const std::string path = Place("cam.zel3", archive);
  Open(folder.Path());
  Ask(ChunkRequest(15000));
  ParserWorkshop opened;
  opened.Learn(archive);
  // A run that opening a file starts has no request to answer.
  (reader.get()->*(&Callbacks::onCreate))(Config(path));
  EXPECT_THAT(Without("Warn W008", Told()), ElementsAre("Cewg"));
}

TEST_F(WithoutAParser, APluginThatRefusesOrFailsIsAsGoodAsNone) {
  const brick_plugins::Factory factories[] = {
      [](TBrickConfig*) -> CBrick* { return nullptr; },
      [](TBrickConfig*) -> CBrick* { throw std::runtime_error("out of order"); }};
  for (const auto& factory : factories) {
    brick_plugins::RegisterFactory(tag::kSignatureParser, factory);
    Open(Place("cam.zel3", ArchiveOf("cam", {10, 20})));
    EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre("Err W010 No archive in cam.zel3"));
    EndReader();
  }
}

// The parser that comes with the host knows only the newer format.
TEST_F(WithoutAParser, AnOlderFileIsNoArchiveForAParserOfNewerOnes) {
  brick_plugins::RegisterFactory(tag::kSignatureParser, [](TBrickConfig* config) -> CBrick* {
    EXPECT_EQ(config->input.format, tag::kFormatZel1);
    return nullptr;
  });
  Open(Place("cam.zel", ArchiveOf("cam", {10, 20})));
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre("Err W010 No archive in cam.zel"));
}

TEST_F(WithoutAParser, ABadCacheIsEmptyAfterwards) {
  const std::string path = Place("cam.zel3", ArchiveOf("cam", {10, 20}));
  WriteFile(CachePath(path, "id3"), Bytes(100, 1));
  Open(path);
  Run();
  EXPECT_THAT(ReadFile(CachePath(path, "id3")), IsEmpty());
}

class FailingRun : public RunTest {};

// Its children have been ended for the new one.
TEST_F(FailingRun, ARunIsOverWhereAnotherCannotStartInItsPlace) {
  OpenInARun(Place("cam.zel3", ArchiveOf("cam", {10, 20})));
  const std::string other = Place("other.zel3", ArchiveOf("other", {30, 40}));
  workshop.Close();
  (reader.get()->*(&Callbacks::onCreate))(Config(other));
  EXPECT_THAT(Told(), IsEmpty());
  EXPECT_EQ(pipeline.BrickCount(), 2u);
  (reader.get()->*(&Callbacks::onNotify))(Message(tag::kLevelWarning, tag::kCodeEndOfFile));
  EXPECT_THAT(Told(), IsEmpty());
  EXPECT_THAT(Ask(DataTick()), ElementsAre("RDat 13")) << "no run is on";
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre("Err W010 No archive in other.zel3"));
}

// After its run the file still has no index: another run would not help.
TEST_F(FailingRun, AFileThatStaysUnindexedIsNotIndexedAgainForTheSameRequest) {
  const SmallArchive archive = ArchiveOf("good", {10, 20, 30});
  Place("good.zel3", archive, 1'000'000);
  Place("bad.zel3", Bytes(100, 0x11), 2'000'000);
  workshop.pullsItself = true;
  Open(folder.Path());
  Send(ChunkRequest(15000));
  Send(ChunkRequest(25000));
  EXPECT_THAT(Without("Warn W008", Told()), ElementsAre("Cewg", "IRN3 none at 28000"));
  EXPECT_EQ(workshop.orders.size(), 1u);
}

TEST_F(FailingRun, ALaterRequestRunsAgainAndTheIndexDoesNotGrow) {
  const SmallArchive archive = ArchiveOf("good", {10, 20, 30});
  const std::string path = Place("good.zel3", archive, 1'000'000);
  Place("bad.zel3", Bytes(100, 0x11), 2'000'000);
  workshop.pullsItself = true;
  Open(folder.Path());
  Ask(ChunkRequest(15000));
  const Bytes id3 = ReadFile(CachePath(path, "id3"));
  EXPECT_EQ(id3.size(), 3u * 24);
  Ask(ChunkRequest(15000));
  EXPECT_EQ(workshop.orders.size(), 2u);
  EXPECT_EQ(ReadFile(CachePath(path, "id3")), id3);
  EXPECT_EQ(ReadFile(CachePath(path, "hdr")), Bytes(8));
  EXPECT_THAT(Ask(ChunkRequest(15000)), ElementsAre("IRN3 0/0 at 10000"));
}

// Its times run backward, so it is filed twice; lookups find the copy that is never completed.
TEST_F(FailingRun, AFileThatIsListedTwiceIsRefusedAfterEachRunAndItsIndexDoesNotGrow) {
  workshop.pullsItself = true;
  const std::string path = Place("back.zel3", ArchiveOf("back", {500, 900, 100}));
  Place("middle.zel3", ArchiveOf("middle", {300, 310}));
  Open(folder.Path());
  ASSERT_THAT(ArchiveTimes(), ElementsAre("100000-500000", "300000-310000", "500000-500000"));
  for (int run = 1; run <= 3; ++run) {
    Send(ChunkRequest(500000));
    Send(ChunkRequest(500000));
    EXPECT_THAT(Without("Warn W008", Told()), ElementsAre("Cewg", "IRN3 none at 503000")) << run;
    EXPECT_EQ(ReadFile(CachePath(path, "id3")).size(), 3u * 24) << run;
  }
}

TEST_F(FailingRun, AReadErrorSavesNothing) {
  // Its first bytes cannot be read, although it can be opened and is a plain file.
  fs::create_symlink("/proc/self/mem", folder / "cam.zel3");
  OpenInARun(folder / "cam.zel3");
  Parser().Report(ParsedPlace(0));
  Parser().Report(ParsedIndex(10));
  Parser().Report(ParsedIndex(20));
  Settle();
  Parser().Pull();
  Settle();
  EXPECT_THAT(workshop.log, testing::Contains("notify Warn EOF EOF End of file reached"));
  EXPECT_THAT(Without("Warn W008", EndRun()), ElementsAre("Cewg"));
  for (const char* const extension : {"id3", "hdr", "evt"}) {
    EXPECT_THAT(ReadFile(CachePath(folder / "cam.zel3", extension)), IsEmpty()) << extension;
  }
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre("Err W010 No archive in cam.zel3"));
}

TEST_F(FailingRun, ARequestThatWasAnsweredIsNotAnsweredAgainAfterALaterRun) {
  workshop.pullsItself = true;
  Place("cam.zel3", ArchiveOf("cam", {10, 20, 30}));
  Open(folder.Path());
  Send(ChunkRequest(15000));
  Send(ChunkRequest(15000));
  ASSERT_THAT(Without("Warn W008", Told()), ElementsAre("Cewg", "IRN3 0/0 at 10000"));
  const std::string other = Place("other.zel3", ArchiveOf("other", {100, 200}));
  (reader.get()->*(&Callbacks::onCreate))(Config(other));
  EXPECT_THAT(Without("Warn W008", Told()), ElementsAre("Cewg"));
}

TEST_F(FailingRun, ARequestThatWasDroppedIsNotAnsweredAfterALaterRun) {
  const SmallArchive archive = ArchiveOf("cam", {10, 20, 30});
  OpenInARun(Place("cam.zel3", archive));
  EXPECT_THAT(Ask(ChunkRequest(20000)), IsEmpty());
  ReportAll(archive);
  ASSERT_THAT(EndRun(), ElementsAre("Cewg"));
  workshop.pullsItself = true;
  fs::create_directory(folder / "others");
  Place("others/other.zel3", ArchiveOf("other", {110, 120, 130}));
  (reader.get()->*(&Callbacks::onCreate))(Config(folder / "others"));
  Send(ChunkRequest(115000));
  EXPECT_THAT(Without("Warn W008", Told()), ElementsAre("Cewg", kNoAnswerForward));
}

TEST_F(FailingRun, APathTooLongForTheIndexReaderEndsWithoutAnIndex) {
  const std::string name = std::string(255 - 5, 'c') + ".zel3";
  const SmallArchive archive = ArchiveOf("cam", {10, 20, 30});
  Place(name, archive);
  ASSERT_GT((folder / name).size(), 260u);
  workshop.pullsItself = true;
  Open(folder.Path());
  Send(ChunkRequest(15000));
  Send(ChunkRequest(15000));
  EXPECT_THAT(Told(), ElementsAre("Warn W008 0% " + name, "Cewg", "IRN3 none at 18000"));
}

TEST_F(FailingRun, TheLongestPathThatTheIndexReaderTakesHas260Bytes) {
  constexpr std::size_t kLongestPath = 260;
  const std::string name = std::string(kLongestPath - folder.Path().size() - 1 - 5, 'c') + ".zel3";
  const SmallArchive archive = ArchiveOf("cam", {10, 20, 30});
  ASSERT_EQ(Place(name, archive).size(), kLongestPath);
  workshop.pullsItself = true;
  Open(folder.Path());
  Send(ChunkRequest(15000));
  Send(ChunkRequest(15000));
  EXPECT_THAT(Without("Warn W008", Told()), ElementsAre("Cewg", "IRN3 0/0 at 10000"));
}

TEST_F(FailingRun, APathShorterThanThatOfTheSourceReachesTheIndexReaderWhole) {
  Place("cam.zel3", ArchiveOf("cam", {10, 20, 30}));
  workshop.pullsItself = true;
  Open(folder.Path() + "/./././././././././");
  Send(ChunkRequest(15000));
  Send(ChunkRequest(15000));
  EXPECT_THAT(Without("Warn W008", Told()), ElementsAre("Cewg", "IRN3 0/0 at 10000"));
}

TEST_F(FailingRun, AnArchiveThatVanishesDuringItsRunIsGoneAfterwards) {
  const std::string path = Place("cam.zel3", ArchiveOf("cam", {10, 20}));
  OpenInARun(path);
  fs::remove(path);
  Parser().Pull();
  Settle();
  EXPECT_EQ(Parser().received, workshop.archives[0].bytes) << "the index reader has it open";
  EXPECT_THAT(EndRun(), ElementsAre("Cewg"));
  EXPECT_THAT(Ask(ChunkRequest(10000)), ElementsAre("IRN3 none at 13000"));
}

// Opening it again fails; the waiting request is still answered.
TEST_F(FailingRun, AFolderThatVanishesDuringARunStillAnswersTheWaitingRequest) {
  fs::create_directory(folder / "archives");
  Place("archives/cam.zel3", ArchiveOf("cam", {10, 20}));
  Open(folder / "archives");
  Send(ChunkRequest(15000));
  Send(ChunkRequest(99000));
  Settle();
  fs::remove_all(folder / "archives");
  EXPECT_THAT(EndRun(), ElementsAre("Cewg", "IRN3 none at 102000"));
}

TEST_F(FailingRun, ARunWhoseEndNeverComesGoesOnUntilTheReaderIsDestroyed) {
  OpenInARun(Place("cam.zel3", NumberedBytes(100)));
  for (int i = 0; i < 5; ++i) {
    Parser().Pull();
    Settle();
  }
  EXPECT_THAT(Ask(DataTick()), ElementsAre("Warn W008 0% cam.zel3"));
  EXPECT_THAT(Ask(ChunkRequest(0)), IsEmpty());
  EndReader();
  EXPECT_EQ(pipeline.BrickCount(), 1u);
}

// The list has been asked for and never been sent, so that every step of reading the folder again
// answers with the warning.
class ListWaitingForAFolder : public RunTest {
 protected:
  void SetUp() override {
    RunTest::SetUp();
    good = Place("good.zel3", ArchiveOf("good", {100, 110, 120}), 2'000'000);
    bad = Place("bad.zel3", Bytes(100, 0x11), 1'000'000);
    Open(folder.Path());
    EXPECT_THAT(Ask(ArchivesRequest()), IsEmpty());
    EXPECT_THAT(Ask(ChunkRequest(110000)), ElementsAre("Warn W008 0% bad.zel3"));
  }
  auto AreThreeWarningsAfterTheEnd() const {
    const std::string warning = "Err W010 No archive in " + folder.Path();
    return ElementsAre("Cewg", warning, warning, warning, kNoAnswerForward);
  }

  std::string good;
  std::string bad;
};

TEST_F(ListWaitingForAFolder, IsRefusedThreeTimesWhenAllFilesAreGone) {
  fs::remove(good);
  fs::remove(bad);
  EXPECT_THAT(EndRun(), AreThreeWarningsAfterTheEnd());
}

TEST_F(ListWaitingForAFolder, IsRefusedAtEveryFurtherRunAlsoWhenANewFileHasCome) {
  fs::remove(good);
  EXPECT_THAT(EndRun(), AreThreeWarningsAfterTheEnd());
  Place("new.zel3", ArchiveOf("new", {500, 510, 520}), 3'000'000);
  EXPECT_THAT(Ask(ChunkRequest(110000)), ElementsAre("Warn W008 0% bad.zel3"));
  EXPECT_THAT(EndRun(), AreThreeWarningsAfterTheEnd());
}

}  // namespace
