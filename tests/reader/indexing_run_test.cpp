#include <cstring>
#include <filesystem>

#include "run_test.h"
#include "support/callbacks.h"

namespace {

namespace fs = std::filesystem;

class IndexingRun : public RunTest {};

TEST_F(IndexingRun, AsksTheHostForAParser) {
  TBrickConfig own = Config(Place("cam.zel3", NumberedBytes(100)));
  own.param = 0x01020304;
  std::memset(own.name, 'n', sizeof(own.name));
  Open(own);
  ASSERT_EQ(workshop.orders.size(), 1u);
  TBrickConfig expected = {};
  expected.ownerContext = pipeline.Id();
  expected.signature = FourCc("Pars");
  expected.input = {FourCc("zel3"), FourCc("RDat")};
  expected.output = {FourCc("many"), FourCc("Many")};
  const auto* const bytes = reinterpret_cast<const unsigned char*>(&workshop.orders[0]);
  const auto* const expectedBytes = reinterpret_cast<const unsigned char*>(&expected);
  EXPECT_EQ(Bytes(bytes, bytes + sizeof(TBrickConfig)),
            Bytes(expectedBytes, expectedBytes + sizeof(TBrickConfig)));
}

TEST_F(IndexingRun, OfANameThatIsOnlyASuffixAsksForAParserOfThatFormat) {
  Place(".zel3", NumberedBytes(100));
  const fs::path before = fs::current_path();
  fs::current_path(folder.Path());
  Open(".zel3");
  fs::current_path(before);
  ASSERT_EQ(workshop.orders.size(), 1u);
  EXPECT_EQ(workshop.orders[0].input.format, FourCc("zel3"));
}

TEST_F(IndexingRun, LinksIndexReaderParserAndReader) {
  OpenInARun(Place("cam.zel3", NumberedBytes(100)));
  EXPECT_EQ(pipeline.BrickCount(), 4u);
  EXPECT_TRUE(Parser().HasPreviousBrick());
  EXPECT_TRUE(Parser().HasNextBrick());
  EXPECT_TRUE(reader->HasPreviousBrick());
}

TEST_F(IndexingRun, StartsWithAPullOfTypeTwoAndTimeZero) {
  Open(Place("cam.zel3", NumberedBytes(100)));
  Run();
  EXPECT_THAT(workshop.log, ElementsAre("ctrl CRq3 0 type 2"));
}

TEST_F(IndexingRun, TellsZeroPercentBeforeTheFirstPull) {
  Place("cam.zel3", ArchiveOf("cam", {10, 20}));
  Open(folder.Path());
  Send(ChunkRequest(15000));
  ASSERT_TRUE(pipeline.RunOne()) << "the request itself";
  ASSERT_TRUE(pipeline.RunOne());
  EXPECT_EQ(BlockText(client->Take().at(0)), "Warn W008 0% cam.zel3");
  EXPECT_THAT(workshop.log, IsEmpty());
  Run();
  EXPECT_THAT(workshop.log, ElementsAre("ctrl CRq3 0 type 2"));
  EXPECT_THAT(client->pulls, ElementsAre("CRq3 0 type 2")) << "it goes to both sides";
}

TEST_F(IndexingRun, ProgressIsAWarningWithTheFileName) {
  OpenInARun(Place("cam.zel3", NumberedBytes(100)));
  Parser().Report(ParsedPlace(37));
  const std::vector<cMemBlock> blocks = Received();
  ASSERT_EQ(blocks.size(), 1u);
  EXPECT_EQ(blocks[0].GetType(), FourCc("ntfy"));
  const MessageBlock progress = MessageBlock::View(blocks[0]);
  EXPECT_EQ(progress.Size(), sizeof(TNotifyMessage));
  EXPECT_EQ(progress.Record().kind, FourCc("NMsg"));
  EXPECT_EQ(progress.Record().sender, reader->GetSignature());
  EXPECT_EQ(progress.Record().level, FourCc("Warn"));
  EXPECT_EQ(progress.Record().code, FourCc("W008"));
  EXPECT_EQ(progress.Record().value, 6);
  EXPECT_EQ(progress.Record().text, "37%");
  EXPECT_EQ(progress.Record().detail, "cam.zel3");
}

TEST_F(IndexingRun, ProgressComesWithEveryNewPercentAndNoOther) {
  OpenInARun(Place("cam.zel3", NumberedBytes(1000)));
  const struct {
    std::uint64_t position;
    Lines told;
  } steps[] = {{0, {}},
               {9, {}},
               {10, {"Warn W008 1% cam.zel3"}},
               {49, {"Warn W008 4% cam.zel3"}},
               {40, {}},
               {45, {}},
               {50, {"Warn W008 5% cam.zel3"}},
               {50, {}},
               {49, {"Warn W008 4% cam.zel3"}},
               {999, {"Warn W008 99% cam.zel3"}},
               {1000, {"Warn W008 100% cam.zel3"}},
               {49800, {"Warn W008 4980% cam.zel3"}}};
  for (const auto& step : steps) {
    EXPECT_EQ(Report(ParsedPlace(step.position)), step.told) << step.position;
  }
}

TEST_F(IndexingRun, AnyPositionGivesSomePercent) {
  OpenInARun(Place("cam.zel3", NumberedBytes(3)));
  // 2^64 - 1 times 100 is -100 in 64 bits; divided by 3 it is 6148914691236517172, of which the low
  // 32 bits are kept.
  EXPECT_THAT(Report(ParsedPlace(0xFFFFFFFFFFFFFFFF)),
              ElementsAre("Warn W008 1431655732% cam.zel3"));
}

TEST_F(IndexingRun, AnEmptyFileHasNoProgress) {
  OpenInARun(Place("cam.zel3", Bytes()));
  EXPECT_THAT(Report(ParsedPlace(0)), IsEmpty());
  EXPECT_THAT(Report(ParsedPlace(1000)), IsEmpty());
  EXPECT_THAT(EndRun(), ElementsAre("Cewg"));
}

TEST_F(IndexingRun, ATickRepeatsTheLastPercent) {
  OpenInARun(Place("cam.zel3", NumberedBytes(100)));
  EXPECT_THAT(Ask(DataTick()), ElementsAre("Warn W008 0% cam.zel3"));
  Report(ParsedPlace(37));
  EXPECT_THAT(Ask(DataTick()), ElementsAre("Warn W008 37% cam.zel3"));
  EXPECT_THAT(Ask(DataTick()), ElementsAre("Warn W008 37% cam.zel3"));
  EXPECT_THAT(Parser().received, IsEmpty());
}

TEST_F(IndexingRun, NamesAnOlderFileToo) {
  OpenInARun(Place("old.zel", NumberedBytes(100)));
  EXPECT_THAT(Ask(DataTick()), ElementsAre("Warn W008 0% old.zel"));
}

TEST_F(IndexingRun, NamesAFileInTheLocalEncoding) {
  OpenInARun(Place("камера.zel3", Bytes(100, 0x11)));
  EXPECT_THAT(Ask(DataTick()), ElementsAre("Warn W008 0% камера.zel3"));
  EndRun();
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre("Err W010 No archive in камера.zel3"));
}

