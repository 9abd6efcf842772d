#include "sdk/mem_block.h"

#include <gmock/gmock.h>

#include <thread>
#include <vector>

#include "slot_of.h"

namespace {

// Shows the node of a handle.
struct Handle : cMemBlock {
  using cMemBlock::cMemBlock;
  explicit Handle(node* adopted) : cMemBlock(adopted) {}
  node& Node() const { return *mNode; }
};

class MemBlock : public testing::Test {
 protected:
  void TearDown() override {
    EXPECT_EQ(cMemBlock::node::LiveCount(), mLiveNodesBefore);
    EXPECT_EQ(cMemBlock::mDefNode.refCount, mDefaultReferencesBefore);
  }

  static Handle MakePlain() { return Handle(new cMemBlock::node[1]); }

 private:
  const long mLiveNodesBefore = cMemBlock::node::LiveCount();
  const std::uint32_t mDefaultReferencesBefore = cMemBlock::mDefNode.refCount;
};

TEST_F(MemBlock, IsEmptyWhenMade) {
  const cMemBlock block;
  EXPECT_TRUE(block.IsEmpty());
  EXPECT_EQ(block.GetType(), cMemBlock::mDefNode.type);
  EXPECT_EQ(block.GetType(), 0U);
  EXPECT_EQ(block.GetExtraSize(), 0U);
}

TEST_F(MemBlock, DoesNotKnowWhereAPlainNodeHoldsItsPayload) {
  cMemBlock block;
  EXPECT_EQ(block.GetData(), nullptr);
  EXPECT_EQ(static_cast<const cMemBlock&>(block).GetData(), nullptr);
}

TEST_F(MemBlock, SharesTheDefaultNodeWhenMade) {
  const std::uint32_t references = cMemBlock::mDefNode.refCount;
  EXPECT_GE(references, 1U);
  const Handle first;
  const Handle second;
  EXPECT_EQ(&first.Node(), &cMemBlock::mDefNode);
  EXPECT_EQ(cMemBlock::mDefNode.refCount, references + 2);
}

TEST_F(MemBlock, CountsItsHandles) {
  Handle first = MakePlain();
  EXPECT_EQ(first.Node().refCount, 1U);
  {
    const Handle second = first;
    EXPECT_EQ(&second.Node(), &first.Node());
    EXPECT_EQ(first.Node().refCount, 2U);
  }
  EXPECT_EQ(first.Node().refCount, 1U);
}

TEST_F(MemBlock, EndsWithItsLastHandle) {
  const long before = cMemBlock::node::LiveCount();
  {
    const Handle first = MakePlain();
    EXPECT_EQ(cMemBlock::node::LiveCount(), before + 1);
    const Handle second = first;
    EXPECT_EQ(cMemBlock::node::LiveCount(), before + 1);
  }
  EXPECT_EQ(cMemBlock::node::LiveCount(), before);
}

TEST_F(MemBlock, AssignmentGivesBackTheOldNode) {
  const long before = cMemBlock::node::LiveCount();
  Handle target = MakePlain();
  const Handle source = MakePlain();
  target = source;
  EXPECT_EQ(cMemBlock::node::LiveCount(), before + 1);
  EXPECT_EQ(&target.Node(), &source.Node());
  EXPECT_EQ(source.Node().refCount, 2U);
}

TEST_F(MemBlock, SurvivesItsOwnAssignment) {
  Handle only = MakePlain();
  only.Node().type = 17;
  const Handle& same = only;
  only = same;
  EXPECT_EQ(only.Node().refCount, 1U);
  EXPECT_EQ(only.GetType(), 17U);
}

TEST_F(MemBlock, ReadsTypeAndSizeFromItsNode) {
  const Handle block = MakePlain();
  block.Node().type = 0x74616452;
  block.Node().size = 1;
  EXPECT_EQ(block.GetType(), 0x74616452U);
  EXPECT_FALSE(block.IsEmpty());
}

TEST_F(MemBlock, TakesAReferenceWithRef) {
  const Handle block = MakePlain();
  EXPECT_EQ(block.Node().ref(), &block.Node());
  EXPECT_EQ(block.Node().refCount, 2U);
  block.Node().unref();
  EXPECT_EQ(block.Node().refCount, 1U);
}

TEST_F(MemBlock, MayBeSharedByThreads) {
  const Handle shared = MakePlain();
  std::vector<std::thread> threads;
  for (int number = 0; number < 4; ++number) {
    threads.emplace_back([&shared] {
      for (int round = 0; round < 2000; ++round) {
        const cMemBlock copy = shared;
        cMemBlock other;
        other = copy;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(shared.Node().refCount, 1U);
}

TEST(MemBlockLayout, KeepsTheFieldsOfANodeInTheirOrder) {
  const Handle block(new cMemBlock::node[1]);
  const cMemBlock::node& node = block.Node();
  const auto offset = [&node](const void* field) {
    return static_cast<const char*>(field) - reinterpret_cast<const char*>(&node);
  };
  const auto pointer = static_cast<std::ptrdiff_t>(sizeof(void*));
  EXPECT_EQ(offset(&node.refCount), pointer);
  EXPECT_EQ(offset(&node.type), pointer + 4);
  EXPECT_EQ(offset(&node.size), pointer + 8);
  EXPECT_GE(offset(&node.lock), pointer + 12);
  EXPECT_EQ(sizeof(cMemBlock), 2 * sizeof(void*));
}

TEST(MemBlockLayout, KeepsItsVirtualFunctionsInTheAgreedPlaces) {
  EXPECT_EQ(SlotOf(static_cast<void* (cMemBlock::*)()>(&cMemBlock::GetData)), 2U);
  EXPECT_EQ(SlotOf(static_cast<const void* (cMemBlock::*)() const>(&cMemBlock::GetData)), 3U);
  EXPECT_EQ(SlotOf(&cMemBlock::GetExtraSize), 4U);
  EXPECT_EQ(SlotOf(&cMemBlock::node::ref), 2U);
  EXPECT_EQ(SlotOf(&cMemBlock::node::unref), 3U);
}

}  // namespace
