#include "recording_brick.h"
#include "slot_of.h"

namespace {

struct Slot {
  const char* name;
  std::size_t expected;
  std::size_t actual;
};

// Names protected functions too.
struct Slots : CBrick {
  static std::vector<Slot> All() {
    return {
        {"DoCtrl", 2, SlotOf(&Slots::DoCtrl)},
        {"DoData", 3, SlotOf(&Slots::DoData)},
        {"ConnectAfter", 4, SlotOf(&Slots::ConnectAfter)},
        {"ConnectOwned", 5, SlotOf(&Slots::ConnectOwned)},
        {"DisconnectFrom", 6, SlotOf(&Slots::DisconnectFrom)},
        {"DisconnectFromAll", 7, SlotOf(&Slots::DisconnectFromAll)},
        {"Create", 8, SlotOf(&Slots::Create)},
        {"SetStopped", 9, SlotOf(&Slots::SetStopped)},
        {"HasNextBrick", 10, SlotOf(&Slots::HasNextBrick)},
        {"HasPreviousBrick", 11, SlotOf(&Slots::HasPreviousBrick)},
        {"GetSignature", 12, SlotOf(&Slots::GetSignature)},
        {"IsKnownInput", 13, SlotOf(&Slots::IsKnownInput)},
        {"IsKnownOutput", 14, SlotOf(&Slots::IsKnownOutput)},
        {"enqueueControl", 15, SlotOf(&Slots::enqueueControl)},
        {"enqueueData", 16, SlotOf(&Slots::enqueueData)},
        {"DisconnectOwned", 17, SlotOf(&Slots::DisconnectOwned)},
        {"onCtrl", 18, SlotOf(&Slots::onCtrl)},
        {"onData", 19, SlotOf(&Slots::onData)},
        {"onNotify", 20, SlotOf(&Slots::onNotify)},
        {"onCreate", 21, SlotOf(&Slots::onCreate)},
        {"SendData", 22, SlotOf(&Slots::SendData)},
        {"SendCmd", 23, SlotOf(&Slots::SendCmd)},
    };
  }
};

TEST(BrickInterface, KeepsItsVirtualFunctionsInTheAgreedPlaces) {
  for (const Slot& slot : Slots::All()) EXPECT_EQ(slot.actual, slot.expected) << slot.name;
}

TEST(BrickInterface, AddsOnlyItsStateAfterTheTable) {
  EXPECT_EQ(sizeof(CBrick), 2 * sizeof(void*));
}

class BrickCreation : public HostTest {};

TEST_F(BrickCreation, KeepsOwnerAndSignature) {
  const Brick a = MakeUncreated("a");
  EXPECT_EQ(a->GetSignature(), 0U);
  EXPECT_EQ(a->OwnerContext(), 0U);

  TBrickConfig config = Config();
  config.signature = FourCc("Zel3");
  a->creation = [&] {
    EXPECT_EQ(a->GetSignature(), FourCc("Zel3"));
    EXPECT_EQ(a->OwnerContext(), pipeline.Id());
    return 1;
  };
  a->Create(config);
  EXPECT_EQ(a->GetSignature(), FourCc("Zel3"));
  EXPECT_EQ(a->OwnerContext(), pipeline.Id());
}

TEST_F(BrickCreation, ReturnsWhatOnCreateReturns) {
  const Brick a = MakeUncreated("a");
  a->creation = [] { return 7; };
  EXPECT_EQ(a->Create(Config()), 7);
}

TEST_F(BrickCreation, SchedulesABrickWhoseOnCreateReturnsZero) {
  const Brick a = MakeUncreated("a");
  a->creation = [&] {
    a->enqueueControl(Block(1));
    return 0;
  };
  EXPECT_EQ(a->Create(Config()), 0);
  EXPECT_TRUE(pipeline.RunUntilIdle());
  EXPECT_THAT(log, testing::ElementsAre("a.ctrl 1"));
}

TEST_F(BrickCreation, GivesEveryBrickThatNamesThePipelineItsPlace) {
  const Brick a = Make("a");
  const Brick b = Make("b");
  a->Create(Config());
  EXPECT_EQ(pipeline.BrickCount(), 2U);
}

// A brick that overrides nothing takes every block and does nothing with it.
TEST_F(BrickCreation, WorksForABrickWithoutBehaviour) {
  CBrick plain;
  plain.Create(Config());
  plain.enqueueControl(Block(1));
  plain.enqueueData(Block(2));
  plain.enqueueData(Notice(3));
  plain.ConnectOwned(nullptr);
  plain.DisconnectOwned(nullptr);
  plain.SetStopped(true);
  EXPECT_TRUE(pipeline.RunUntilIdle(3));
  EXPECT_FALSE(plain.IsKnownInput({}));
  EXPECT_FALSE(plain.IsKnownOutput({}));
}

}  // namespace
