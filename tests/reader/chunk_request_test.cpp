#include "support/reader_test.h"

namespace {

constexpr std::uint64_t kBelowZero = ~std::uint64_t{0};

// Which entry holds a time: answers from indexes that are complete.
class ChunkRequests : public ReaderTest {
 protected:
  // One archive with the entries at these index times, 100 bytes apart.
  void OpenWithEntriesAt(const std::vector<std::uint32_t>& indexTimes) {
    Open(PlaceCached("cam.zel3", indexTimes));
  }
  std::string PlaceCached(const std::string& name, const std::vector<std::uint32_t>& indexTimes) {
    IndexCache cache;
    std::uint32_t offset = 0;
    for (const std::uint32_t time : indexTimes) cache.entries.push_back({time, offset += 100});
    const std::string path = Place(name, NumberedBytes(offset + 101));
    cache.WriteBeside(path);
    return path;
  }
  void PlayBackward() { Ask(Play(0)); }

  Lines AtOrBefore(std::uint64_t time) { return Ask(ChunkRequest(time, kAtOrBefore)); }
  Lines Neighbour(std::uint64_t time) { return Ask(ChunkRequest(time, kNeighbour)); }
};

TEST_F(ChunkRequests, AreAnsweredByOneNotificationOf22Bytes) {
  OpenWithEntriesAt({10, 20, 30});
  Send(ChunkRequest(20000));
  const std::vector<cMemBlock> blocks = Received();
  ASSERT_EQ(blocks.size(), 1u);
  EXPECT_EQ(blocks[0].GetType(), FourCc("ntfy"));
  const ChunkAnswerBlock answer = ChunkAnswerBlock::View(blocks[0]);
  EXPECT_EQ(answer.Size(), 22u);
  EXPECT_EQ(answer.Record().kind, FourCc("IRN3"));
  EXPECT_EQ(answer.Record().info.indexId, 1u);
  EXPECT_EQ(answer.Record().info.time, 20000u);
  EXPECT_EQ(answer.Record().info.preview, 0);
  EXPECT_EQ(answer.Record().info.timeReached, 0);
}

TEST_F(ChunkRequests, FindTheEntryAtOrBeforeATime) {
  OpenWithEntriesAt({10, 20, 30});
  EXPECT_THAT(AtOrBefore(10000), ElementsAre("IRN3 0/0 at 10000"));
  EXPECT_THAT(AtOrBefore(19999), ElementsAre("IRN3 0/0 at 10000"));
  EXPECT_THAT(AtOrBefore(20000), ElementsAre("IRN3 0/1 at 20000"));
  EXPECT_THAT(AtOrBefore(29999), ElementsAre("IRN3 0/1 at 20000"));
  EXPECT_THAT(AtOrBefore(30000), ElementsAre("IRN3 0/2 at 30000"));
  EXPECT_THAT(AtOrBefore(35000), ElementsAre("IRN3 0/2 at 30000"));
  EXPECT_THAT(AtOrBefore(36000), ElementsAre("IRN3 0/2 at 30000"));
}

TEST_F(ChunkRequests, FindTheNextEntryPlayingForward) {
  OpenWithEntriesAt({10, 20, 30});
  EXPECT_THAT(Neighbour(10000), ElementsAre("IRN3 0/1 at 20000"));
  EXPECT_THAT(Neighbour(20000), ElementsAre("IRN3 0/2 at 30000"));
  EXPECT_THAT(Neighbour(30000), ElementsAre("IRN3 none at 33000"));
  EXPECT_THAT(Neighbour(35000), ElementsAre("IRN3 none at 38000"));
}

TEST_F(ChunkRequests, FindTheEntryBeforePlayingBackward) {
  OpenWithEntriesAt({10, 20, 30});
  PlayBackward();
  EXPECT_THAT(Neighbour(35000), ElementsAre("IRN3 0/1 at 20000"));
  EXPECT_THAT(Neighbour(30000), ElementsAre("IRN3 0/1 at 20000"));
  EXPECT_THAT(Neighbour(20000), ElementsAre("IRN3 0/0 at 10000"));
  EXPECT_THAT(Neighbour(10000), ElementsAre("IRN3 none at 7000")) << "no entry before the first";
  EXPECT_THAT(AtOrBefore(25000), ElementsAre("IRN3 0/1 at 20000")) << "the direction plays no part";
}

TEST_F(ChunkRequests, TakeTheLaterOfTwoEntriesOfOneTime) {
  OpenWithEntriesAt({10, 10, 20});
  EXPECT_THAT(AtOrBefore(10000), ElementsAre("IRN3 0/1 at 10000"));
}

TEST_F(ChunkRequests, KnowTheOnlyEntryOfAFile) {
  OpenWithEntriesAt({10});
  EXPECT_THAT(AtOrBefore(10000), ElementsAre("IRN3 0/0 at 10000"));
  EXPECT_THAT(AtOrBefore(16000), ElementsAre("IRN3 0/0 at 10000"));
  EXPECT_THAT(AtOrBefore(16001), ElementsAre("IRN3 none at 19001"));
  PlayBackward();
  EXPECT_THAT(Neighbour(10000), ElementsAre("IRN3 0/4294967295 at 10000"))
      << "the entry before the first, as it stands";
}

TEST_F(ChunkRequests, OtherKindsFindNothing) {
  OpenWithEntriesAt({10, 20, 30});
  for (const std::uint32_t type : {0u, 3u, 256u, 0xFFFFFFFFu}) {
    EXPECT_THAT(Ask(ChunkRequest(20000, type)), ElementsAre("IRN3 none at 23000")) << type;
  }
}

TEST_F(ChunkRequests, OutsideTheArchiveTellWhereToAskAgain) {
  OpenWithEntriesAt({10, 20, 30});
  EXPECT_THAT(AtOrBefore(0), ElementsAre("IRN3 none at 3000"));
  EXPECT_THAT(AtOrBefore(9999), ElementsAre("IRN3 none at 12999"));
  EXPECT_THAT(AtOrBefore(36001), ElementsAre("IRN3 none at 39001"));
  EXPECT_THAT(AtOrBefore(kBelowZero), ElementsAre("IRN3 none at 2999"));
  PlayBackward();
  EXPECT_THAT(AtOrBefore(9999), ElementsAre("IRN3 none at 6999"));
  EXPECT_THAT(AtOrBefore(2000), ElementsAre("IRN3 none at 18446744073709550616"));
}

TEST_F(ChunkRequests, AFreshReaderPlaysForward) {
  OpenWithEntriesAt({10, 20, 30});
  EXPECT_THAT(AtOrBefore(2000), ElementsAre("IRN3 none at 5000"));
}

TEST_F(ChunkRequests, GoOnInTheNextFile) {
  PlaceCached("a.zel3", {10, 20, 30});
  PlaceCached("b.zel3", {100, 110});
  Open(folder.Path());
  EXPECT_THAT(AtOrBefore(115000), ElementsAre("IRN3 1/1 at 110000"));
  EXPECT_THAT(Neighbour(30000), ElementsAre("IRN3 1/0 at 100000"));
  EXPECT_THAT(Neighbour(35000), ElementsAre("IRN3 1/0 at 100000"));
  PlayBackward();
  EXPECT_THAT(Neighbour(100000), ElementsAre("IRN3 0/2 at 30000"));
  EXPECT_THAT(Neighbour(105000), ElementsAre("IRN3 0/2 at 30000"));
}

TEST_F(ChunkRequests, InAGapFindTheFileBehindIt) {
  PlaceCached("a.zel3", {100, 150, 194});
  PlaceCached("b.zel3", {300, 350});
  PlaceCached("c.zel3", {500, 550});
  Open(folder.Path());
  EXPECT_THAT(AtOrBefore(250000), ElementsAre("IRN3 1/0 at 300000"));
  EXPECT_THAT(Neighbour(250000), ElementsAre("IRN3 1/0 at 300000"));
  EXPECT_THAT(AtOrBefore(200001), ElementsAre("IRN3 1/0 at 300000"));
  EXPECT_THAT(AtOrBefore(299999), ElementsAre("IRN3 1/0 at 300000"));
  PlayBackward();
  EXPECT_THAT(AtOrBefore(250000), ElementsAre("IRN3 1/0 at 300000"));
}

// Backward the lowest file wins, and its first entry is named with the time of its last one.
TEST_F(ChunkRequests, InAGapBackwardNameTheFirstFileByItsLastTime) {
  PlaceCached("a.zel3", {100, 150, 194});
  PlaceCached("b.zel3", {300, 350});
  PlaceCached("c.zel3", {500, 550});
  Open(folder.Path());
  PlayBackward();
  EXPECT_THAT(Neighbour(250000), ElementsAre("IRN3 0/0 at 194000"));
  EXPECT_THAT(Neighbour(400000), ElementsAre("IRN3 0/0 at 194000"));
}

TEST_F(ChunkRequests, WhereFilesOverlapTheLaterOneIsTaken) {
  PlaceCached("a.zel3", {100, 200, 300});
  PlaceCached("b.zel3", {150, 250});
  Open(folder.Path());
  EXPECT_THAT(AtOrBefore(160000), ElementsAre("IRN3 1/0 at 150000"));
  EXPECT_THAT(AtOrBefore(140000), ElementsAre("IRN3 0/0 at 100000"));
  EXPECT_THAT(AtOrBefore(290000), ElementsAre("IRN3 0/1 at 200000"));
}

TEST_F(ChunkRequests, LargeIndexTimesDoNotOverflow) {
  OpenWithEntriesAt({4'000'000'000, 4'000'000'010});
  EXPECT_THAT(AtOrBefore(4'000'000'000'000), ElementsAre("IRN3 0/0 at 4000000000000"));
}

TEST_F(ChunkRequests, AFoundFileWithoutFullIndexStartsARunInsteadOfAnAnswer) {
  Place("cam.zel3", ArchiveOf("cam", {10, 20, 30}));
  workshop.pullsItself = false;
  Open(folder.Path());
  EXPECT_THAT(AtOrBefore(15000), ElementsAre("Warn W008 0% cam.zel3"));
  EXPECT_EQ(workshop.orders.size(), 1u);
}

TEST_F(ChunkRequests, ATimeOutsideNeverStartsARun) {
  Place("cam.zel3", ArchiveOf("cam", {10, 20, 30}));
  Open(folder.Path());
  EXPECT_THAT(AtOrBefore(31000), ElementsAre("IRN3 none at 34000"));
  EXPECT_TRUE(workshop.orders.empty());
}

}  // namespace
