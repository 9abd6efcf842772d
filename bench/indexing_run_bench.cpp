#include <fcntl.h>
#include <unistd.h>

#include <filesystem>
#include <vector>

#include "archive_host.h"
#include "bench.h"
#include "blocks/notifications.h"
#include "blocks/stream_records.h"
#include "cache_files.h"
#include "host/brick_plugins.h"
#include "recorded_archive.h"

namespace {

// What the index reader reads at a time.
constexpr std::size_t kPortion = 65535;

// A parser that finds nothing: it asks for more bytes until there are none.
class CountingParser : public CBrick {
 public:
  static std::uint64_t counted;

 protected:
  int onCtrl(cMemBlock& block) override {
    if (block.GetType() == tag::kChunkRequest) SendUp(ParserChunkRequestBlock::New());
    return 1;
  }
  int onData(const cMemBlock& block) override {
    counted += RawDataBlock::View(block).Size();
    StreamTagBlock finished = StreamTagBlock::New();
    finished.WritableRecord().kind = tag::kBlockFinished;
    SendData(finished);
    return 1;
  }
  int onNotify(const cMemBlock& block) override {
    SendData(block);
    return 1;
  }
};

std::uint64_t CountingParser::counted = 0;

CBrick* MakeCountingParser(TBrickConfig* config) {
  auto* const parser = new CountingParser();
  parser->Create(*config);
  return parser;
}

struct BigArchive {
  explicit BigArchive(int mebibytes)
      : archive(RecordBlocks(BenchFolder() + "/cam.zel3", std::uint64_t(mebibytes) << 20, 10)) {}

  std::string CacheFile(const char* extension) const { return BenchFolder() + "/cam." + extension; }
  void RemoveCache() const {
    for (const char* const extension : {"id3", "hdr", "evt"}) {
      std::filesystem::remove(CacheFile(extension));
    }
  }

  RecordedArchive archive;
};

Work ReadOnce(int mebibytes) {
  return [=](benchmark::State& state) {
    const RecordedArchive& archive = Shared<BigArchive>(mebibytes).archive;
    std::vector<char> buffer(kPortion);
    std::uint64_t total = 0;
    for (auto _ : state) {
      total = 0;
      const int file = open(archive.path.c_str(), O_RDONLY);
      for (ssize_t got; (got = read(file, buffer.data(), buffer.size())) > 0;) {
        total += static_cast<std::uint64_t>(got);
      }
      close(file);
    }
    Expect(state, total == archive.size, "the archive was not read");
  };
}

// Opening an archive without a cache indexes all of it.
void RunOver(const BigArchive& big, benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    big.RemoveCache();
    state.ResumeTiming();
    const ArchiveHost host(big.archive.path);
  }
}

Work IndexWithParser(int mebibytes) {
  return [=](benchmark::State& state) {
    const BigArchive& big = Shared<BigArchive>(mebibytes);
    brick_plugins::ResetRegistrations();
    RunOver(big, state);
    std::error_code none;
    Expect(state,
           std::filesystem::file_size(big.CacheFile("id3"), none) ==
               big.archive.entryPositions.size() * sizeof(ZEL_ID3_REC),
           "the saved cache is not that of the archive");
  };
}

Work IndexWithCounter(int mebibytes) {
  return [=](benchmark::State& state) {
    const BigArchive& big = Shared<BigArchive>(mebibytes);
    brick_plugins::RegisterFactory(tag::kSignatureParser, MakeCountingParser);
    CountingParser::counted = 0;
    RunOver(big, state);
    Expect(state, CountingParser::counted == big.archive.size * state.iterations(),
           "the parser did not get all bytes");
  };
}

}  // namespace

void AddRows() {
  const int mebibytes = Sized(1024, 8);
  const std::string size = std::to_string(mebibytes) + "MiB";
  AddPair("indexing_run.parser", size, ReadOnce(mebibytes), IndexWithParser(mebibytes));
  AddPair("indexing_run.byte_counter", size, ReadOnce(mebibytes), IndexWithCounter(mebibytes));
}