TEST_F(IndexingRun, NamesAFileWithoutFolderByItsWholePath) {
  Place("cam.zel3", NumberedBytes(100));
  const fs::path before = fs::current_path();
  fs::current_path(folder.Path());
  OpenInARun("cam.zel3");
  EXPECT_THAT(Ask(DataTick()), ElementsAre("Warn W008 0% cam.zel3"));
  EndReader();
  fs::current_path(before);
}

// In a folder the file that is open need not be the one that is indexed.
TEST_F(IndexingRun, ProgressIsCountedOnTheFileThatIsOpen) {
  const SmallArchive large = ArchiveOf("large", {10, 20, 30, 40, 50, 60});
  const SmallArchive small = ArchiveOf("s", {1000});
  Place("small.zel3", small);
  Place("large.zel3", large);
  Open(folder.Path());
  EXPECT_THAT(Ask(ChunkRequest(15000)), ElementsAre("Warn W008 0% small.zel3"));
  Parser().Pull();
  Run();
  EXPECT_EQ(Parser().received, large.bytes);
  const std::size_t percent = large.bytes.size() * 100 / small.bytes.size();
  EXPECT_THAT(Report(ParsedPlace(large.bytes.size())),
              ElementsAre("Warn W008 " + std::to_string(percent) + "% small.zel3"));
}

