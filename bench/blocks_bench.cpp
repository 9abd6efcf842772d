#include <dlfcn.h>
#include <pthread.h>

#include <cstdlib>
#include <cstring>
#include <vector>

#include "bench.h"
#include "blocks/commands.h"
#include "blocks/stream_records.h"

namespace {

// How often anything in this program has locked and allocated.
long locks = 0;
long allocations = 0;

}  // namespace

// All of the host's locks and all allocations call these functions, which count. They replace those
// of the C library in all libraries of the program; its allocator can be called by other names.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);

__attribute__((visibility("default"))) void* malloc(std::size_t size) noexcept {
  ++allocations;
  return __libc_malloc(size);
}

__attribute__((visibility("default"))) void* calloc(std::size_t count, std::size_t size) noexcept {
  ++allocations;
  return __libc_calloc(count, size);
}

__attribute__((visibility("default"))) int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept {
  static const auto real =
      reinterpret_cast<decltype(&pthread_mutex_lock)>(dlsym(RTLD_NEXT, "pthread_mutex_lock"));
  ++locks;
  return real(mutex);
}
}

namespace {

// The payload copied into plain memory.
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

// A block is made and written, and its receiver gets a handle; then both let go.
template <class Block, class Fill>
void SendBlock(std::uint32_t size, const Fill& fill) {
  Block block = Block::New(size);
  fill(block);
  const cMemBlock received(block);
  benchmark::DoNotOptimize(block.Size());
  benchmark::ClobberMemory();
}

template <class Block, class Fill>
Work SendBlocks(std::uint32_t size, Fill fill) {
  return [size, fill](benchmark::State& state) {
    for (auto _ : state) SendBlock<Block>(size, fill);
  };
}

// What the last of many blocks has taken, when the pool has nodes.
template <class Block, class Fill>
Work CountCosts(std::uint32_t size, Fill fill) {
  return [size, fill](benchmark::State& state) {
    long locksTaken = 0;
    long allocationsTaken = 0;
    for (auto _ : state) {
      const long locksBefore = locks;
      const long allocationsBefore = allocations;
      SendBlock<Block>(size, fill);
      locksTaken = locks - locksBefore;
      allocationsTaken = allocations - allocationsBefore;
    }
    state.counters["lock_pairs"] = static_cast<double>(locksTaken);
    state.counters["allocations"] = static_cast<double>(allocationsTaken);
  };
}

template <class Block, class Fill>
void AddCosts(const char* row, std::uint32_t size, Fill fill) {
  AddAlone(row, std::to_string(size), CountCosts<Block>(size, fill));
}

}  // namespace

void AddRows() {
  constexpr std::uint32_t kRawSize = 65536;
  AddPair("blocks.RDat", std::to_string(kRawSize), PlainCopy(kRawSize),
          SendBlocks<RawDataBlock>(
              kRawSize, [payload = std::vector<unsigned char>(kRawSize, 7)](RawDataBlock& block) {
                std::memcpy(block.FreshBytes(), payload.data(), payload.size());
              }));
  AddCosts<IndexBlock>("blocks.Idx3", sizeof(IDX_T),
                       [](IndexBlock& block) { block.FreshRecord().time = 7; });
  AddCosts<HeaderBlock>("blocks.Hdr3", sizeof(HDR_T),
                        [](HeaderBlock& block) { block.FreshRecord().headerWord0 = 7; });
  AddCosts<ChunkRequestBlock>("blocks.CRq3", sizeof(TCmdRequestChunk),
                              [](ChunkRequestBlock& block) { block.Record().time = 7; });
}
