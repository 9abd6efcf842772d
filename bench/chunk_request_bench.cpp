#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <memory>
#include <numeric>
#include <random>
#include <vector>

#include "archive_host.h"
#include "bench.h"
#include "blocks/notifications.h"
#include "blocks/stream_records.h"
#include "cache_files.h"
#include "recorded_archive.h"

namespace {

using Clock = std::chrono::steady_clock;

ChunkRequestBlock RequestOf(std::uint32_t entryNumber) {
  ChunkRequestBlock request = ChunkRequestBlock::New();
  request.Record().type = kAtOrBefore;
  request.Record().time = ToArchiveTime(kFirstTime + entryNumber);
  return request;
}

std::uint64_t AnsweredId(const cMemBlock& answer) {
  if (answer.GetType() != tag::kNotify) return kNoIndexId;
  return ChunkAnswerBlock::View(answer).Record().info.indexId;
}

// A file whose cache has the given number of entries.
struct CachedArchive {
  explicit CachedArchive(int entryCount) {
    WriteBytes(BenchFolder() + "/times.zel3", "an archive of 32 bytes, no more", 32);
    WriteCacheFiles(BenchFolder() + "/times.", EntriesFrom(kFirstTime, entryCount));
    host = std::make_unique<ArchiveHost>(BenchFolder() + "/times.zel3");
  }

  std::unique_ptr<ArchiveHost> host;
};

// Each request is timed by itself, for the share of slow ones.
Work AnswerTimes(int entryCount) {
  return [=](benchmark::State& state) {
    ArchiveHost& host = *Shared<CachedArchive>(entryCount).host;
    std::mt19937 random(1);
    std::vector<double> microseconds;
    bool right = true;
    for (auto _ : state) {
      const auto number = static_cast<std::uint32_t>(random() % static_cast<unsigned>(entryCount));
      const Clock::time_point start = Clock::now();
      const cMemBlock& answer = host.Ask(RequestOf(number));
      const std::chrono::duration<double, std::micro> taken = Clock::now() - start;
      microseconds.push_back(taken.count());
      right = right && AnsweredId(answer) == number;
    }
    Expect(state, right, "another entry was found");
    std::sort(microseconds.begin(), microseconds.end());
    state.counters["median_us"] = microseconds[microseconds.size() / 2];
    state.counters["p99_us"] = microseconds[microseconds.size() * 99 / 100];
  };
}

enum class Order { kForward, kRandom };

// An archive with entries of 8 to 64 KiB, open in a reader, and the order in which to ask for them.
struct ServedArchive {
  ServedArchive(int entryCount, Order order)
      : archive(RecordMixedEntries(BenchFolder() + "/entries.zel3", entryCount)),
        numbers(static_cast<std::size_t>(entryCount) - 1) {
    std::iota(numbers.begin(), numbers.end(), 0);
    if (order == Order::kRandom) std::shuffle(numbers.begin(), numbers.end(), std::mt19937(1));
    host = std::make_unique<ArchiveHost>(archive.path);
    host->Ask(RequestOf(0));
    // Once the stream header has been sent, the answers hold only the entries.
    host->Ask(BytesRequest(0));
    file = open(archive.path.c_str(), O_RDONLY);
  }
  ~ServedArchive() { close(file); }

  static cMemBlock BytesRequest(std::uint32_t number) {
    ParserChunkRequestBlock request = ParserChunkRequestBlock::New();
    request.Record().indexId = number;
    request.Record().time = ToArchiveTime(kFirstTime + number);
    return request;
  }
  std::size_t SizeOf(std::uint32_t number) const {
    return static_cast<std::size_t>(archive.entryPositions[number + 1] -
                                    archive.entryPositions[number]);
  }
  std::size_t Read(std::uint32_t number, void* buffer) const {
    return static_cast<std::size_t>(
        pread(file, buffer, SizeOf(number), static_cast<off_t>(archive.entryPositions[number])));
  }

  RecordedArchive archive;
  std::vector<std::uint32_t> numbers;
  std::unique_ptr<ArchiveHost> host;
  int file = -1;
};

constexpr std::size_t kRoomForAnEntry = 1 << 17;

Work ReadRanges(int entryCount, Order order) {
  return [=](benchmark::State& state) {
    const ServedArchive& served = Shared<ServedArchive>(entryCount, order);
    std::vector<char> buffer(kRoomForAnEntry);
    std::size_t next = 0;
    bool right = true;
    for (auto _ : state) {
      const std::uint32_t number = served.numbers[next++ % served.numbers.size()];
      right = served.Read(number, buffer.data()) == served.SizeOf(number) && right;
    }
    Expect(state, right, "an entry was not read");
  };
}

Work AskForBytes(int entryCount, Order order) {
  return [=](benchmark::State& state) {
    ServedArchive& served = Shared<ServedArchive>(entryCount, order);
    std::size_t next = 0;
    bool right = true;
    std::uint32_t number = 0;
    cMemBlock answer;
    for (auto _ : state) {
      number = served.numbers[next++ % served.numbers.size()];
      answer = served.host->Ask(ServedArchive::BytesRequest(number));
      right =
          right && RawDataBlock::View(answer).Size() == served.SizeOf(number) + kIndexRecordSize;
    }
    std::vector<char> entry(kRoomForAnEntry);
    const std::size_t size = served.Read(number, entry.data());
    right = right && std::memcmp(entry.data(), RawDataBlock::View(answer).Bytes(), size) == 0;
    Expect(state, right, "the bytes are not those of the entry");
  };
}

}  // namespace

void AddRows() {
  for (const int entryCount : {Sized(86'400, 1000), Sized(1'000'000, 10'000)}) {
    AddAlone("chunk_request", std::to_string(entryCount), AnswerTimes(entryCount));
  }
  const int entryCount = Sized(4000, 100);
  AddPair("entry_bytes.in_order", std::to_string(entryCount),
          ReadRanges(entryCount, Order::kForward), AskForBytes(entryCount, Order::kForward));
  AddPair("entry_bytes.at_random", std::to_string(entryCount),
          ReadRanges(entryCount, Order::kRandom), AskForBytes(entryCount, Order::kRandom));
}