// A file that does not open becomes the current one, but the size stays that of the one before.
TEST_F(IndexingRun, ProgressIsCountedOnTheFileThatWasOpenedLast) {
  const std::string last = Place("last.zel3", NumberedBytes(401));
  const std::string gone = Place("gone.zel3", NumberedBytes(801));
  IndexCache{{{110, 100}, {120, 200}}}.WriteBeside(last);
  IndexCache{{{210, 100}, {220, 200}}}.WriteBeside(gone);
  Place("cam.zel3", ArchiveOf("cam", {10, 20}));
  Open(folder.Path());
  ASSERT_THAT(Ask(ChunkRequest(210000)), ElementsAre("IRN3 2/0 at 210000"));
  std::filesystem::remove(gone);
  EXPECT_THAT(Ask(BytesRequest(MakeIndexId(2, 0), 210000)), testing::SizeIs(1));
  EXPECT_THAT(Ask(ChunkRequest(15000)), ElementsAre("Warn W008 0% gone.zel3"));
  EXPECT_THAT(Report(ParsedPlace(200)), ElementsAre("Warn W008 49% gone.zel3"));
}

TEST_F(IndexingRun, AUsedUpBlockMakesTheReaderPull) {
  OpenInARun(Place("cam.zel3", NumberedBytes(100)));
  EXPECT_THAT(Report(StreamMark(FourCc("TagF"))), IsEmpty());
  EXPECT_THAT(workshop.log, ElementsAre("ctrl CRq3 0 type 2"));
  EXPECT_THAT(client->pulls, ElementsAre("CRq3 0 type 2"));
}

TEST_F(IndexingRun, OtherStreamMarksMeanNothing) {
  OpenInARun(Place("cam.zel3", NumberedBytes(100)));
  for (const Tag kind : {FourCc("TagE"), FourCc("tagF"), FourCc("FgaT"), Tag{0}}) {
    EXPECT_THAT(Report(StreamMark(kind)), IsEmpty());
  }
  Report(StreamTagBlock::New(31));
  Report(StreamTagBlock::New(0));
  EXPECT_THAT(workshop.log, IsEmpty());
  EXPECT_THAT(client->pulls, IsEmpty());
}

TEST_F(IndexingRun, OnlyTheEndOfFileWarningEndsIt) {
  OpenInARun(Place("cam.zel3", NumberedBytes(100)));
  EXPECT_THAT(Report(Message(tag::kLevelError, tag::kCodeEndOfFile)), IsEmpty());
  EXPECT_THAT(Report(Message(tag::kLevelWarning, tag::kCodeProgress)), IsEmpty());
  EXPECT_THAT(Report(Message(tag::kLevelRunEnded, 0)), IsEmpty());
  EXPECT_THAT(Report(ChunkAnswerBlock::New()), IsEmpty());
  EXPECT_THAT(Report(MessageBlock::New(sizeof(TNotifyMessage) - 1)), IsEmpty());
  for (const Tag kind : {tag::kEventList, Tag{0}}) {
    MessageBlock otherKind = MessageBlock::View(Message(tag::kLevelWarning, tag::kCodeEndOfFile));
    otherKind.Record().kind = kind;
    EXPECT_THAT(Report(otherKind), IsEmpty()) << FourCcText(kind);
  }
  EXPECT_THAT(Report(NotifyBlock::New(3)), IsEmpty());
  EXPECT_THAT(Report(NotifyBlock::New(0)), IsEmpty());
  EXPECT_EQ(pipeline.BrickCount(), 4u);
  EXPECT_THAT(EndRun(), ElementsAre("Cewg"));
}

TEST_F(IndexingRun, ABlockOfAnotherTypeDoesNotEndIt) {
  OpenInARun(Place("cam.zel3", NumberedBytes(100)));
  auto other = cCommandBlock<TNotifyMessage, FourCc("abcd")>::New();
  other.Record().kind = tag::kMessage;
  other.Record().level = tag::kLevelWarning;
  other.Record().code = tag::kCodeEndOfFile;
  (reader.get()->*(&Callbacks::onNotify))(other);
  EXPECT_THAT(Told(), IsEmpty());
  EXPECT_EQ(pipeline.BrickCount(), 4u);
}

TEST_F(IndexingRun, TheNotificationThatEndsItIsTakenLikeAnyOther) {
  OpenInARun(Place("cam.zel3", NumberedBytes(100)));
  const auto onNotify = &Callbacks::onNotify;
  EXPECT_EQ((reader.get()->*onNotify)(Message(tag::kLevelWarning, tag::kCodeEndOfFile)), 1);
  EXPECT_THAT(Told(), ElementsAre("Cewg"));
}

