#include "blocks/command_block.h"

#include <cstring>
#include <type_traits>
#include <utility>
#include <vector>

#include "block_test.h"
#include "blocks/commands.h"
#include "blocks/notifications.h"
#include "heap_growth.h"
#include "sdk/brick.h"
#include "support/scarce_memory.h"

namespace {

class CommandBlock : public BlockTest {
 protected:
  static cCommandNode& NodeOf(const cMemBlock& block) {
    return static_cast<cCommandNode&>(NodeAccess::Of(block));
  }
};

TEST_F(CommandBlock, HoldsAFreshRecord) {
  const ChunkRequestBlock block = ChunkRequestBlock::New();
  EXPECT_EQ(block.GetType(), 863064643U);
  EXPECT_EQ(block.Size(), 12U);
  EXPECT_EQ(block.GetExtraSize(), 0U);
  EXPECT_EQ(block.Record().time, 0U);
  EXPECT_EQ(block.Record().type, 0U);
  EXPECT_EQ(NodeAccess::Of(block).refCount, 1U);
}

// Its memory is not cleared, so the record must be made as T() is.
template <class Block>
void ExpectAFreshRecordInUsedMemory() {
  using Record = std::remove_reference_t<decltype(std::declval<Block>().Record())>;
  {
    Block used = Block::New();
    std::memset(used.GetData(), 0xFF, sizeof(Record));
  }
  const Block block = Block::New();
  const Record fresh = Record();
  EXPECT_EQ(std::memcmp(block.GetData(), &fresh, sizeof(Record)), 0) << block.GetType();
}

TEST_F(CommandBlock, HoldsAFreshRecordAlsoInUsedMemory) {
  ExpectAFreshRecordInUsedMemory<ChunkRequestBlock>();
  ExpectAFreshRecordInUsedMemory<ParserChunkRequestBlock>();
  ExpectAFreshRecordInUsedMemory<PlayBlock>();
  ExpectAFreshRecordInUsedMemory<ActivityRequestBlock>();
  ExpectAFreshRecordInUsedMemory<PreviewRequestBlock>();
  ExpectAFreshRecordInUsedMemory<KillBlock>();
  ExpectAFreshRecordInUsedMemory<NotifyBlock>();
  ExpectAFreshRecordInUsedMemory<ChunkAnswerBlock>();
  ExpectAFreshRecordInUsedMemory<ResetBlock>();
  ExpectAFreshRecordInUsedMemory<ActivityGistBlock>();
}

TEST_F(CommandBlock, KeepsItsPayloadAsTheBytesOfTheRecord) {
  ChunkRequestBlock block = ChunkRequestBlock::New();
  block.Record().time = 0x0807060504030201;
  block.Record().type = 2;
  const unsigned char expected[] = {1, 2, 3, 4, 5, 6, 7, 8, 2, 0, 0, 0};
  EXPECT_EQ(std::memcmp(block.GetData(), expected, sizeof(expected)), 0);
}

TEST_F(CommandBlock, FillsTheBytesAfterTheRecordWithZeros) {
  const ActivityGistBlock block = ActivityGistBlock::New(28 + 100);
  EXPECT_EQ(block.GetExtraSize(), 100U);
  const unsigned char zeros[100] = {};
  EXPECT_EQ(std::memcmp(block.Record().Levels(), zeros, 100), 0);
}

TEST_F(CommandBlock, HasExactlyTheRecordWithoutBins) {
  const ActivityGistBlock block = ActivityGistBlock::New();
  EXPECT_EQ(block.Size(), 28U);
  EXPECT_EQ(block.GetExtraSize(), 0U);
}

TEST_F(CommandBlock, SharesItsRecordAlsoWhenItIsWritten) {
  ChunkRequestBlock first = ChunkRequestBlock::New();
  ChunkRequestBlock second = first;
  second.Record().time = 5;
  EXPECT_EQ(first.Record().time, 5U);
  EXPECT_EQ(first.GetData(), second.GetData());
  EXPECT_EQ(first.GetData(), static_cast<const ChunkRequestBlock&>(first).GetData());
  EXPECT_EQ(NodeAccess::Of(first).refCount, 2U);
}

TEST_F(CommandBlock, IsViewedWithAReferenceAndWithoutACopy) {
  const long liveNodes = cMemBlock::node::LiveCount();
  const cMemBlock plain = PlayBlock::New();
  const PlayBlock view = PlayBlock::View(plain);
  EXPECT_EQ(&NodeAccess::Of(view), &NodeAccess::Of(plain));
  EXPECT_EQ(NodeAccess::Of(plain).refCount, 2U);
  EXPECT_EQ(cMemBlock::node::LiveCount(), liveNodes + 1);
}

TEST_F(CommandBlock, HoldsNoRecordWhenItIsTooSmall) {
  for (const std::uint32_t size : {0U, 1U, 11U}) {
    const ChunkRequestBlock block = ChunkRequestBlock::New(size);
    EXPECT_FALSE(block.HoldsRecord());
    EXPECT_EQ(block.Size(), size);
    EXPECT_EQ(block.IsEmpty(), size == 0);
    EXPECT_EQ(block.GetExtraSize(), 0U);
  }
  EXPECT_TRUE(ChunkRequestBlock::New(12).HoldsRecord());
}

TEST_F(CommandBlock, IsRefusedWhenItsSizeDoesNotFitMemory) {
  if (sizeof(std::size_t) > 4) GTEST_SKIP() << "64 bits hold every size";
  EXPECT_THROW(ActivityGistBlock::New(0xFFFFFFFF), std::bad_alloc);
}

TEST_F(CommandBlock, ReleasesTheStringsOfItsRecord) {
  std::string text(100, 't');
  {
    MessageBlock block = MessageBlock::New();
    block.Record().text = text;
    block.Record().detail = text;
  }
  EXPECT_TRUE(IsOnlyOwner(text));
}

TEST_F(CommandBlock, GivesItsMemoryBack) {
  CBrick bricks[21];
  const auto makeAndRelease = [&bricks] {
    std::vector<PreviewRequestBlock> blocks;
    for (int count = 0; count < 1000; ++count) blocks.push_back(PreviewRequestBlock::New(1000));
    for (CBrick& brick : bricks) blocks.front().MarkHandledBy(&brick);
  };
  EXPECT_LT(HeapGrowthOf(makeAndRelease), kHeapNoise);
}

TEST_F(CommandBlock, GivesItsMemoryBackWhenThereIsNotEnoughForAllOfIt) {
  const auto isRefused = [](int allocations) {
    const ScarceMemory scarce(allocations);
    try {
      ChunkRequestBlock::New(1000);
      return false;
    } catch (const std::bad_alloc&) {
      return true;
    }
  };
  const auto failOften = [isRefused] {
    for (int count = 0; count < 1000; ++count) {
      ASSERT_TRUE(isRefused(0));
      for (int allocations = 1; isRefused(allocations); ++allocations) continue;
    }
  };
  EXPECT_LT(HeapGrowthOf(failOften), kHeapNoise);
}

TEST_F(CommandBlock, PassesAListOnWithoutCopyingIt) {
  QList<TEventListEntry> events;
  events.append(TEventListEntry{});
  EventListBlock block = EventListBlock::New();
  block.Record().events = events;
  EXPECT_TRUE(block.Record().events.isSharedWith(events));
}

TEST_F(CommandBlock, StartsWithAnEmptyListOfTenPlaces) {
  const PreviewRequestBlock block = PreviewRequestBlock::New();
  EXPECT_NE(NodeOf(block).route, nullptr);
  EXPECT_EQ(NodeOf(block).routeCount, 0U);
  EXPECT_EQ(NodeOf(block).routeCapacity, 10U);
}

TEST_F(CommandBlock, IsHandledOnceByEachBrick) {
  CBrick first;
  CBrick second;
  const PreviewRequestBlock block = PreviewRequestBlock::New();
  EXPECT_TRUE(block.MarkHandledBy(&first));
  EXPECT_FALSE(block.MarkHandledBy(&first));
  EXPECT_TRUE(block.MarkHandledBy(&second));
  EXPECT_FALSE(block.MarkHandledBy(&first));
  EXPECT_FALSE(block.MarkHandledBy(&second));
}

TEST_F(CommandBlock, RemembersItsBricksForAllHandles) {
  CBrick brick;
  const PreviewRequestBlock block = PreviewRequestBlock::New();
  const PreviewRequestBlock other = block;
  EXPECT_TRUE(block.MarkHandledBy(&brick));
  EXPECT_FALSE(other.MarkHandledBy(&brick));
}

TEST_F(CommandBlock, GetsTenMorePlacesForTheEleventhBrick) {
  CBrick bricks[21];
  const ActivityRequestBlock block = ActivityRequestBlock::New();
  const cCommandNode& node = NodeOf(block);
  for (std::uint32_t count = 0; count < 21; ++count) {
    EXPECT_EQ(node.routeCount, count);
    EXPECT_TRUE(block.MarkHandledBy(&bricks[count]));
    EXPECT_EQ(node.routeCapacity, count < 10 ? 10U : count < 20 ? 20U : 30U);
  }
  for (std::uint32_t place = 0; place < 21; ++place) {
    EXPECT_EQ(node.route[place], &bricks[place]);
    EXPECT_FALSE(block.MarkHandledBy(&bricks[place]));
  }
  EXPECT_EQ(node.routeCount, 21U);
}

TEST_F(CommandBlock, KeepsItsListWhenThereIsNoMemoryForALargerOne) {
  CBrick bricks[11];
  const PreviewRequestBlock block = PreviewRequestBlock::New();
  for (int count = 0; count < 10; ++count) block.MarkHandledBy(&bricks[count]);
  const auto fail = [&] {
    const ScarceMemory none(0);
    block.MarkHandledBy(&bricks[10]);
  };
  EXPECT_THROW(fail(), std::bad_alloc);
  const cCommandNode& node = NodeOf(block);
  ASSERT_EQ(node.routeCount, 10U);
  EXPECT_EQ(node.routeCapacity, 10U);
  for (int place = 0; place < 10; ++place) EXPECT_EQ(node.route[place], &bricks[place]);
  EXPECT_TRUE(block.MarkHandledBy(&bricks[10]));
}

// Other modules may build the node with no list at all.
TEST_F(CommandBlock, AcceptsANodeWithoutAList) {
  CBrick brick;
  const PreviewRequestBlock block = PreviewRequestBlock::New();
  cCommandNode& node = NodeOf(block);
  delete[] node.route;
  node.route = nullptr;
  node.routeCapacity = 0;
  EXPECT_TRUE(block.MarkHandledBy(&brick));
  EXPECT_FALSE(block.MarkHandledBy(&brick));
  EXPECT_EQ(node.routeCapacity, 10U);
}

TEST_F(CommandBlock, KeepsTheFieldsOfItsNodeInTheirOrder) {
  const KillBlock block = KillBlock::New();
  const cCommandNode& node = NodeOf(block);
  const auto offset = [&node](const void* field) {
    return static_cast<std::size_t>(static_cast<const char*>(field) -
                                    reinterpret_cast<const char*>(&node));
  };
  EXPECT_EQ(offset(&node.route), sizeof(cMemBlock::node));
  EXPECT_EQ(offset(&node.routeCount), sizeof(cMemBlock::node) + sizeof(void*));
  EXPECT_EQ(offset(&node.routeCapacity), sizeof(cMemBlock::node) + sizeof(void*) + 4);
  EXPECT_EQ(offset(&node.routeLock), sizeof(cMemBlock::node) + sizeof(void*) + 8);
  EXPECT_EQ(offset(block.GetData()), sizeof(cCommandNode));
}

}  // namespace
