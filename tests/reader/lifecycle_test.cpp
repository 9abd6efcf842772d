#include <cstring>

#include "support/reader_test.h"

namespace {

class Lifecycle : public ReaderTest {
 protected:
  // A reader in the middle of an indexing run whose parser waits.
  void OpenAndStayInARun() {
    workshop.pullsItself = false;
    Open(Place("cam.zel3", ArchiveOf("cam", {10, 20})));
    Run();
  }
};

TEST_F(Lifecycle, SaysNothingUntilItIsAsked) {
  const std::string path = Place("cam.zel3", NumberedBytes(100));
  IndexCache{{{10, 20}, {20, 60}}}.WriteBeside(path);
  Open(path);
  EXPECT_THAT(Told(), IsEmpty());
}

TEST_F(Lifecycle, CreationTellsWhetherTheSourceWasOpened) {
  const std::string cached = Place("cached.zel3", NumberedBytes(100));
  IndexCache{{{10, 20}, {20, 60}}}.WriteBeside(cached);
  const std::string uncached = Place("uncached.zel3", ArchiveOf("cam", {10, 20}));
  Open(folder / "missing");
  EXPECT_EQ(reader->Create(Config(folder / "missing")), 0);
  EXPECT_NE(reader->Create(Config(cached)), 0);
  EXPECT_EQ(reader->Create(Config(uncached)), 0) << "it is indexed first";
  EXPECT_EQ(workshop.orders.size(), 1u);
}

TEST_F(Lifecycle, WithoutARunEndsAlone) {
  const std::string path = Place("cam.zel3", NumberedBytes(100));
  IndexCache{{{10, 20}, {20, 60}}}.WriteBeside(path);
  Open(path);
  Run();
  EXPECT_EQ(pipeline.BrickCount(), 2u);
  reader.reset();
  EXPECT_FALSE(pipeline.RunOne()) << "a reader without children tells nobody to end";
  EXPECT_TRUE(workshop.orders.empty());
}

TEST_F(Lifecycle, AfterARunHasNoChildrenToEnd) {
  Open(Place("cam.zel3", ArchiveOf("cam", {10, 20})));
  Run();
  ASSERT_EQ(pipeline.BrickCount(), 2u);
  reader.reset();
  EXPECT_FALSE(pipeline.RunOne());
}

TEST_F(Lifecycle, DuringARunEndsTheIndexReaderFirstAndThenTheParser) {
  OpenAndStayInARun();
  ASSERT_EQ(pipeline.BrickCount(), 4u) << "client, reader, index reader, parser";
  workshop.log.clear();

  reader.reset();
  EXPECT_THAT(workshop.log, ElementsAre("queued Kill 0"));
  EXPECT_TRUE(pipeline.RunOne());
  EXPECT_EQ(pipeline.BrickCount(), 2u);
  EXPECT_NE(workshop.current, nullptr) << "the index reader goes first";
  EXPECT_TRUE(pipeline.RunOne());
  EXPECT_EQ(workshop.current, nullptr);
  EXPECT_EQ(pipeline.BrickCount(), 1u);
  EXPECT_FALSE(pipeline.RunOne());
}

TEST_F(Lifecycle, AnAbandonedRunLeavesThreeEmptyCacheFilesAndTheNextStartRunsAgain) {
  OpenAndStayInARun();
  EndReader();
  EXPECT_THAT(EntryNames(folder.Path()), ElementsAre("cam.evt", "cam.hdr", "cam.id3", "cam.zel3"));
  for (const char* const extension : {"evt", "hdr", "id3"}) {
    EXPECT_THAT(ReadFile(CachePath(folder / "cam.zel3", extension)), IsEmpty()) << extension;
  }

  workshop.pullsItself = true;
  Open(folder / "cam.zel3");
  Run();
  EXPECT_EQ(workshop.orders.size(), 2u);
  EXPECT_THAT(Told(), testing::Contains("Cewg"));
}

TEST_F(Lifecycle, EndsItsChildrenAlsoWhenItIsEndedByACommandItself) {
  OpenAndStayInARun();
  Send(KillBlock::New());
  reader.release();
  Run();
  EXPECT_EQ(workshop.current, nullptr);
  EXPECT_EQ(pipeline.BrickCount(), 1u);
}

TEST_F(Lifecycle, TheChildrenAreDestroyedEvenWhenBlocksStillWaitForThem) {
  OpenAndStayInARun();
  workshop.current->Pull();
  workshop.current->Pull();
  EndReader();
  EXPECT_EQ(workshop.current, nullptr);
  EXPECT_EQ(pipeline.BrickCount(), 1u);
}

TEST_F(Lifecycle, AnArchivePathThatFillsItsFieldIsReadUpToItsEnd) {
  constexpr std::size_t kLongestPath = 260;
  const std::string name(kLongestPath - folder.Path().size() - std::strlen("/.zel3"), 'c');
  // A file name has at most 255 bytes; the folder's own path makes up the rest.
  ASSERT_LT(name.size(), 250u);
  const std::string path = Place(name + ".zel3", NumberedBytes(100));
  ASSERT_EQ(path.size(), kLongestPath);
  IndexCache{{{10, 20}, {20, 60}}}.WriteBeside(path);
  TBrickConfig config = Config("");
  std::memset(config.name, 'n', sizeof(config.name));
  std::memset(config.cacheFolder, 0, sizeof(config.cacheFolder));
  std::memcpy(config.sourcePath, path.c_str(), kLongestPath);
  config.sourcePath[kLongestPath] = 'x';
  Open(config);
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre("ArcA 1 " + path));
}

TEST_F(Lifecycle, ACacheFolderWithoutAnEndIsReadUpToItsEnd) {
  const std::string path = Place("cam.zel3", ArchiveOf("cam", {10, 20}));
  TBrickConfig config = Config(path);
  std::memset(config.cacheFolder, 'x', sizeof(config.cacheFolder));
  Open(config);
  EXPECT_THAT(Told(), testing::Contains("Cewg")) << "such a folder does not exist; the run goes on";
}

}  // namespace
