#include "load_test.h"

namespace {

// A folder with many archives of three entries each, one archive after the other in time.
class ManyArchives : public LoadTest {
 protected:
  static std::uint32_t StartOf(std::uint32_t number) { return 1000 + 100 * number; }
  static IndexedArchive ArchiveNumber(std::uint32_t number) {
    const std::uint32_t start = StartOf(number);
    return IndexedArchiveOf({start, start + 10, start + 20});
  }

  void PlaceArchives(bool cached) {
    for (std::uint32_t number = 0; number < count; ++number) {
      const IndexedArchive archive = ArchiveNumber(number);
      const std::string path = Place(std::to_string(100'000 + number) + ".zel3", archive.bytes);
      if (cached) archive.cache.WriteBeside(path);
    }
  }
  void OpenFolder(const std::string& figure) {
    const Stopwatch stopwatch;
    Open(folder.Path());
    Settle();
    ReportFigure(figure, stopwatch.Seconds());
  }

  // The list of archives when each lasts for `duration` index times.
  Lines TimesOfAll(std::uint32_t duration) const {
    Lines times;
    for (std::uint32_t number = 0; number < count; ++number) {
      const std::uint32_t start = StartOf(number);
      times.push_back(std::to_string(start) + "000-" + std::to_string(start + duration) + "000");
    }
    return times;
  }

  // The second of three entries in the middle of the list.
  std::uint64_t MiddleTime() const { return ToArchiveTime(StartOf(middle) + 10); }
  std::string MiddleAnswer() const {
    return "IRN3 " + std::to_string(middle) + "/1 at " + std::to_string(MiddleTime());
  }

  const std::uint32_t count = static_cast<std::uint32_t>(Scaled(200, 10'000));
  const std::uint32_t middle = count / 2;
};

TEST_F(ManyArchives, WithoutIndexAreListedAndIndexedOnDemand) {
  PlaceArchives(false);
  OpenFolder("archives.without_index.open_seconds");
  EXPECT_EQ(ArchiveTimes(), TimesOfAll(20));

  const Stopwatch stopwatch;
  Send(ChunkRequest(MiddleTime()));
  Send(ChunkRequest(MiddleTime()));
  EXPECT_THAT(Without("Warn W008", Told()), ElementsAre("Cewg", MiddleAnswer()))
      << "the first request starts a run, the second is answered at its end";
  ReportFigure("archives.without_index.run_seconds", stopwatch.Seconds());
  EXPECT_THAT(Ask(ChunkRequest(MiddleTime())), ElementsAre(MiddleAnswer()));
  EXPECT_EQ(ArchiveList().size(), count);
}

TEST_F(ManyArchives, WithIndexAreServedAtOnce) {
  PlaceArchives(true);
  OpenFolder("archives.with_index.open_seconds");
  EXPECT_EQ(ArchiveTimes(), TimesOfAll(26)) << "the last entry lasts for 6 index times";
  EXPECT_THAT(Ask(ChunkRequest(MiddleTime())), ElementsAre(MiddleAnswer()));

  const IndexedArchive archive = ArchiveNumber(middle);
  const std::size_t first = archive.cache.entries[0].offset;
  const std::size_t second = archive.cache.entries[1].offset;
  const std::size_t third = archive.cache.entries[2].offset;
  const Bytes header = Part(archive.bytes, 0, first);
  const Bytes entry = Part(archive.bytes, second, third - second);
  EXPECT_EQ(BytesFor(BytesRequest(MakeIndexId(middle, 1), MiddleTime())),
            Joined(Joined(header, entry), EndMarker()));
}

}  // namespace
