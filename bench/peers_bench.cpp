#include <cstddef>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "archive_host.h"
#include "bench.h"
#include "blocks/notifications.h"
#include "blocks/stream_records.h"
#include "cache_files.h"
#include "indexer/zel3_indexer.h"
#include "matroska_file.h"
#include "recorded_archive.h"
#include "sqlite_times.h"

// The baselines are other libraries that serve data by time.

namespace {

// Asks the reader about an archive whose entries are one index time apart.
class EntryClient {
 public:
  explicit EntryClient(const std::string& path) : mHost(path) {}

  // Seeks as a client does, after which the bytes of the entry can be read. Returns its number.
  std::uint64_t Seek(std::uint32_t number) {
    ChunkRequestBlock request = ChunkRequestBlock::New();
    request.Record().type = kAtOrBefore;
    request.Record().time = ToArchiveTime(kFirstTime + number);
    const cMemBlock& answer = mHost.Ask(request);
    if (answer.GetType() != tag::kNotify) return kNoIndexId;
    return ChunkAnswerBlock::View(answer).Record().info.indexId;
  }
  // How many bytes the answer for an entry has.
  std::size_t ReadEntry(std::uint32_t number) {
    ParserChunkRequestBlock request = ParserChunkRequestBlock::New();
    request.Record().indexId = number;
    request.Record().time = ToArchiveTime(kFirstTime + number);
    return RawDataBlock::View(mHost.Ask(request)).Size();
  }

 private:
  ArchiveHost mHost;
};

// `entries` entries of `frames` frames of `bytes` bytes each.
struct Layout {
  std::string Name() const {
    return std::to_string(entries) + "x" + std::to_string(frames) + "x" + std::to_string(bytes);
  }
  std::size_t EntrySize() const { return static_cast<std::size_t>(frames * bytes); }
  bool operator<(const Layout& other) const {
    return std::tie(entries, frames, bytes) < std::tie(other.entries, other.frames, other.bytes);
  }

  int entries, frames, bytes;
};

// A recording in both forms. The reader never serves the last byte, hence not the last entry.
struct Recording {
  explicit Recording(const Layout& wanted)
      : layout(wanted),
        archive(BenchFolder() + "/" + layout.Name() + ".zel3"),
        matroska(BenchFolder() + "/" + layout.Name() + ".mkv") {
    const auto frameSize = static_cast<std::size_t>(layout.bytes);
    RecordEqualEntries(archive, layout.entries + 1, layout.frames, frameSize);
    WriteMatroska(matroska, layout.entries, layout.frames, frameSize);
    // Saves the index of the archive.
    EntryClient(archive).Seek(0);
    std::mt19937 random(1);
    const auto count = static_cast<unsigned>(layout.entries);
    for (std::uint32_t& number : numbers) number = random() % count;
  }

  const Layout layout;
  const std::string archive;
  const std::string matroska;
  std::vector<std::uint32_t> numbers = std::vector<std::uint32_t>(4096);
};

// Whether a seek finds the entry asked for and the reading that follows gives its bytes.
bool Find(MatroskaReader& matroska, std::uint32_t number, const Layout& layout) {
  matroska.Seek(number);
  return matroska.ReadPacket() && matroska.Seconds() == number &&
         matroska.PacketSize() == static_cast<std::size_t>(layout.bytes);
}
bool Find(EntryClient& client, std::uint32_t number, const Layout& layout) {
  return client.Seek(number) == number && client.ReadEntry(number) > layout.EntrySize();
}

// Kept open over all repetitions; the work that only a first seek has to do is done.
struct OpenRecording {
  explicit OpenRecording(const Layout& layout)
      : recording(Shared<Recording>(layout)),
        client(recording.archive),
        matroska(recording.matroska) {
    Find(client, 0, layout);
    Find(matroska, 0, layout);
  }

