#include "recording_brick.h"

#include <optional>

#include "blocks/commands.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class BrickLifetime : public HostTest {
 protected:
  // A brick that ends by 'Kill': the pipeline destroys it.
  RecordingBrick* MakeMortal(const std::string& name) { return Make(name).release(); }
};

TEST_F(BrickLifetime, EndsByKillWithoutOnCtrlSeeingIt) {
  RecordingBrick* const a = MakeMortal("a");
  EXPECT_EQ(pipeline.BrickCount(), 1U);
  a->enqueueControl(KillBlock::New());
  EXPECT_THAT(log, IsEmpty());

  EXPECT_TRUE(pipeline.RunUntilIdle());
  EXPECT_THAT(log, ElementsAre("a gone"));
  EXPECT_EQ(pipeline.BrickCount(), 0U);
}

TEST_F(BrickLifetime, KillTakesItsTurn) {
  RecordingBrick* const a = MakeMortal("a");
  a->enqueueData(Block(1));
  a->enqueueControl(KillBlock::New());
  a->enqueueData(Block(2));
  a->enqueueControl(Block(3));

  EXPECT_TRUE(pipeline.RunUntilIdle());
  EXPECT_THAT(log, ElementsAre("a.data 1", "a gone"));
}

TEST_F(BrickLifetime, KillInTheDataQueueIsData) {
  const Brick a = Make("a");
  a->enqueueData(KillBlock::New());
  EXPECT_TRUE(pipeline.RunUntilIdle());
  EXPECT_THAT(log, ElementsAre("a.data Kill"));
}

TEST_F(BrickLifetime, OneKillBlockMayEndSeveralBricks) {
  RecordingBrick* const a = MakeMortal("a");
  RecordingBrick* const b = MakeMortal("b");
  const cMemBlock kill = KillBlock::New();
  b->enqueueControl(kill);
  a->enqueueControl(kill);
  EXPECT_TRUE(pipeline.RunUntilIdle());
  EXPECT_THAT(log, ElementsAre("b gone", "a gone"));
}

TEST_F(BrickLifetime, ASecondKillIsHarmless) {
  RecordingBrick* const a = MakeMortal("a");
  a->enqueueControl(KillBlock::New());
  a->enqueueControl(KillBlock::New());
  EXPECT_TRUE(pipeline.RunUntilIdle());
  EXPECT_THAT(log, ElementsAre("a gone"));
}

TEST_F(BrickLifetime, AKilledBrickIsUnlinked) {
  const Brick before = Make("before");
  RecordingBrick* const mortal = MakeMortal("mortal");
  const Brick after = Make("after");
  mortal->ConnectAfter(before.get());
  after->ConnectAfter(mortal);
  mortal->enqueueControl(KillBlock::New());
  EXPECT_TRUE(pipeline.RunUntilIdle());

  before->SendData(Block(1));
  after->SendCmd(Block(2));
  EXPECT_TRUE(pipeline.RunUntilIdle());
  EXPECT_THAT(log, ElementsAre("mortal gone"));
  EXPECT_FALSE(before->HasNextBrick());
  EXPECT_FALSE(after->HasPreviousBrick());
}

TEST_F(BrickLifetime, ABrickMayKillANeighbourFromItsOwnCallback) {
  const Brick owner = Make("owner");
  RecordingBrick* const child = MakeMortal("child");
  owner->ConnectAfter(child);
  owner->reaction = [&] {
    owner->DisconnectFrom(child);
    child->enqueueControl(KillBlock::New());
    owner->reaction = [] {};
  };
  child->SendData(Block(1));
  child->SendData(Block(2));
  EXPECT_TRUE(pipeline.RunUntilIdle());
  EXPECT_THAT(log, ElementsAre("owner.data 1", "child gone"));
}

TEST_F(BrickLifetime, TicketsOfADeadBrickAreForgotten) {
  Brick a = Make("a");
  const Brick b = Make("b");
  a->enqueueData(Block(1));
  b->enqueueData(Block(2));
  a->enqueueControl(Block(3));
  a.reset();
  EXPECT_TRUE(pipeline.RunUntilIdle());
  EXPECT_THAT(log, ElementsAre("a gone", "b.data 2"));
}

