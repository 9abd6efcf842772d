#include "support/reader_test.h"

namespace {

// One archive with entries at 10, 20 and 30 index units, ready to show previews.
class Preview : public ReaderTest {
 protected:
  void OpenArchive() {
    const std::string path = Place("cam.zel3", NumberedBytes(401));
    IndexCache{{{10, 100}, {20, 200}, {30, 300}}}.WriteBeside(path);
    Open(path);
    Ask(ChunkRequest(10000));
  }
  Lines PreviewOf(std::uint64_t time, std::uint64_t endTime = ~std::uint64_t{0}) {
    return Ask(PreviewRequest(time, endTime));
  }
};

TEST_F(Preview, NamesTheEntryAtATime) {
  OpenArchive();
  EXPECT_THAT(PreviewOf(10000), ElementsAre("IRN3 0/0 at 10000 preview"));
  EXPECT_THAT(PreviewOf(20000), ElementsAre("IRN3 0/1 at 20000 preview"));
  EXPECT_THAT(PreviewOf(30000), ElementsAre("IRN3 0/2 at 30000 preview"));
}

TEST_F(Preview, BetweenEntriesNamesTheNextOne) {
  OpenArchive();
  EXPECT_THAT(PreviewOf(10001), ElementsAre("IRN3 0/1 at 20000 preview"));
  EXPECT_THAT(PreviewOf(29999), ElementsAre("IRN3 0/2 at 30000 preview"));
}

TEST_F(Preview, BehindTheLastEntryIsNothingToShow) {
  OpenArchive();
  EXPECT_THAT(PreviewOf(30001), IsEmpty());
  EXPECT_THAT(PreviewOf(36000), IsEmpty());
  EXPECT_THAT(PreviewOf(99000), IsEmpty());
}

TEST_F(Preview, BeforeTheFirstEntryOfAllIsNothingToShow) {
  OpenArchive();
  EXPECT_THAT(PreviewOf(9999), IsEmpty());
  EXPECT_THAT(PreviewOf(0), IsEmpty());
}

TEST_F(Preview, InAGapNamesTheFirstEntryBehindIt) {
  IndexCache{{{10, 100}, {20, 200}}}.WriteBeside(Place("a.zel3", NumberedBytes(401)));
  IndexCache{{{110, 100}, {120, 200}}}.WriteBeside(Place("b.zel3", NumberedBytes(401)));
  Open(folder.Path());
  Ask(ChunkRequest(10000));
  EXPECT_THAT(PreviewOf(50000), ElementsAre("IRN3 1/0 at 110000 preview"));
  EXPECT_THAT(PreviewOf(25000), ElementsAre("IRN3 1/0 at 110000 preview"))
      << "behind the last entry of a file as well";
}

// The next entry is looked for from the time of the entry found, not from the time asked for.
TEST_F(Preview, WhereTimesRunBackwardNamesTheEntryThatFollowsTheTimeFound) {
  const std::string path = Place("cam.zel3", NumberedBytes(501));
  IndexCache{{{10, 100}, {20, 200}, {15, 300}, {40, 400}}}.WriteBeside(path);
  Open(path);
  Ask(ChunkRequest(10000));
  EXPECT_THAT(PreviewOf(30000), ElementsAre("IRN3 0/1 at 20000 preview"));
}

TEST_F(Preview, WhereFilesOverlapNamesTheEntryThatFollowsTheTimeFound) {
  IndexCache{{{100, 100}, {200, 200}, {300, 300}}}.WriteBeside(Place("a.zel3", NumberedBytes(401)));
  IndexCache{{{150, 100}, {250, 200}}}.WriteBeside(Place("b.zel3", NumberedBytes(301)));
  Open(folder.Path());
  Ask(ChunkRequest(100000));
  EXPECT_THAT(PreviewOf(260000), ElementsAre("IRN3 1/1 at 250000 preview"));
}

TEST_F(Preview, TellsWhenTheEndThatWasAskedForIsReached) {
  OpenArchive();
  EXPECT_THAT(PreviewOf(15000, 20001), ElementsAre("IRN3 0/1 at 20000 preview"));
  EXPECT_THAT(PreviewOf(15000, 20000), ElementsAre("IRN3 0/1 at 20000 preview reached"));
  EXPECT_THAT(PreviewOf(15000, 19999), ElementsAre("IRN3 0/1 at 20000 preview reached"));
  EXPECT_THAT(PreviewOf(15000, 0), ElementsAre("IRN3 0/1 at 20000 preview reached"));
}

TEST_F(Preview, MarksItsAnswerWithOne) {
  OpenArchive();
  Send(PreviewRequest(20000, 0));
  const std::vector<cMemBlock> blocks = Received();
  ASSERT_EQ(blocks.size(), 1u);
  const ChunkAnswerBlock answer = ChunkAnswerBlock::View(blocks[0]);
  EXPECT_EQ(answer.Size(), 22u);
  EXPECT_EQ(answer.Record().info.preview, 1);
  EXPECT_EQ(answer.Record().info.timeReached, 1);
}

TEST_F(Preview, GoesForwardWhateverTheDirectionOfPlay) {
  OpenArchive();
  Ask(Play(0));
  Ask(ChunkRequest(10000));
  EXPECT_THAT(PreviewOf(10001), ElementsAre("IRN3 0/1 at 20000 preview"));
}

TEST_F(Preview, IsNotMixedWithTheAnswersOfTimeRequests) {
  OpenArchive();
  PreviewOf(20000, 0);
  EXPECT_THAT(Ask(ChunkRequest(20000)), ElementsAre("IRN3 0/1 at 20000"));
  EXPECT_THAT(Ask(ChunkRequest(99000)), ElementsAre("IRN3 none at 102000"));
}

TEST_F(Preview, IsIgnoredBeforeATimeWasChosen) {
  const std::string path = Place("cam.zel3", NumberedBytes(401));
  IndexCache{{{10, 100}, {20, 200}, {30, 300}}}.WriteBeside(path);
  Open(path);
  EXPECT_THAT(PreviewOf(20000), IsEmpty());
  Ask(ChunkRequest(10000, kNeighbour));
  EXPECT_THAT(PreviewOf(20000), IsEmpty());
  Ask(ChunkRequest(10000, kAtOrBefore));
  EXPECT_THAT(PreviewOf(20000), ElementsAre("IRN3 0/1 at 20000 preview"));
}

TEST_F(Preview, IsIgnoredDuringARun) {
  Place("a.zel3", ArchiveOf("a", {10, 20, 30}));
  IndexCache{{{110, 100}, {120, 200}}}.WriteBeside(Place("b.zel3", NumberedBytes(401)));
  workshop.pullsItself = false;
  Open(folder.Path());
  Ask(ChunkRequest(115000));
  EXPECT_THAT(PreviewOf(120000), ElementsAre("IRN3 1/1 at 120000 preview"));
  Ask(ChunkRequest(15000));
  ASSERT_NE(workshop.current, nullptr);
  EXPECT_THAT(PreviewOf(120000), IsEmpty());
}

TEST_F(Preview, NeverStartsARun) {
  Place("a.zel3", ArchiveOf("a", {10, 20, 30}));
  IndexCache{{{110, 100}, {120, 200}}}.WriteBeside(Place("b.zel3", NumberedBytes(401)));
  Open(folder.Path());
  Ask(ChunkRequest(115000));
  EXPECT_THAT(PreviewOf(15000), IsEmpty());
  EXPECT_THAT(PreviewOf(10000), IsEmpty());
  EXPECT_TRUE(workshop.orders.empty());
}

TEST_F(Preview, IsNotShownFromTheNextFileWhileThatHasNoFullIndex) {
  const std::string path = Place("a.zel3", NumberedBytes(401));
  IndexCache{{{10, 100}, {20, 200}, {30, 300}}}.WriteBeside(path);
  Place("b.zel3", ArchiveOf("b", {110, 120, 130}));
  Open(folder.Path());
  Ask(ChunkRequest(10000));
  EXPECT_THAT(PreviewOf(35000), IsEmpty());
  EXPECT_TRUE(workshop.orders.empty());
}

TEST_F(Preview, BytesForItComeLikeAnyOthers) {
  OpenArchive();
  EXPECT_THAT(Ask(BytesRequest(MakeIndexId(0, 1), 20000, 1)), ElementsAre("RDat 213"));
  EXPECT_THAT(Ask(BytesRequest(MakeIndexId(0, 2), 30000, 0)), ElementsAre("RDat 113"));
}

}  // namespace