  const Recording& recording;
  EntryClient client;
  MatroskaReader matroska;
};

Work ReadAllPackets(const Layout& layout) {
  return [=](benchmark::State& state) {
    MatroskaReader& matroska = Shared<OpenRecording>(layout).matroska;
    std::size_t bytes = 0;
    for (auto _ : state) {
      bytes = 0;
      matroska.Seek(0);
      while (matroska.ReadPacket()) bytes += matroska.PacketSize();
    }
    Expect(state, bytes == layout.EntrySize() * static_cast<unsigned>(layout.entries),
           "the packets are not those of the recording");
  };
}

Work ReadAllEntries(const Layout& layout) {
  return [=](benchmark::State& state) {
    EntryClient& client = Shared<OpenRecording>(layout).client;
    const auto count = static_cast<unsigned>(layout.entries);
    std::size_t bytes = 0;
    for (auto _ : state) {
      bytes = 0;
      for (std::uint32_t number = 0; number < count; ++number) bytes += client.ReadEntry(number);
    }
    Expect(state, bytes > layout.EntrySize() * count, "the entries are not those of the recording");
  };
}

template <class Opened>
Work SeekLater(const Layout& layout, Opened OpenRecording::*opened) {
  return [=](benchmark::State& state) {
    OpenRecording& open = Shared<OpenRecording>(layout);
    const std::vector<std::uint32_t>& numbers = open.recording.numbers;
    std::size_t next = 0;
    bool right = true;
    for (auto _ : state) {
      right = Find(open.*opened, numbers[next++ % numbers.size()], layout) && right;
    }
    Expect(state, right, "another entry was found");
  };
}

// Opening is not timed. Several files are opened before the clock runs again, so that stopping and
// starting it weighs little.
constexpr int kOpened = 10;

template <class Opened>
Work SeekFirst(const Layout& layout, const std::string Recording::*path) {
  return [=](benchmark::State& state) {
    const Recording& recording = Shared<Recording>(layout);
    bool right = true;
    while (state.KeepRunningBatch(kOpened)) {
      state.PauseTiming();
      std::vector<std::unique_ptr<Opened>> opened;
      for (int i = 0; i < kOpened; ++i) opened.push_back(std::make_unique<Opened>(recording.*path));
      state.ResumeTiming();
      for (std::size_t i = 0; i < kOpened; ++i) {
        right = Find(*opened[i], recording.numbers[i], layout) && right;
      }
      state.PauseTiming();
      opened.clear();
      state.ResumeTiming();
    }
    Expect(state, right, "another entry was found");
  };
}

// Everything from opening an indexed archive to its first bytes.
template <class Opened>
Work OpenAndSeek(const Layout& layout, const std::string Recording::*path) {
  return [=](benchmark::State& state) {
    const Recording& recording = Shared<Recording>(layout);
    std::size_t next = 0;
    bool right = true;
    for (auto _ : state) {
      Opened opened(recording.*path);
      right = Find(opened, recording.numbers[next++ % recording.numbers.size()], layout) && right;
    }
    Expect(state, right, "another entry was found");
  };
}

struct FiledTimes {
  explicit FiledTimes(int count)
      : table(BenchFolder() + "/times" + std::to_string(count) + ".db", kFirstTime, count) {
    sFile_Index_Store store;
    store.fileName = QString::fromLatin1("/archives/cam.zel3");
    store.id3Records = EntriesFrom(kFirstTime, count);
    store.startTime = store.id3Records.first().time;
    store.lastIndexTime = store.endTime = store.id3Records.last().time;
    index.Add_file_index(store);
    std::mt19937 random(1);
    for (std::uint32_t& time : times) time = kFirstTime + random() % static_cast<unsigned>(count);
  }

  SqliteTimes table;
  cZel3Indexer index;
  std::vector<std::uint32_t> times = std::vector<std::uint32_t>(4096);
};

Work AskTable(int count) {
  return [=](benchmark::State& state) {
    FiledTimes& filed = Shared<FiledTimes>(count);
    std::size_t next = 0;
    bool right = true;
    for (auto _ : state) {
      const std::uint32_t time = filed.times[next++ % filed.times.size()];
      right = right && filed.table.AtOrBefore(time) == time;
    }
    Expect(state, right, "another row was found");
  };
}

Work AskIndex(int count) {
  return [=](benchmark::State& state) {
    FiledTimes& filed = Shared<FiledTimes>(count);
    TZEL3ChunkInfo info;
    std::size_t next = 0;
    bool right = true;
    for (auto _ : state) {
      const std::uint64_t time = ToArchiveTime(filed.times[next++ % filed.times.size()]);
      right = filed.index.IndexInfoFromTime(time, kAtOrBefore, true, &info) && info.time == time &&
              right;
    }
    Expect(state, right, "another entry was found");
  };
}

}  // namespace

void AddRows() {
  // 25 frames a second, the first of which is a key frame, and as many bytes in one piece.
  const int quarterOfADay = Sized(21'600, 50);
  const Layout frames{quarterOfADay, 25, 1024};
  const Layout pieces{quarterOfADay, 1, 25'600};
  AddPair("peers.read_all", frames.Name(), ReadAllPackets(frames), ReadAllEntries(frames));
  AddPair("peers.read_all_pieces", pieces.Name(), ReadAllPackets(pieces), ReadAllEntries(pieces));
  for (const Layout& layout : {frames, pieces}) {
    AddPair("peers.later_seek", layout.Name(), SeekLater(layout, &OpenRecording::matroska),
            SeekLater(layout, &OpenRecording::client));
  }
  const int day = Sized(86'400, 200);
  const Layout wholeDay{day, 1, 4096};
  AddPair("peers.first_seek", wholeDay.Name(),
          SeekFirst<MatroskaReader>(wholeDay, &Recording::matroska),
          SeekFirst<EntryClient>(wholeDay, &Recording::archive));
  AddPair("peers.open_and_first_seek", wholeDay.Name(),
          OpenAndSeek<MatroskaReader>(wholeDay, &Recording::matroska),
          OpenAndSeek<EntryClient>(wholeDay, &Recording::archive));
  AddPair("peers.lookup_in_a_day", std::to_string(day), AskTable(day), AskIndex(day));
  const int many = Sized(10'000'000, 1000);
  AddPair("peers.lookup", std::to_string(many), AskTable(many), AskIndex(many));
}
