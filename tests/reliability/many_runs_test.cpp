#include <filesystem>

#include "load_test.h"

namespace {

using Caches = std::vector<Bytes>;

// Indexing runs one after the other, each over a file without caches.
class ManyRuns : public LoadTest {
 protected:
  // Entries at a hundred times, events at ten of them; longer than one block of a run.
  std::string PlaceArchive(const std::string& name, std::uint32_t firstTime) {
    ArchiveBuilder builder("cam");
    builder.Header({{1}, {2}});
    for (std::uint32_t time = firstTime; time < firstTime + 100; ++time) {
      builder.Index(time);
      builder.Data(1, time % 32, std::string(1000, 'v'));
      if (time % 10 == 0) builder.Data(0x80, 0, "event at " + std::to_string(time));
    }
    return Place(name, builder.Content());
  }

  // The caches that a run has written, which are gone afterwards.
  Caches TakeCaches(const std::string& archivePath) {
    Caches caches;
    for (const char* const extension : {"id3", "hdr", "evt"}) {
      const std::string path = CachePath(archivePath, extension);
      caches.push_back(ReadFile(path));
      std::filesystem::remove(path);
    }
    return caches;
  }

  // What the client is told of a run, except its progress.
  Lines ToldOfRun() {
    const Lines told = Without("Warn W008", Told());
    client->pulls.clear();
    return told;
  }

  const int count = Scaled(16, 500);
};

// After each run the folder is opened again; the file whose caches are gone since the run before is
// then known by its head and tail only, and the next request for it starts a run.
TEST_F(ManyRuns, OfOneReaderDoNotDiffer) {
  struct {
    std::string path;
    std::uint64_t time;
    Caches first;
  } files[] = {{PlaceArchive("a.zel3", 1000), 1'050'000, {}},
               {PlaceArchive("b.zel3", 2000), 2'050'000, {}}};
  Open(folder.Path());
  Settle();
  ProcessFigures early;
  const Stopwatch stopwatch;
  for (int round = 0; round < count / 2; ++round) {
    SCOPED_TRACE(round);
    for (auto& file : files) {
      Send(ChunkRequest(file.time));
      ASSERT_THAT(ToldOfRun(), ElementsAre("Cewg", "Evt 10", kNoAnswerForward));
      ASSERT_EQ(pipeline.BrickCount(), 2u) << "the reader and its client";
      const Caches caches = TakeCaches(file.path);
      if (round == 0) file.first = caches;
      ASSERT_EQ(caches, file.first);
    }
    if (round == count / 20) early = MeasureProcess();
  }
  for (const auto& file : files) EXPECT_THAT(file.first, testing::Each(testing::Not(IsEmpty())));
  ReportFigure("runs.one_reader.per_second", count / stopwatch.Seconds());
  ExpectNoGrowthSince(early, "runs.one_reader");
}

TEST_F(ManyRuns, OfManyReadersDoNotDiffer) {
  const std::string path = PlaceArchive("a.zel3", 1000);
  Caches first;
  ProcessFigures early;
  const Stopwatch stopwatch;
  for (int run = 0; run < count; ++run) {
    SCOPED_TRACE(run);
    Open(path);
    ASSERT_THAT(ToldOfRun(), ElementsAre("Cewg"));
    EndReader();
    ASSERT_EQ(pipeline.BrickCount(), 1u) << "the client";
    const Caches caches = TakeCaches(path);
    if (run == 0) first = caches;
    ASSERT_EQ(caches, first);
    if (run == count / 10) early = MeasureProcess();
  }
  EXPECT_THAT(first, testing::Each(testing::Not(IsEmpty())));
  ReportFigure("runs.many_readers.per_second", count / stopwatch.Seconds());
  ExpectNoGrowthSince(early, "runs.many_readers");
}

}  // namespace
