#include <sys/stat.h>

#include <filesystem>

#include "support/reader_test.h"

namespace {

namespace fs = std::filesystem;

const IndexCache kThreeEntries{{{10, 100}, {20, 200}, {30, 300}}};

class OpeningAFile : public ReaderTest {
 protected:
  // A parser that finds nothing, so that the index stays empty.
  std::string PlaceUnparsable(const std::string& name) { return Place(name, Bytes(100, 0x11)); }
};

TEST_F(OpeningAFile, TakesTheIndexFromItsCache) {
  const std::string path = Place("cam.zel3", NumberedBytes(401));
  kThreeEntries.WriteBeside(path);
  Open(path);
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre("ArcA 1 " + path));
  EXPECT_TRUE(workshop.orders.empty());
}

TEST_F(OpeningAFile, WithoutACacheStartsARunAtOnce) {
  Open(Place("cam.zel3", ArchiveOf("cam", {10, 20, 30})));
  Settle();
  ASSERT_EQ(workshop.orders.size(), 1u);
  EXPECT_THAT(ArchiveTimes(), ElementsAre("10000-36000"));
}

TEST_F(OpeningAFile, TheSecondStartTakesTheCacheThatTheFirstHasWritten) {
  const std::string path = Place("cam.zel3", ArchiveOf("cam", {10, 20, 30}));
  Open(path);
  Settle();
  EndReader();

  Open(path);
  EXPECT_THAT(ArchiveTimes(), ElementsAre("10000-36000"));
  EXPECT_EQ(workshop.orders.size(), 1u);
}

// The quick look at head and tail is for folders only.
TEST_F(OpeningAFile, NeverMakesDoWithTheFirstAndLastIndexRecord) {
  workshop.pullsItself = false;
  Open(Place("cam.zel3", ArchiveOf("cam", {10, 20, 30})));
  EXPECT_THAT(Ask(ArchivesRequest()), IsEmpty());
}

// Cache names are cut at the last dot of the whole path, so a name without one needs a folder with
// one; else the cache would land in the working folder.
TEST_F(OpeningAFile, KnowsTheFormatByTheSuffix) {
  fs::create_directory(folder / "the.folder");
  const struct {
    const char* name;
    Tag format;
  } cases[] = {{"a.zel3", tag::kFormatZel3},  {"a.ZEL3", tag::kFormatZel3},
               {"a.Zel3", tag::kFormatZel3},  {"a.zel", tag::kFormatZel1},
               {"a.ZEL", tag::kFormatZel1},   {"a.zel33", tag::kFormatZel1},
               {"a.dat", tag::kFormatZel1},   {"the.folder/zel3", tag::kFormatZel1},
               {"a.zel3.x", tag::kFormatZel1}};
  for (const auto& example : cases) {
    workshop.orders.clear();
    Open(Place(example.name, ArchiveOf(example.name, {10, 20})));
    EndReader();
    ASSERT_EQ(workshop.orders.size(), 1u) << example.name;
    EXPECT_EQ(workshop.orders[0].input.format, example.format) << example.name;
  }
}

TEST_F(OpeningAFile, NothingAtThePathIsNotReported) {
  for (const std::string& source : {folder / "missing.zel3", folder / "missing/cam.zel3",
                                    std::string("missing.zel3"), std::string()}) {
    Open(source);
    EXPECT_THAT(Told(), IsEmpty()) << source;
    EXPECT_THAT(Ask(ArchivesRequest()), IsEmpty()) << source;
    EXPECT_THAT(Ask(ChunkRequest(20000)), ElementsAre("IRN3 none at 23000")) << source;
    EXPECT_THAT(Ask(DataTick()), ElementsAre("RDat 13")) << source;
    EndReader();
  }
}

TEST_F(OpeningAFile, WhatIsNeitherFileNorFolderIsNotOpened) {
  ASSERT_EQ(mkfifo((folder / "pipe.zel3").c_str(), 0600), 0);
  fs::create_symlink(folder / "missing", folder / "dangling.zel3");
  for (const char* const name : {"pipe.zel3", "dangling.zel3"}) {
    Open(folder / name);
    EXPECT_THAT(Told(), IsEmpty()) << name;
    EXPECT_THAT(Ask(ArchivesRequest()), IsEmpty()) << name;
    EndReader();
  }
}

