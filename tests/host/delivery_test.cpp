#include "recording_brick.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Delivery : public HostTest {};

TEST_F(Delivery, FollowsTheOrderOfSendingAcrossBothQueuesAndAllBricks) {
  const Brick a = Make("a");
  const Brick b = Make("b");
  b->enqueueData(Block(1));
  a->enqueueControl(Block(2));
  b->enqueueControl(Block(3));
  a->enqueueData(Block(4));
  b->enqueueData(Block(5));
  a->enqueueControl(Block(6));

  EXPECT_TRUE(pipeline.RunUntilIdle());
  EXPECT_THAT(log,
              ElementsAre("b.data 1", "a.ctrl 2", "b.ctrl 3", "a.data 4", "b.data 5", "a.ctrl 6"));
}

TEST_F(Delivery, PutsWhatACallbackSendsAfterWhatWaitsAlready) {
  const Brick a = Make("a");
  const Brick b = Make("b");
  b->ConnectAfter(a.get());
  a->reaction = [&] { a->SendData(Block(3)); };
  a->enqueueControl(Block(1));
  b->enqueueData(Block(2));

  EXPECT_TRUE(pipeline.RunUntilIdle());
  EXPECT_THAT(log, ElementsAre("a.ctrl 1", "b.data 2", "b.data 3"));
}

TEST_F(Delivery, NeverHappensInsideASend) {
  const Brick a = Make("a");
  const Brick b = Make("b");
  b->ConnectAfter(a.get());
  std::size_t seenDuringSends = 0;
  a->reaction = [&] {
    a->SendData(Block(2));
    a->SendCmd(Block(3));
    a->enqueueControl(Block(4));
    a->reaction = [] {};
    seenDuringSends = log.size();
  };
  a->enqueueControl(Block(1));

  EXPECT_TRUE(pipeline.RunUntilIdle());
  EXPECT_EQ(seenDuringSends, 1U);
  EXPECT_THAT(log, ElementsAre("a.ctrl 1", "b.data 2", "b.ctrl 3", "a.ctrl 4"));
}

TEST_F(Delivery, NeverHappensInsideCreateConnectionsAndDestructors) {
  const Brick a = Make("a");
  Brick b = MakeUncreated("b");
  b->ConnectAfter(a.get());
  a->enqueueData(Block(1));
  b->creation = [&] {
    b->SendCmd(Block(2));
    return 1;
  };
  b->Create(Config());
  b->DisconnectFrom(a.get());
  b->ConnectAfter(a.get());
  b.reset();
  EXPECT_THAT(log, ElementsAre("b gone"));

  EXPECT_TRUE(pipeline.RunUntilIdle());
  EXPECT_THAT(log, ElementsAre("b gone", "a.data 1", "a.ctrl 2"));
}

TEST_F(Delivery, HandsOnOneBlockPerStep) {
  const Brick a = Make("a");
  a->enqueueData(Block(1));
  a->enqueueData(Block(2));

  EXPECT_TRUE(pipeline.RunOne());
  EXPECT_THAT(log, ElementsAre("a.data 1"));
  EXPECT_TRUE(pipeline.RunOne());
  EXPECT_THAT(log, ElementsAre("a.data 1", "a.data 2"));
  EXPECT_FALSE(pipeline.RunOne());
}

TEST_F(Delivery, BringsNotificationsOfBothQueuesToOnNotify) {
  const Brick a = Make("a");
  a->enqueueControl(Notice(1));
  a->enqueueData(Notice(2));

  EXPECT_TRUE(pipeline.RunUntilIdle());
  EXPECT_THAT(log, ElementsAre("a.notify 1", "a.notify 2"));
}

