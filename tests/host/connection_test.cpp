#include "recording_brick.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Side = RecordingBrick::Side;

// before1, before2 -> middle -> after1, after2
class Connection : public HostTest {
 protected:
  Connection() {
    middle->ConnectAfter(before1.get());
    middle->ConnectAfter(before2.get());
    after1->ConnectAfter(middle.get());
    after2->ConnectAfter(middle.get());
  }

  const Brick before1 = Make("before1");
  const Brick before2 = Make("before2");
  const Brick middle = Make("middle");
  const Brick after1 = Make("after1");
  const Brick after2 = Make("after2");
};

TEST_F(Connection, CarriesDataToTheBricksAfterInTheirOrder) {
  middle->SendData(Block(1));
  EXPECT_TRUE(pipeline.RunUntilIdle());
  EXPECT_THAT(log, ElementsAre("after1.data 1", "after2.data 1"));
  EXPECT_THAT(after1->sides, ElementsAre(Side::kUpstream));
}

TEST_F(Connection, CarriesCommandsToEveryNeighbour) {
  middle->SendCmd(Block(1));
  EXPECT_TRUE(pipeline.RunUntilIdle());
  EXPECT_THAT(log,
              ElementsAre("before1.ctrl 1", "before2.ctrl 1", "after1.ctrl 1", "after2.ctrl 1"));
  EXPECT_THAT(before1->sides, ElementsAre(Side::kDownstream));
  EXPECT_THAT(after1->sides, ElementsAre(Side::kUpstream));
}

TEST_F(Connection, CarriesWhatIsSentUpOnlyToTheBricksBefore) {
  middle->SendUp(Block(1));
  EXPECT_TRUE(pipeline.RunUntilIdle());
  EXPECT_THAT(log, ElementsAre("before1.ctrl 1", "before2.ctrl 1"));
  EXPECT_THAT(before2->sides, ElementsAre(Side::kDownstream));
}

TEST_F(Connection, DropsDataThatNobodyTakes) {
  after1->SendData(Block(1));
  EXPECT_TRUE(pipeline.RunUntilIdle());
  EXPECT_THAT(log, IsEmpty());
}

TEST_F(Connection, GivesADirectlyQueuedBlockNoSide) {
  middle->SendData(Block(1));
  after1->enqueueData(Block(2));
  after1->enqueueControl(Block(3));
  EXPECT_TRUE(pipeline.RunUntilIdle());
  EXPECT_THAT(after1->sides, ElementsAre(Side::kUpstream, Side::kNone, Side::kNone));
}

TEST_F(Connection, SharesTheBlockInsteadOfCopyingIt) {
  const cMemBlock block = Block(1);
  const long liveNodes = cMemBlock::node::LiveCount();
  middle->SendCmd(block);
  EXPECT_EQ(cMemBlock::node::LiveCount(), liveNodes);
  EXPECT_TRUE(pipeline.RunUntilIdle());
  EXPECT_EQ(log.size(), 4U);
}

TEST_F(Connection, IsMadeOnlyBetweenTwoBricksThatAreNotNeighboursYet) {
  middle->ConnectAfter(nullptr);
  middle->ConnectAfter(middle.get());
  after1->ConnectAfter(middle.get());
  middle->ConnectAfter(after1.get());

  middle->SendCmd(Block(1));
  after1->SendData(Block(2));
  EXPECT_TRUE(pipeline.RunUntilIdle());
  EXPECT_THAT(log,
              ElementsAre("before1.ctrl 1", "before2.ctrl 1", "after1.ctrl 1", "after2.ctrl 1"));
}

TEST_F(Connection, ShowsWhetherABrickHasNeighbours) {
  EXPECT_FALSE(before1->HasPreviousBrick());
  EXPECT_TRUE(before1->HasNextBrick());
  EXPECT_TRUE(middle->HasPreviousBrick());
  EXPECT_TRUE(middle->HasNextBrick());
  EXPECT_TRUE(after1->HasPreviousBrick());
  EXPECT_FALSE(after1->HasNextBrick());
}

struct Separation {
  const char* name;
  void (*run)(CBrick& upper, CBrick& lower);
};