TEST_F(OpeningAFile, AnAbsentArchiveLeavesTheRequestForTheListWaiting) {
  workshop.pullsItself = false;
  const std::string path = PlaceUnparsable("cam.zel3");
  Open(path);
  EXPECT_THAT(Ask(ArchivesRequest()), IsEmpty());
  fs::remove(path);
  workshop.current->Report(Message(tag::kLevelWarning, tag::kCodeEndOfFile));
  EXPECT_THAT(Told(), ElementsAre("Cewg"));
  EXPECT_THAT(Ask(ArchivesRequest()), IsEmpty()) << "a missing path is not a failed archive";
}

// The first failure starts the run that is to mend it; the second is final.
TEST_F(OpeningAFile, ReportsOnlyARepeatedFailure) {
  workshop.pullsItself = false;
  Open(PlaceUnparsable("cam.zel3"));
  EXPECT_THAT(Ask(ArchivesRequest()), IsEmpty());
  workshop.current->Report(Message(tag::kLevelWarning, tag::kCodeEndOfFile));
  EXPECT_THAT(Told(), ElementsAre("Cewg", "Err W010 No archive in cam.zel3"));
}

TEST_F(OpeningAFile, ARepeatedFailureIsToldOnlyToThoseWhoAsk) {
  Open(PlaceUnparsable("cam.zel3"));
  EXPECT_THAT(Told(), ElementsAre("Cewg"));
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre("Err W010 No archive in cam.zel3"));
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre("Err W010 No archive in cam.zel3"));
}

TEST_F(OpeningAFile, TellsTheNameOfAnOlderFileToo) {
  Open(PlaceUnparsable("old cam.zel"));
  EXPECT_THAT(Told(), ElementsAre("Cewg"));
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre("Err W010 No archive in old cam.zel"));
}

TEST_F(OpeningAFile, ALinkToAnArchiveIsAnArchive) {
  const std::string path = Place("cam.zel3", NumberedBytes(401));
  fs::create_symlink(path, folder / "link.zel3");
  kThreeEntries.WriteBeside(folder / "link.zel3");
  Open(folder / "link.zel3");
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre("ArcA 1 " + (folder / "link.zel3")));
}

TEST_F(OpeningAFile, AFolderNamedLikeAnArchiveIsAFolder) {
  fs::create_directory(folder / "cam.zel3");
  Open(folder / "cam.zel3");
  EXPECT_THAT(Ask(ArchivesRequest()),
              ElementsAre("Err W010 No archive in " + (folder / "cam.zel3")));
}

TEST_F(OpeningAFile, AnArchiveAboveFourGibibytesIsReadByItsLowPositions) {
  const std::string path = Place("cam.zel3", NumberedBytes(300));
  fs::resize_file(path, 5'368'709'120);
  IndexCache{{{10, 100}, {20, 200}, {30, 0xFFFFFF00}, {40, 0xFFFFFFF0}}}.WriteBeside(path);
  Open(path);
  Ask(ChunkRequest(30000));
  const Bytes header = Part(NumberedBytes(300), 0, 100);
  const Bytes hole(0xF0);
  EXPECT_EQ(BytesFor(BytesRequest(MakeIndexId(0, 2), 30000)),
            Joined(Joined(header, hole), EndMarker()));
}

TEST_F(OpeningAFile, TheProgressOfAnArchiveAboveFourGibibytesCountsAllItsBytes) {
  const std::string path = Place("cam.zel3", Bytes(100, 0x11));
  fs::resize_file(path, 5'000'000'000);
  workshop.pullsItself = false;
  Open(path);
  Run();
  workshop.current->Report(ParsedPlace(4'600'000'000));
  EXPECT_THAT(Told(), ElementsAre("Warn W008 92% cam.zel3"));
}

}  // namespace