TEST_F(IndexingRun, ItsEndIsToldByAMessageWithoutCodeAndTexts) {
  OpenInARun(Place("cam.zel3", NumberedBytes(100)));
  Parser().Report(Message(tag::kLevelWarning, tag::kCodeEndOfFile));
  const std::vector<cMemBlock> blocks = Received();
  ASSERT_EQ(blocks.size(), 1u);
  const MessageBlock end = MessageBlock::View(blocks[0]);
  EXPECT_EQ(end.Size(), sizeof(TNotifyMessage));
  EXPECT_EQ(end.Record().kind, FourCc("NMsg"));
  EXPECT_EQ(end.Record().sender, reader->GetSignature());
  EXPECT_EQ(end.Record().level, FourCc("Cewg"));
  EXPECT_EQ(end.Record().code, 0u);
  EXPECT_EQ(end.Record().value, 6);
  EXPECT_EQ(end.Record().text, "");
  EXPECT_EQ(end.Record().detail, "");
}

// The index reader is made with the whole configuration of its owner.
TEST_F(IndexingRun, ItsMessagesBearTheSignatureOfTheConfiguration) {
  TBrickConfig config = Config(Place("cam.zel3", Bytes(100, 0x11)));
  config.signature = FourCc("Many");
  Open(config);
  Settle();
  Parser().Pull();
  Settle();
  Parser().Pull();
  Settle();
  ASSERT_EQ(BlockText(workshop.lastNotification), "Warn EOF EOF End of file reached");
  EXPECT_EQ(MessageBlock::View(workshop.lastNotification).Record().sender, FourCc("Many"));

  Send(DataTick());
  Parser().Report(Message(tag::kLevelWarning, tag::kCodeEndOfFile));
  Send(ArchivesRequest());
  Lines told;
  for (const cMemBlock& block : Received()) {
    told.push_back(BlockText(block));
    EXPECT_EQ(MessageBlock::View(block).Record().sender, FourCc("Many")) << told.back();
  }
  EXPECT_THAT(told,
              ElementsAre("Warn W008 0% cam.zel3", "Cewg", "Err W010 No archive in cam.zel3"));
}

TEST_F(IndexingRun, EndsTheParserFirstAndThenTheIndexReader) {
  OpenInARun(Place("cam.zel3", NumberedBytes(100)));
  Parser().Report(Message(tag::kLevelWarning, tag::kCodeEndOfFile));
  ASSERT_TRUE(pipeline.RunOne());
  EXPECT_THAT(workshop.log, ElementsAre("queued Kill 0"));
  EXPECT_FALSE(Parser().HasPreviousBrick());
  EXPECT_FALSE(Parser().HasNextBrick());
  EXPECT_FALSE(reader->HasPreviousBrick());
  ASSERT_TRUE(pipeline.RunOne());
  EXPECT_EQ(workshop.current, nullptr);
  EXPECT_EQ(pipeline.BrickCount(), 3u) << "client, reader, index reader";
  ASSERT_TRUE(pipeline.RunOne());
  EXPECT_EQ(pipeline.BrickCount(), 2u);
}

TEST_F(IndexingRun, EndsOnceHoweverOftenTheEndIsTold) {
  OpenInARun(Place("cam.zel3", NumberedBytes(100)));
  Parser().Report(Message(tag::kLevelWarning, tag::kCodeEndOfFile));
  Parser().Report(Message(tag::kLevelWarning, tag::kCodeEndOfFile));
  EXPECT_THAT(Told(), ElementsAre("Cewg"));
  reader->enqueueData(Message(tag::kLevelWarning, tag::kCodeEndOfFile));
  EXPECT_THAT(Told(), IsEmpty());
}

TEST_F(IndexingRun, RecordsOutsideOfARunAreIgnored) {
  const std::string path = Place("cam.zel3", NumberedBytes(100));
  IndexCache{{{10, 20}, {20, 60}}}.WriteBeside(path);
  Open(path);
  reader->enqueueData(ParsedPlace(50));
  reader->enqueueData(ParsedIndex(30));
  reader->enqueueData(HeaderBlock::New());
  reader->enqueueData(ParsedData({2, 31, 0x80}, "ab"));
  reader->enqueueData(StreamMark(tag::kBlockFinished));
  EXPECT_THAT(Told(), IsEmpty());
  EXPECT_THAT(client->pulls, IsEmpty());
  EXPECT_THAT(ArchiveTimes(), ElementsAre("10000-26000"));
}