class ConnectionSeparation : public Connection, public testing::WithParamInterface<Separation> {};

TEST_P(ConnectionSeparation, EndsTheLinkInBothDirections) {
  GetParam().run(*middle, *after1);
  middle->SendCmd(Block(1));
  after1->SendCmd(Block(2));
  EXPECT_TRUE(pipeline.RunUntilIdle());
  EXPECT_THAT(log, ElementsAre("before1.ctrl 1", "before2.ctrl 1", "after2.ctrl 1"));
  EXPECT_FALSE(after1->HasPreviousBrick());
}

INSTANTIATE_TEST_SUITE_P(
    Both, ConnectionSeparation,
    testing::Values(Separation{"ByTheLower",
                               [](CBrick& upper, CBrick& lower) { lower.DisconnectFrom(&upper); }},
                    Separation{"ByTheUpper",
                               [](CBrick& upper, CBrick& lower) { upper.DisconnectFrom(&lower); }}),
    [](const auto& tested) { return tested.param.name; });

TEST_F(Connection, WhenCutDropsWhatWaitsFromThatNeighbourOnly) {
  before1->SendData(Block(1));
  before2->SendData(Block(2));
  before1->SendCmd(Block(3));
  middle->enqueueControl(Block(4));
  after1->SendCmd(Block(5));
  before1->SendData(Block(6));

  middle->DisconnectFrom(before1.get());
  EXPECT_TRUE(pipeline.RunUntilIdle());
  EXPECT_THAT(log, ElementsAre("middle.data 2", "middle.ctrl 4", "middle.ctrl 5"));
}

TEST_F(Connection, WhenCutLeavesWhatTheNeighbourHasAlreadyBeenSent) {
  middle->SendData(Block(1));
  middle->DisconnectFrom(after1.get());
  EXPECT_TRUE(pipeline.RunUntilIdle());
  EXPECT_THAT(log, ElementsAre("after1.data 1", "after2.data 1"));
}

TEST_F(Connection, WhenCutMakesDroppedBlocksCostNoStep) {
  before1->SendData(Block(1));
  before1->SendData(Block(2));
  before2->SendData(Block(3));
  middle->DisconnectFrom(before1.get());
  EXPECT_TRUE(pipeline.RunUntilIdle(1));
  EXPECT_THAT(log, ElementsAre("middle.data 3"));
}

TEST_F(Connection, DropsTheBlocksAtOnceWhenItIsCut) {
  const long liveNodes = cMemBlock::node::LiveCount();
  before1->SendData(Block(1));
  middle->DisconnectFrom(before1.get());
  EXPECT_EQ(cMemBlock::node::LiveCount(), liveNodes);
}

TEST_F(Connection, IsNotTouchedByDisconnectingFromNullItselfOrAStranger) {
  const Brick stranger = Make("stranger");
  middle->DisconnectFrom(nullptr);
  middle->DisconnectFrom(middle.get());
  middle->DisconnectFrom(stranger.get());
  middle->SendCmd(Block(1));
  EXPECT_TRUE(pipeline.RunUntilIdle());
  EXPECT_THAT(log,
              ElementsAre("before1.ctrl 1", "before2.ctrl 1", "after1.ctrl 1", "after2.ctrl 1"));
}

TEST_F(Connection, CanBeCutToAllNeighbours) {
  before1->SendData(Block(1));
  after1->SendCmd(Block(2));
  middle->DisconnectFromAll();
  middle->SendCmd(Block(3));
  EXPECT_TRUE(pipeline.RunUntilIdle());
  EXPECT_THAT(log, IsEmpty());
  EXPECT_FALSE(middle->HasPreviousBrick());
  EXPECT_FALSE(middle->HasNextBrick());
  EXPECT_FALSE(before2->HasNextBrick());
  EXPECT_FALSE(after2->HasPreviousBrick());
}

TEST_F(Connection, CanBeMadeAgain) {
  after1->DisconnectFrom(middle.get());
  after1->ConnectAfter(middle.get());
  middle->SendData(Block(1));
  EXPECT_TRUE(pipeline.RunUntilIdle());
  EXPECT_THAT(log, ElementsAre("after2.data 1", "after1.data 1"));
}

}  // namespace