TEST_F(BrickLifetime, ABrickDoesNotInheritTheTicketsOfADeadOne) {
  Brick a = Make("a");
  a->enqueueData(Block(1));
  a.reset();
  const Brick successor = Make("successor");
  EXPECT_FALSE(pipeline.RunOne());
}

TEST_F(BrickLifetime, WhatADeadBrickHasSentStillArrives) {
  Brick a = Make("a");
  const Brick b = Make("b");
  b->ConnectAfter(a.get());
  a->SendData(Block(1));
  a.reset();
  EXPECT_FALSE(b->HasPreviousBrick());
  EXPECT_TRUE(pipeline.RunUntilIdle());
  EXPECT_THAT(log, ElementsAre("a gone", "b.data 1"));
  EXPECT_THAT(b->sides, ElementsAre(RecordingBrick::Side::kUpstream));
}

TEST_F(BrickLifetime, ABrickDestroyedByAnotherGetsNothingMore) {
  const Brick a = Make("a");
  Brick b = Make("b");
  b->ConnectAfter(a.get());
  a->reaction = [&] { b.reset(); };
  b->enqueueControl(Block(1));
  a->enqueueControl(Block(2));
  b->enqueueControl(Block(3));
  EXPECT_TRUE(pipeline.RunUntilIdle());
  EXPECT_THAT(log, ElementsAre("b.ctrl 1", "a.ctrl 2", "b gone"));
}

TEST_F(BrickLifetime, DestructionDropsTheWaitingBlocks) {
  const long liveNodes = cMemBlock::node::LiveCount();
  Brick a = Make("a");
  a->enqueueData(Block(1));
  a->enqueueControl(Block(2));
  a.reset();
  EXPECT_EQ(cMemBlock::node::LiveCount(), liveNodes);
}

// Sends its child 'Kill' when it goes, as a source with its own helpers does.
class Parent : public RecordingBrick {
 public:
  Parent(Log* log, CBrick* child) : RecordingBrick("parent", log), mChild(child) {}
  ~Parent() override { mChild->enqueueControl(KillBlock::New()); }

 private:
  CBrick* mChild;
};

TEST_F(BrickLifetime, AnApplicationEndsItsBricksAndThenTheirChildrenEnd) {
  Brick client = Make("client");
  RecordingBrick* const child = MakeMortal("child");
  auto parent = std::make_unique<Parent>(&log, child);
  parent->Create(Config());
  parent->ConnectAfter(child);
  client->ConnectAfter(parent.get());

  parent.reset();
  EXPECT_TRUE(pipeline.RunUntilIdle());
  client.reset();
  EXPECT_THAT(log, ElementsAre("parent gone", "child gone", "client gone"));
  EXPECT_EQ(pipeline.BrickCount(), 0U);
}

TEST_F(BrickLifetime, MayExceedThatOfThePipeline) {
  std::optional<Pipeline> early;
  early.emplace();
  TBrickConfig config = {};
  config.ownerContext = early->Id();
  Brick a = MakeUncreated("a");
  const Brick b = MakeUncreated("b");
  a->Create(config);
  b->Create(config);
  b->ConnectAfter(a.get());
  a->SendData(Block(1));
  early.reset();

  a->SendData(Block(2));
  a.reset();
  b->Create(Config());
  EXPECT_TRUE(pipeline.RunUntilIdle());
  EXPECT_THAT(log, ElementsAre("a gone", "b.data 1", "b.data 2"));
}

TEST_F(BrickLifetime, AnEndedPipelineIsNotFoundUnderItsOldId) {
  std::uint32_t oldId = 0;
  {
    const Pipeline early;
    oldId = early.Id();
  }
  const Pipeline late;
  EXPECT_NE(late.Id(), oldId);
  TBrickConfig config = {};
  config.ownerContext = oldId;
  const Brick a = MakeUncreated("a");
  a->Create(config);
  EXPECT_EQ(late.BrickCount(), 0U);
  EXPECT_EQ(a->OwnerContext(), oldId);
}

}  // namespace
