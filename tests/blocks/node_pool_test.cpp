#include "blocks/node_pool.h"

#include <malloc.h>

#include <cstdlib>

#include "block_test.h"
#include "blocks/struct_block.h"
#include "heap_growth.h"

namespace {

class NodePool : public BlockTest {
 protected:
  static void* PutNew(chainlist& pool, std::uint32_t payloadSize) {
    void* const memory = std::malloc(64 + payloadSize);
    CSingleLock lock(pool.Section());
    pool.PutFront(memory, payloadSize);
    return memory;
  }
};

TEST_F(NodePool, GivesNothingWhenItIsEmpty) {
  chainlist pool;
  EXPECT_EQ(pool.Take(0), nullptr);
}

TEST_F(NodePool, GivesTheNodeReleasedLastFirst) {
  chainlist pool;
  void* const early = PutNew(pool, 10);
  void* const late = PutNew(pool, 10);
  EXPECT_EQ(pool.Take(10), late);
  EXPECT_EQ(pool.Take(10), early);
  EXPECT_EQ(pool.Take(10), nullptr);
  std::free(early);
  std::free(late);
}

TEST_F(NodePool, GivesANodeForASmallerPayload) {
  chainlist pool;
  void* const memory = PutNew(pool, 10);
  EXPECT_EQ(pool.Take(9), memory);
  std::free(memory);
}

TEST_F(NodePool, FreesATooSmallNodeAndLooksAtNoOther) {
  chainlist pool;
  void* const large = PutNew(pool, 100);
  PutNew(pool, 10);
  EXPECT_EQ(pool.Take(11), nullptr);
  EXPECT_EQ(pool.Take(11), large);
  std::free(large);
}

TEST_F(NodePool, FreesItsNodesWhenItGoes) {
  const auto fillAndGo = [] {
    chainlist pool;
    for (int count = 0; count < 1000; ++count) PutNew(pool, 1000);
  };
  EXPECT_LT(HeapGrowthOf(fillAndGo), kHeapNoise);
}

// Blocks of one type share a pool; each test has a type, and so a pool, of its own.
template <Tag kTag>
using PooledBlock = cStructBlock<std::uint32_t, kTag>;

constexpr std::uint32_t kLarge =
    1 << 20;  // the allocator would not hand such memory out for a small block

TEST_F(NodePool, KeepsAReleasedNodeForTheNextBlockOfItsType) {
  using Pooled = PooledBlock<FourCc("pol1")>;
  const unsigned char* released = nullptr;
  {
    const Pooled block = Pooled::New(kLarge);
    released = block.Bytes();
  }
  const Pooled next = Pooled::New(8);
  EXPECT_EQ(next.Bytes(), released);
  EXPECT_EQ(next.Size(), 8U);
  EXPECT_EQ(next.Record(), 0U);
}

TEST_F(NodePool, ServesTheCopyOfASharedBlock) {
  using Pooled = PooledBlock<FourCc("pol2")>;
  Pooled shared = Pooled::New(8);
  shared.WritableRecord() = 7;
  const unsigned char* released = nullptr;
  {
    const Pooled block = Pooled::New(kLarge);
    released = block.Bytes();
  }
  Pooled writer = shared;
  writer.WritableRecord() += 1;
  EXPECT_EQ(writer.Bytes(), released);
  EXPECT_EQ(writer.Record(), 8U);
  EXPECT_EQ(shared.Record(), 7U);
}

TEST_F(NodePool, IsNotSharedWithOtherTypes) {
  const unsigned char* released = nullptr;
  {
    const auto block = PooledBlock<FourCc("pol3")>::New(kLarge);
    released = block.Bytes();
  }
  const auto other = PooledBlock<FourCc("pol4")>::New(8);
  EXPECT_NE(other.Bytes(), released);
  EXPECT_EQ(PooledBlock<FourCc("pol3")>::New(8).Bytes(), released);
}

TEST_F(NodePool, LetsGoOfATooSmallNodeAndKeepsTheOthers) {
  using Pooled = PooledBlock<FourCc("pol5")>;
  const unsigned char* large = nullptr;
  {
    const Pooled small = Pooled::New(8);
    const Pooled releasedFirst = Pooled::New(kLarge);
    large = releasedFirst.Bytes();
  }
  const Pooled fresh = Pooled::New(kLarge / 2);
  EXPECT_NE(fresh.Bytes(), large);
  EXPECT_GE(malloc_usable_size(&NodeAccess::Of(fresh)), sizeof(cMemBlock::node) + kLarge / 2);
  EXPECT_EQ(Pooled::New(kLarge / 2).Bytes(), large);
}

TEST_F(NodePool, CountsOnlyTheSizeThatANodeWasReleasedWith) {
  using Pooled = PooledBlock<FourCc("pol6")>;
  const unsigned char* released = nullptr;
  {
    const Pooled block = Pooled::New(kLarge);
    released = block.Bytes();
  }
  EXPECT_EQ(Pooled::New(8).Bytes(), released);
  EXPECT_EQ(Pooled::New(8).Bytes(), released);
  const Pooled larger = Pooled::New(9);
  EXPECT_EQ(larger.Size(), 9U);
  EXPECT_EQ(larger.GetExtraSize(), 5U);
}

TEST_F(NodePool, HoldsNoLivingNodes) {
  using Pooled = PooledBlock<FourCc("pol7")>;
  const long liveNodes = cMemBlock::node::LiveCount();
  { const Pooled block = Pooled::New(); }
  EXPECT_EQ(cMemBlock::node::LiveCount(), liveNodes);
}

// A stream of blocks, each released before the next is made, uses the same memory over and over.
TEST_F(NodePool, KeepsMemoryFlatOverAStreamOfBlocks) {
  using Pooled = PooledBlock<FourCc("pol8")>;
  const unsigned char* const first = Pooled::New(5000).Bytes();
  for (int round = 0; round < 100; ++round) EXPECT_EQ(Pooled::New(5000).Bytes(), first);
}

// A node smaller than its record still has the record's memory.
TEST_F(NodePool, TakesBackNodesSmallerThanTheirRecord) {
  using Pooled = PooledBlock<FourCc("pol9")>;
  const unsigned char* const first = Pooled::New(0).Bytes();
  Pooled next = Pooled::New(0);
  EXPECT_EQ(next.Bytes(), first);
  next.WritableRecord() = 0xFFFFFFFF;
  EXPECT_EQ(Pooled::New(4).Record(), 0U);
}

}  // namespace
