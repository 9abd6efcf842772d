#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>

#include "indexer/zel3_indexer.h"
#include "load_test.h"
#include "support/sparse_file.h"

namespace {

constexpr std::uint32_t kFirstTime = 1'000'000;
constexpr std::uint32_t kBytesPerEntry = 100;

// An archive with very many entries, one for each index time. Its bytes are zeros that take no room
// on the disk.
class ManyEntries : public LoadTest {
 protected:
  void PlaceArchive() {
    MakeSparseFile(path, std::int64_t{count + 1} * kBytesPerEntry + 1);
    WriteFile(CachePath(path, "id3"), AllEntries());
    WriteFile(CachePath(path, "hdr"), IndexCache().Hdr());
    WriteFile(CachePath(path, "evt"), IndexCache().Evt());
  }

  // Stream 1 grows more active from each tenth of the entries to the next: 2, 4, … 20.
  Bytes AllEntries() const {
    Bytes bytes(count * sizeof(ZEL_ID3_REC));
    for (std::uint32_t number = 0; number < count; ++number) {
      ZEL_ID3_REC entry;
      entry.time = kFirstTime + number;
      entry.offsetLow = (number + 1) * kBytesPerEntry;
      entry.activityCount = 1;
      entry.activity[0] = {1, static_cast<std::uint8_t>(2 + 2 * (number / (count / 10)))};
      std::memcpy(&bytes[number * sizeof(entry)], &entry, sizeof(entry));
    }
    return bytes;
  }

  void LookUpAtRandomTimes(int lookups) {
    std::mt19937 random(1);
    const Stopwatch stopwatch;
    for (int i = 0; i < lookups; ++i) {
      const auto number = static_cast<std::uint32_t>(random() % count);
      const std::uint64_t time = ToArchiveTime(kFirstTime + number);
      ASSERT_THAT(Ask(ChunkRequest(time + random() % 1000)),
                  ElementsAre("IRN3 0/" + std::to_string(number) + " at " + std::to_string(time)));
    }
    ReportFigure("entries.lookup_microseconds", 1'000'000 * stopwatch.Seconds() / lookups);
  }

  // The levels of stream 1 from the first entry to the last, in ten bins.
  Bytes ActivityOfAll() {
    Send(ActivityRequest(ToArchiveTime(kFirstTime), ToArchiveTime(kFirstTime + count), 10, 1));
    const std::vector<cMemBlock> blocks = Received();
    if (blocks.size() != 1) return Bytes();
    const ActivityGistBlock gist = ActivityGistBlock::View(blocks[0]);
    return Bytes(gist.Record().Levels(), gist.Record().Levels() + gist.GetExtraSize());
  }

  const std::uint32_t count = static_cast<std::uint32_t>(Scaled(100'000, 10'000'000));
  const std::string path = folder / "cam.zel3";
};

// The whole file in one step: byte by byte would take longer than the test.
Bytes ReadAtOnce(const std::string& path) {
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  Bytes bytes(static_cast<std::size_t>(file.tellg()));
  file.seekg(0);
  file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  return bytes;
}

TEST_F(ManyEntries, AreServedFromLittleMemory) {
  PlaceArchive();
  const std::int64_t before = MeasureProcess().residentBytes;
  const Stopwatch stopwatch;
  Open(path);
  ReportFigure("entries.open_seconds", stopwatch.Seconds());

  LookUpAtRandomTimes(1000);
  EXPECT_EQ(ActivityOfAll(), (Bytes{0, 2, 4, 6, 8, 10, 12, 14, 16, 20}))
      << "the first bin stays empty, and the last one holds two tenths";

  const double bytesPerEntry = static_cast<double>(MeasureProcess().residentBytes - before) / count;
  ReportFigure("entries.resident_bytes_per_entry", bytesPerEntry);
  if (!kIsSanitized) {
    EXPECT_LE(bytesPerEntry, 64);
  }
}

TEST_F(ManyEntries, AreSavedAsTheyWereLoaded) {
  PlaceArchive();
  cZel3Indexer index;
  ASSERT_TRUE(index.Open_file(QString::fromStdString(path), 0));
  std::filesystem::remove(CachePath(path, "id3"));
  const Stopwatch stopwatch;
  index.Save_files();
  ReportFigure("entries.save_seconds", stopwatch.Seconds());
  EXPECT_TRUE(ReadAtOnce(CachePath(path, "id3")) == AllEntries()) << "too many bytes to show";
}

}  // namespace