TEST_F(Delivery, ForwardsNothingByItself) {
  const Brick a = Make("a");
  const Brick b = Make("b");
  const Brick c = Make("c");
  b->ConnectAfter(a.get());
  c->ConnectAfter(b.get());
  a->SendData(Block(1));
  a->SendData(Notice(2));
  a->SendCmd(Block(3));

  EXPECT_TRUE(pipeline.RunUntilIdle());
  EXPECT_THAT(log, ElementsAre("b.data 1", "b.notify 2", "b.ctrl 3"));
}

TEST_F(Delivery, WaitsForCreateAndThenKeepsTheOrderOfSending) {
  const Brick a = MakeUncreated("a");
  a->enqueueData(Block(1));
  a->enqueueControl(Block(2));
  a->enqueueControl(Block(3));
  a->enqueueData(Block(4));
  EXPECT_TRUE(pipeline.RunUntilIdle());
  EXPECT_THAT(log, IsEmpty());

  a->Create(Config());
  EXPECT_TRUE(pipeline.RunUntilIdle());
  EXPECT_THAT(log, ElementsAre("a.data 1", "a.ctrl 2", "a.ctrl 3", "a.data 4"));
}

TEST_F(Delivery, NeverComesToABrickThatNamesNoPipeline) {
  const Brick a = MakeUncreated("a");
  TBrickConfig config = Config();
  config.ownerContext = 0;
  a->Create(config);
  a->enqueueData(Block(1));

  EXPECT_TRUE(pipeline.RunUntilIdle());
  EXPECT_THAT(log, IsEmpty());
  EXPECT_EQ(pipeline.BrickCount(), 0U);
}

TEST_F(Delivery, FollowsABrickIntoThePipelineThatItNamesLater) {
  Pipeline other;
  const Brick a = Make("a");
  a->enqueueData(Block(1));
  TBrickConfig config = {};
  config.ownerContext = other.Id();
  a->Create(config);

  EXPECT_TRUE(pipeline.RunUntilIdle());
  EXPECT_THAT(log, IsEmpty());
  EXPECT_TRUE(other.RunUntilIdle());
  EXPECT_THAT(log, ElementsAre("a.data 1"));
}

TEST_F(Delivery, LeavesTheBricksOfOtherPipelinesAlone) {
  Pipeline other;
  EXPECT_NE(other.Id(), pipeline.Id());
  const Brick a = Make("a");
  a->enqueueData(Block(1));

  EXPECT_FALSE(other.RunOne());
  EXPECT_THAT(log, IsEmpty());
}

TEST_F(Delivery, ReportsAPipelineThatNeverIdles) {
  const Brick a = Make("a");
  a->reaction = [&] { a->enqueueControl(Block(1)); };
  a->enqueueControl(Block(1));

  EXPECT_FALSE(pipeline.RunUntilIdle(100));
  EXPECT_EQ(log.size(), 100U);
}

TEST_F(Delivery, IsIdleWhenTheLimitJustSuffices) {
  const Brick a = Make("a");
  a->enqueueControl(Block(1));
  a->enqueueControl(Block(2));

  EXPECT_FALSE(pipeline.RunUntilIdle(0));
  EXPECT_FALSE(pipeline.RunUntilIdle(1));
  EXPECT_TRUE(pipeline.RunUntilIdle(1));
  EXPECT_TRUE(pipeline.RunUntilIdle(0));
}

TEST_F(Delivery, HandsOnNothingWhenNothingWaits) {
  const Brick a = Make("a");
  a->DoCtrl();
  a->DoData();
  EXPECT_THAT(log, IsEmpty());
}

TEST_F(Delivery, SkipsABlockThatTheBrickWasMadeToTakeEarlier) {
  const Brick a = Make("a");
  a->enqueueData(Block(1));
  a->enqueueControl(Block(2));
  a->enqueueData(Block(3));
  a->DoData();
  EXPECT_THAT(log, ElementsAre("a.data 1"));

  EXPECT_TRUE(pipeline.RunUntilIdle());
  EXPECT_THAT(log, ElementsAre("a.data 1", "a.ctrl 2", "a.data 3"));
}

}  // namespace
