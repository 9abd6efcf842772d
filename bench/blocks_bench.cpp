#include <cstdlib>
#include <cstring>
#include <vector>

#include "bench.h"
#include "blocks/commands.h"
#include "blocks/stream_records.h"

namespace {

// The payload in memory of its own, as plain as it gets.
Work PlainCopy(std::size_t size) {
  return [size](benchmark::State& state) {
    const std::vector<unsigned char> payload(size, 7);
    for (auto _ : state) {
      void* const memory = std::malloc(size);
      std::memcpy(memory, payload.data(), size);
      benchmark::DoNotOptimize(memory);
      benchmark::ClobberMemory();
      std::free(memory);
    }
  };
}

// A block is made and written, a queue holds a handle, the receiver a typed one; then all let go.
template <class Block, class Fill>
Work SendBlock(std::uint32_t size, Fill fill) {
  return [size, fill](benchmark::State& state) {
    bool right = true;
    for (auto _ : state) {
      Block block = Block::New(size);
      fill(block);
      const cMemBlock queued(block);
      const auto received = Block::View(queued);
      right = right && received.Size() == size;
      benchmark::DoNotOptimize(&received.Record());
      benchmark::ClobberMemory();
    }
    Expect(state, right, "the block received is not the one sent");
  };
}

}  // namespace

void AddRows() {
  constexpr std::uint32_t kRawSize = 65536;
  AddPair("blocks.RDat", std::to_string(kRawSize), PlainCopy(kRawSize),
          SendBlock<RawDataBlock>(
              kRawSize, [payload = std::vector<unsigned char>(kRawSize, 7)](RawDataBlock& block) {
                std::memcpy(block.WritableBytes(), payload.data(), payload.size());
              }));
  AddPair("blocks.Idx3", std::to_string(sizeof(IDX_T)), PlainCopy(sizeof(IDX_T)),
          SendBlock<IndexBlock>(sizeof(IDX_T),
                                [](IndexBlock& block) { block.WritableRecord().time = 7; }));
  AddPair("blocks.Hdr3", std::to_string(sizeof(HDR_T)), PlainCopy(sizeof(HDR_T)),
          SendBlock<HeaderBlock>(sizeof(HDR_T), [](HeaderBlock& block) {
            block.WritableRecord().streams[0].streamId = 7;
          }));
  AddPair("blocks.CRq3", std::to_string(sizeof(TCmdRequestChunk)),
          PlainCopy(sizeof(TCmdRequestChunk)),
          SendBlock<ChunkRequestBlock>(sizeof(TCmdRequestChunk),
                                       [](ChunkRequestBlock& block) { block.Record().time = 7; }));
}
