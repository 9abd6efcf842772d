#include <algorithm>

#include "support/reader_test.h"

namespace {

// Requests that arrive while a file is being indexed.
class ParkedRequests : public ReaderTest {
 protected:
  void PlaceTwoArchives() {
    Place("a.zel3", ArchiveOf("a", {10, 20, 30}));
    Place("b.zel3", ArchiveOf("b", {110, 120, 130}));
  }
  void PlaceArchiveWithTwoEvents() {
    ArchiveBuilder builder("a");
    builder.Header({{1}}).Index(10).Data(0x80, 0, "door").Index(20).Data(0x81, 0, "gate");
    Place("a.zel3", builder.Archive());
  }
  Lines ToldAtTheEnd() { return Without("Warn W008", Told()); }
};

TEST_F(ParkedRequests, OnlyTheLatestOfThoseThatCameMeanwhileIsAnswered) {
  PlaceTwoArchives();
  Open(folder.Path());
  Send(ChunkRequest(10000));
  Send(ChunkRequest(20000));
  Send(ChunkRequest(30000));
  EXPECT_THAT(ToldAtTheEnd(), ElementsAre("Cewg", "IRN3 0/2 at 30000"));
}

TEST_F(ParkedRequests, TheOneThatStartedTheRunIsNotKept) {
  PlaceTwoArchives();
  Open(folder.Path());
  Send(ChunkRequest(10000));
  EXPECT_THAT(ToldAtTheEnd(), ElementsAre("Cewg", kNoAnswerForward))
      << "time 0 and type 0, from which every reader starts";
}

TEST_F(ParkedRequests, AnOldRequestIsAnsweredAgainWhenNoneCame) {
  PlaceTwoArchives();
  Open(folder.Path());
  Send(ChunkRequest(10000));
  Send(ChunkRequest(20000));
  EXPECT_THAT(ToldAtTheEnd(), ElementsAre("Cewg", "IRN3 0/1 at 20000"));
  Send(ChunkRequest(115000));
  EXPECT_THAT(ToldAtTheEnd(), ElementsAre("Cewg", "IRN3 0/1 at 20000"));
}

TEST_F(ParkedRequests, AreDroppedDuringARunThatOpeningAFileHasStarted) {
  Open(Place("a.zel3", ArchiveOf("a", {10, 20, 30})));
  Send(ChunkRequest(10000));
  Send(ChunkRequest(20000));
  EXPECT_THAT(ToldAtTheEnd(), ElementsAre("Cewg"));
  EXPECT_THAT(Ask(ChunkRequest(20000)), ElementsAre("IRN3 0/1 at 20000"));
}

TEST_F(ParkedRequests, OneThatIsDroppedDoesNotStartTheStream) {
  Open(Place("a.zel3", ArchiveOf("a", {10, 20, 30})));
  Send(ChunkRequest(10000, kAtOrBefore));
  EXPECT_THAT(ToldAtTheEnd(), ElementsAre("Cewg"));
  EXPECT_THAT(Ask(BytesRequest(MakeIndexId(0, 0), 10000)), IsEmpty());
  Ask(ChunkRequest(10000, kAtOrBefore));
  EXPECT_THAT(Ask(BytesRequest(MakeIndexId(0, 0), 10000)), testing::SizeIs(1));
}

TEST_F(ParkedRequests, ForAnotherUnindexedFileStartTheNextRun) {
  PlaceTwoArchives();
  Open(folder.Path());
  Send(ChunkRequest(15000));
  Send(ChunkRequest(115000));
  const Lines told = Told();
  EXPECT_THAT(Without("Warn W008 ", told), ElementsAre("Cewg", "Cewg", "IRN3 1/0 at 110000"));
  const auto firstEnd = std::find(told.begin(), told.end(), "Cewg");
  ASSERT_NE(firstEnd, told.end());
  EXPECT_EQ(*(firstEnd + 1), "Warn W008 0% a.zel3") << "the next run starts at once";
  EXPECT_EQ(workshop.orders.size(), 2u);
  EXPECT_EQ(pipeline.BrickCount(), 2u);
  EXPECT_THAT(Ask(ChunkRequest(15000)), ElementsAre("IRN3 0/0 at 10000"));
}

TEST_F(ParkedRequests, ForTimesThatAreNotFoundAreAnsweredAtTheEndToo) {
  PlaceTwoArchives();
  Open(folder.Path());
  Send(ChunkRequest(15000));
  Send(ChunkRequest(999000));
  EXPECT_THAT(ToldAtTheEnd(), ElementsAre("Cewg", "IRN3 none at 1002000"));
}

TEST_F(ParkedRequests, TheDirectionOfTheLastPlayCommandHolds) {
  PlaceTwoArchives();
  Open(folder.Path());
  Send(ChunkRequest(15000));
  Send(ChunkRequest(999000));
  Send(Play(0));
  EXPECT_THAT(ToldAtTheEnd(), ElementsAre("rset 25", "Cewg", "IRN3 none at 996000"));
}

TEST_F(ParkedRequests, AnEventListComesBeforeTheAnswer) {
  PlaceArchiveWithTwoEvents();
  Open(folder.Path());
  Send(ChunkRequest(10000));
  Send(ChunkRequest(10000));
  EXPECT_THAT(ToldAtTheEnd(), ElementsAre("Cewg", "Evt 2", "IRN3 0/0 at 10000"));
}

TEST_F(ParkedRequests, TheFirstPlayCommandBringsTheEventsAlsoWhenTheEndOfARunHasBroughtThem) {
  PlaceArchiveWithTwoEvents();
  Open(folder.Path());
  Send(ChunkRequest(10000));
  Send(ChunkRequest(10000));
  EXPECT_THAT(ToldAtTheEnd(), ElementsAre("Cewg", "Evt 2", "IRN3 0/0 at 10000"));
  EXPECT_THAT(Ask(Play()), ElementsAre("Evt 2", "rset 25"));
  EXPECT_THAT(Ask(Play()), ElementsAre("rset 25"));
}

TEST_F(ParkedRequests, TheEndOfARunBringsTheEventsAlsoAfterAPlayCommand) {
  PlaceArchiveWithTwoEvents();
  Open(folder.Path());
  EXPECT_THAT(Ask(Play()), ElementsAre("rset 25"));
  Send(ChunkRequest(10000));
  Send(ChunkRequest(10000));
  EXPECT_THAT(ToldAtTheEnd(), ElementsAre("Cewg", "Evt 2", "IRN3 0/0 at 10000"));
  EXPECT_THAT(Ask(Play()), ElementsAre("rset 25"));
}

TEST_F(ParkedRequests, WithoutAWaitingChunkRequestNoEventListComes) {
  ArchiveBuilder builder("a");
  builder.Header({{1}}).Index(10).Data(0x80, 0, "door").Index(20);
  Open(Place("a.zel3", builder.Archive()));
  EXPECT_THAT(ToldAtTheEnd(), ElementsAre("Cewg"));
}

TEST_F(ParkedRequests, TheArchiveListComesBetweenTheEndAndTheEventList) {
  ArchiveBuilder builder("a");
  builder.Header({{1}}).Index(10).Data(0x80, 0, "door").Index(20);
  Place("a.zel3", builder.Archive(), 2'000'000);
  Place("bad.zel3", Bytes(100, 0x11), 1'000'000);
  Open(folder.Path());
  Send(ChunkRequest(10000));
  Send(ArchivesRequest());
  Send(ChunkRequest(10000));
  EXPECT_THAT(ToldAtTheEnd(),
              ElementsAre("Cewg", "ArcA 1 " + folder.Path(), "Evt 1", "IRN3 0/0 at 10000"));
}

TEST_F(ParkedRequests, ForBytesAreNotAnswered) {
  PlaceTwoArchives();
  Open(folder.Path());
  Send(ChunkRequest(10000));
  Send(BytesRequest(MakeIndexId(0, 0), 10000));
  Send(BytesRequest(MakeIndexId(0, 1), 20000));
  Send(ChunkRequest(10000));
  EXPECT_THAT(ToldAtTheEnd(), ElementsAre("Cewg", "IRN3 0/0 at 10000"));
  EXPECT_THAT(Ask(BytesRequest(MakeIndexId(0, 0), 10000)), testing::SizeIs(1));
}

TEST_F(ParkedRequests, TheOneThatStartsARunAlsoStartsTheStream) {
  PlaceTwoArchives();
  Open(folder.Path());
  Ask(ChunkRequest(10000, kAtOrBefore));
  EXPECT_THAT(Ask(BytesRequest(MakeIndexId(0, 0), 10000)), testing::SizeIs(1));
}

// Only the latest one is held; the one before it is let go.
TEST_F(ParkedRequests, AreHeldOneAtATime) {
  PlaceTwoArchives();
  workshop.pullsItself = false;
  Open(folder.Path());
  Ask(ChunkRequest(15000));
  const long before = cMemBlock::node::LiveCount();
  for (int i = 0; i < 10; ++i) {
    Ask(ChunkRequest(20000));
    Ask(BytesRequest(MakeIndexId(0, 0), 20000));
  }
  EXPECT_EQ(cMemBlock::node::LiveCount(), before);
}

}  // namespace
