#include <atomic>
#include <thread>
#include <vector>

#include "block_test.h"
#include "blocks/commands.h"
#include "blocks/stream_records.h"
#include "sdk/brick.h"

namespace {

constexpr int kThreads = 4;
constexpr int kRounds = 2000;

template <class Work>
void OnAllThreads(Work work) {
  std::vector<std::thread> threads;
  for (int number = 0; number < kThreads; ++number) {
    threads.emplace_back([&work, number] {
      for (int round = 0; round < kRounds; ++round) work(number, round);
    });
  }
  for (std::thread& thread : threads) thread.join();
}

class BlockThreads : public BlockTest {};

TEST_F(BlockThreads, MayShareAndReleaseOneBlock) {
  const DataBlock shared = DataBlock::New(100);
  OnAllThreads([&shared](int, int) {
    const cMemBlock copy = shared;
    const cMemBlock second = copy;
  });
  EXPECT_EQ(NodeAccess::Of(shared).refCount, 1U);
}

TEST_F(BlockThreads, MayEachWriteTheirOwnCopy) {
  DataBlock shared = DataBlock::New(100);
  shared.WritableRecord().length = 1;
  std::atomic<int> mixedUp{0};
  OnAllThreads([&](int number, int round) {
    DataBlock mine = shared;
    const auto value = static_cast<std::uint16_t>(number * kRounds + round);
    mine.WritableRecord().length = value;
    if (mine.Record().length != value || shared.Record().length != 1) ++mixedUp;
  });
  EXPECT_EQ(mixedUp, 0);
  EXPECT_EQ(NodeAccess::Of(shared).refCount, 1U);
}

TEST_F(BlockThreads, MayDrawOnOnePool) {
  std::atomic<int> mixedUp{0};
  OnAllThreads([&mixedUp](int number, int round) {
    RawDataBlock block = RawDataBlock::New(static_cast<std::uint32_t>(1 + (round * 37) % 500));
    block.WritableBytes()[0] = static_cast<unsigned char>(number);
    const RawDataBlock other = block;
    if (other.Record() != number) ++mixedUp;
  });
  EXPECT_EQ(mixedUp, 0);
}

TEST_F(BlockThreads, HandleACommandOnceAltogether) {
  std::vector<PreviewRequestBlock> commands;
  for (int round = 0; round < kRounds; ++round) commands.push_back(PreviewRequestBlock::New());
  CBrick brick;
  std::atomic<int> handled{0};
  OnAllThreads([&](int, int round) {
    if (commands[static_cast<std::size_t>(round)].MarkHandledBy(&brick)) ++handled;
  });
  EXPECT_EQ(handled, kRounds);
}

}  // namespace