TEST_F(IndexingRun, SendsNothingOfTheIndexReaderToTheClient) {
  OpenInARun(Place("cam.zel3", NumberedBytes(100)));
  Parser().Pull();
  EXPECT_THAT(Told(), IsEmpty());
}

TEST_F(IndexingRun, CommandsThatNeedNoFileAreServedMeanwhile) {
  OpenInARun(Place("cam.zel3", NumberedBytes(100)));
  EXPECT_THAT(Ask(Play()), ElementsAre("rset 25"));
  EXPECT_THAT(Ask(ActivityRequest(0, 1000, 4, 1)), ElementsAre("Gist 32"));
}

class WholeRun : public ReaderTest {};

TEST_F(WholeRun, OfASingleFileTellsItsProgressAndItsEnd) {
  const SmallArchive archive = ArchiveOf("cam", {10, 20, 30, 40});
  Open(Place("cam.zel3", archive));
  Lines expected;
  std::size_t lastPercent = 0;
  for (const ParsedRecord& record : archive.records) {
    if (record.block.GetType() != tag::kParserTag) continue;
    const std::uint64_t position = ParserTagBlock::View(record.block).Record().position;
    const std::size_t percent = position * 100 / archive.bytes.size();
    if (percent == lastPercent) continue;
    lastPercent = percent;
    expected.push_back("Warn W008 " + std::to_string(percent) + "% cam.zel3");
  }
  ASSERT_EQ(expected.size(), 4u);
  expected.push_back("Cewg");
  EXPECT_EQ(Told(), expected) << "the first 0% was told before there was a client";
}

TEST_F(WholeRun, PullsTheFileThroughTheParser) {
  Open(Place("cam.zel3", ArchiveOf("cam", {10, 20})));
  Run();
  EXPECT_THAT(Without("data", workshop.log),
              ElementsAre("ctrl CRq3 0 type 2", "notify IRN3 none at 3000", "ctrl CRq3 0 type 2",
                          "notify IRN3 none at 3000", "notify Warn EOF EOF End of file reached",
                          "queued Kill 0", "gone"));
}

TEST_F(WholeRun, LeavesNoChildren) {
  Open(Place("cam.zel3", ArchiveOf("cam", {10, 20})));
  Run();
  EXPECT_EQ(pipeline.BrickCount(), 2u);
  EXPECT_FALSE(reader->HasPreviousBrick());
}

TEST_F(WholeRun, MayBeFollowedByAnother) {
  Place("a.zel3", ArchiveOf("a", {10, 20, 30}));
  Place("b.zel3", ArchiveOf("b", {110, 120, 130}));
  Open(folder.Path());
  const Lines first = Ask(ChunkRequest(15000));
  EXPECT_EQ(first.front(), "Warn W008 0% a.zel3");
  EXPECT_EQ(first.back(), kNoAnswerForward);
  const Lines second = Ask(ChunkRequest(115000));
  EXPECT_EQ(second.front(), "Warn W008 0% a.zel3");
  EXPECT_EQ(second.back(), kNoAnswerForward);
  EXPECT_EQ(workshop.orders.size(), 2u);
  EXPECT_EQ(pipeline.BrickCount(), 2u);
  EXPECT_THAT(Ask(ChunkRequest(15000)), ElementsAre("IRN3 0/0 at 10000"));
  EXPECT_THAT(Ask(ChunkRequest(115000)), ElementsAre("IRN3 1/0 at 110000"));
}

// The last percentage of a run stays until the next run has another.
TEST_F(WholeRun, ANewRunRepeatsAnOldPercentOnATick) {
  Place("a.zel3", ArchiveOf("a", {10, 20, 30}));
  Place("b.zel3", ArchiveOf("b", {110, 120, 130}));
  Open(folder.Path());
  const Lines first = Ask(ChunkRequest(15000));
  ASSERT_GT(first.size(), 3u);
  const std::string lastProgress = first[first.size() - 3];
  workshop.pullsItself = false;
  EXPECT_THAT(Ask(ChunkRequest(115000)), ElementsAre("Warn W008 0% a.zel3"));
  EXPECT_THAT(Ask(DataTick()), ElementsAre(lastProgress));
}

}  // namespace
