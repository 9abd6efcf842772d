#include <mutex>
#include <random>
#include <thread>
#include <vector>

#include "block_test.h"
#include "blocks/commands.h"
#include "blocks/notifications.h"
#include "blocks/stream_records.h"
#include "sdk/brick.h"
#include "support/long_form.h"

namespace {

// Blocks carry a number below 200, all but the smallest of them in two places.
using Number = std::uint8_t;
constexpr Number kTorn = 255;

Number Both(std::uint64_t first, std::uint64_t second) {
  return first == second ? static_cast<Number>(first) : kTorn;
}

void Write(RawDataBlock& block, Number number) {
  block.WritableBytes()[0] = block.WritableBytes()[block.Size() - 1] = number;
}
Number Read(const RawDataBlock& block) {
  return Both(block.Bytes()[0], block.Bytes()[block.Size() - 1]);
}
void Write(DataBlock& block, Number number) {
  block.WritableRecord().length = number;
  block.WritableBytes()[block.Size() - 1] = number;
}
Number Read(const DataBlock& block) {
  return Both(block.Record().length, block.Bytes()[block.Size() - 1]);
}
void Write(HeaderBlock& block, Number number) {
  block.WritableRecord().headerWord0 = number;
  block.WritableRecord().streams[255].text3 = std::to_string(number);
}
Number Read(const HeaderBlock& block) {
  return Both(block.Record().headerWord0,
              static_cast<std::uint64_t>(std::stoi(block.Record().streams[255].text3)));
}
void Write(IndexBlock& block, Number number) {
  block.WritableRecord().time = number;
  block.WritableRecord().indexFlag = number;
}
Number Read(const IndexBlock& block) {
  return Both(block.Record().time, block.Record().indexFlag);
}
void Write(ParserTagBlock& block, Number number) {
  block.WritableRecord().position = number;
}
Number Read(const ParserTagBlock& block) {
  return static_cast<Number>(block.Record().position);
}
void Write(StreamTagBlock& block, Number number) {
  block.WritableRecord().head[0] = block.WritableRecord().tail[7] = number;
}
Number Read(const StreamTagBlock& block) {
  return Both(block.Record().head[0], block.Record().tail[7]);
}
void Write(PlayBlock& block, Number number) {
  block.Record().time = block.Record().forward = number;
}
Number Read(const PlayBlock& block) {
  return Both(block.Record().time, block.Record().forward);
}
void Write(MessageBlock& block, Number number) {
  block.Record().value = number;
  block.Record().text = std::to_string(number);
}
Number Read(const MessageBlock& block) {
  return Both(static_cast<std::uint64_t>(block.Record().value),
              static_cast<std::uint64_t>(std::stoi(block.Record().text)));
}

// What can be done with blocks of one kind.
struct Kind {
  cMemBlock (*make)(Number number, std::uint32_t extraBytes);
  Number (*read)(const cMemBlock& block);
  // Changes the block for this handle only; null for commands, whose handles share what is written.
  void (*change)(cMemBlock& block, Number number);
  // Null for data.
  bool (*markHandledBy)(const cMemBlock& block, CBrick* brick);
};

template <class Block>
cMemBlock Made(Number number, std::uint32_t extraBytes) {
  Block block = Block::New(Block::New().Size() + extraBytes);
  Write(block, number);
  return block;
}
template <class Block>
Number NumberIn(const cMemBlock& block) {
  return Read(Block::View(block));
}
template <class Block>
void Change(cMemBlock& block, Number number) {
  Block own = Block::View(block);
  Write(own, number);
  block = own;
}
template <class Block>
bool MarkHandledBy(const cMemBlock& block, CBrick* brick) {
  return Block::View(block).MarkHandledBy(brick);
}
template <class Block>
constexpr Kind kData = {Made<Block>, NumberIn<Block>, Change<Block>, nullptr};
template <class Block>
constexpr Kind kCommand = {Made<Block>, NumberIn<Block>, nullptr, MarkHandledBy<Block>};

constexpr Kind kKinds[] = {kData<RawDataBlock>, kData<DataBlock>,      kData<HeaderBlock>,
                           kData<IndexBlock>,   kData<ParserTagBlock>, kData<StreamTagBlock>,
                           kCommand<PlayBlock>, kCommand<MessageBlock>};

// A block on its way from one thread to another.
struct Parcel {
  const Kind* kind = nullptr;
  cMemBlock block;
  Number number = 0;
};

// A few places at which threads leave blocks for each other.
class Exchange {
 public:
  // Leaves one parcel and takes the one that was there.
  void Swap(std::size_t place, Parcel& parcel) {
    Place& there = mPlaces[place % std::size(mPlaces)];
    const std::lock_guard<std::mutex> hold(there.mutex);
    std::swap(there.parcel, parcel);
  }
  // Another handle of the block that lies there.
  Parcel Copy(std::size_t place) {
    Place& there = mPlaces[place % std::size(mPlaces)];
    const std::lock_guard<std::mutex> hold(there.mutex);
    return there.parcel;
  }

 private:
  struct Place {
    std::mutex mutex;
    Parcel parcel;
  };
  Place mPlaces[8];
};

// A thread that makes, changes, shares, reads and drops blocks; counts those that hold the wrong
// number.
class Trader {
 public:
  // Borrows the exchange, and the brick in whose name it handles commands.
  Trader(Exchange& exchange, CBrick& brick, unsigned seed)
      : mExchange(exchange), mBrick(brick), mRandom(seed) {}

  int Trade(int rounds) {
    int wrong = 0;
    for (int round = 0; round < rounds; ++round) {
      Parcel& parcel = mOwn[mRandom() % std::size(mOwn)];
      Act(parcel);
      if (parcel.kind != nullptr && parcel.kind->read(parcel.block) != parcel.number) ++wrong;
    }
    return wrong;
  }

 private:
  void Act(Parcel& parcel) {
    const auto number = static_cast<Number>(mRandom() % 200);
    switch (mRandom() % 6) {
      case 0: {
        const Kind& kind = kKinds[mRandom() % std::size(kKinds)];
        parcel = {&kind, kind.make(number, 1 + mRandom() % 300), number};
        break;
      }
      case 1:
        if (parcel.kind == nullptr || parcel.kind->change == nullptr) break;
        parcel.kind->change(parcel.block, number);
        parcel.number = number;
        break;
      case 2:
        if (parcel.kind == nullptr || parcel.kind->markHandledBy == nullptr) break;
        parcel.kind->markHandledBy(parcel.block, &mBrick);
        break;
      case 3:
        mExchange.Swap(mRandom(), parcel);
        break;
      case 4:
        parcel = mExchange.Copy(mRandom());
        break;
      default:
        parcel = Parcel();
        break;
    }
  }

  Exchange& mExchange;
  CBrick& mBrick;
  std::mt19937 mRandom;
  Parcel mOwn[5];
};

class BlockExchange : public BlockTest {};

TEST_F(BlockExchange, KeepsTheContentOfEveryBlock) {
  constexpr unsigned kThreads = 6;
  const int rounds = Scaled(3000, 300'000);
  Exchange exchange;
  CBrick bricks[kThreads];
  std::vector<int> wrong(kThreads, -1);
  std::vector<std::thread> threads;
  for (unsigned number = 0; number < kThreads; ++number) {
    threads.emplace_back(
        [&, number] { wrong[number] = Trader(exchange, bricks[number], number).Trade(rounds); });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_THAT(wrong, testing::Each(0));
}

}  // namespace
