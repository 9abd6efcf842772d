#include <sys/stat.h>

#include <filesystem>

#include "support/reader_test.h"

namespace {

namespace fs = std::filesystem;

// Times that stand for the order of files: the newest is looked at first.
enum Age : std::int64_t { kOldest = 1'000'000, kOlder = 2'000'000, kNewest = 3'000'000 };

class OpeningAFolder : public ReaderTest {
 protected:
  std::string Warning() const { return "Err W010 No archive in " + folder.Path(); }
  std::string List(int count) const {
    return "ArcA " + std::to_string(count) + " " + folder.Path();
  }

  // A file that is long enough but no archive.
  void PlaceBad(const std::string& name, std::int64_t modified) {
    Place(name, Bytes(100, 0x11), modified);
  }
  void PlaceGood(const std::string& name, std::uint32_t firstIndexTime, std::int64_t modified) {
    Place(name, ArchiveOf(name, {firstIndexTime, firstIndexTime + 10, firstIndexTime + 20}),
          modified);
  }
  // What two clients are told when they ask for the same time together: the first request starts a
  // run when the file needs one, the second is answered at its end.
  Lines AskTwice(std::uint64_t time) {
    Send(ChunkRequest(time));
    Send(ChunkRequest(time));
    return Without("Warn W008", Told());
  }
};

TEST_F(OpeningAFolder, FindsTheTimesOfEachFileByItsHeadAndTail) {
  PlaceGood("late.zel3", 1000, kOldest);
  PlaceGood("early.zel3", 100, kOlder);
  PlaceGood("middle.zel3", 500, kNewest);
  Open(folder.Path());
  EXPECT_THAT(ArchiveTimes(), ElementsAre("100000-120000", "500000-520000", "1000000-1020000"));
  EXPECT_TRUE(workshop.orders.empty()) << "nothing is indexed before it is needed";
}

TEST_F(OpeningAFolder, TakesTheIndexFromTheCacheWhereThereIsOne) {
  PlaceGood("quick.zel3", 100, kOldest);
  const std::string cached = Place("cached.zel3", NumberedBytes(401), kNewest);
  IndexCache{{{510, 100}, {520, 200}, {530, 300}}}.WriteBeside(cached);
  Open(folder.Path());
  EXPECT_THAT(ArchiveTimes(), ElementsAre("100000-120000", "510000-536000"));
}

TEST_F(OpeningAFolder, LooksOnlyAtArchiveNames) {
  PlaceGood("a.zel3", 100, kOldest);
  PlaceGood("b.zel3.bak", 200, kOlder);
  PlaceGood("c.txt", 300, kOlder);
  PlaceGood("zel3", 400, kOlder);
  fs::create_directory(folder / "d.zel3");
  ASSERT_EQ(mkfifo((folder / "e.zel3").c_str(), 0600), 0);
  fs::create_symlink(folder / "missing", folder / "f.zel3");
  Open(folder.Path());
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre(List(1)));
}

TEST_F(OpeningAFolder, NamesMayBeginWithAnything) {
  for (const char* const name : {":a.zel3", "-b.zel3", "~c.zel3", " d.zel3", "%1.zel3"})
    PlaceGood(name, 100U * static_cast<unsigned char>(name[1]), kOlder);
  Open(folder.Path());
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre(List(5)));
}

TEST_F(OpeningAFolder, ANameMayBeginWithAByteOrderMark) {
  const std::string mark = "\xEF\xBB\xBF";
  PlaceGood(mark + "cam.zel3", 100, kOldest);
  Open(folder.Path());
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre(List(1)));
  EXPECT_THAT(AskTwice(110000), ElementsAre("Cewg", "IRN3 0/1 at 110000"));
  EXPECT_EQ(EntryNames(folder.Path()),
            (Lines{mark + "cam.evt", mark + "cam.hdr", mark + "cam.id3", mark + "cam.zel3"}));
  EndReader();

  Open(folder / (mark + "cam.zel3"));
  EXPECT_THAT(Ask(ChunkRequest(110000)), ElementsAre("IRN3 0/1 at 110000"));
  EXPECT_EQ(workshop.orders.size(), 1U) << "its index is found again";
}

TEST_F(OpeningAFolder, SuffixesInAnyCaseAreOneFormat) {
  PlaceGood("a.zel3", 100, kOldest);
  PlaceGood("b.ZEL3", 200, kOlder);
  PlaceGood("c.Zel3", 300, kNewest);
  Open(folder.Path());
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre(List(3)));
}

TEST_F(OpeningAFolder, TheNewestUsableFileDecidesTheFormat) {
  PlaceGood("a.zel3", 100, kNewest);
  PlaceGood("b.zel", 200, kOlder);
  PlaceGood("c.zel3", 300, kOldest);
  Open(folder.Path());
  EXPECT_THAT(ArchiveTimes(), ElementsAre("100000-120000", "300000-320000"));
}

TEST_F(OpeningAFolder, AFileTooShortDoesNotDecideTheFormat) {
  Place("a.zel", Bytes(15, 0x11), kNewest);
  PlaceGood("b.zel3", 100, kOlder);
  Open(folder.Path());
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre(List(1)));
}

TEST_F(OpeningAFolder, AFileOfSixteenBytesIsLongEnoughToDecideTheFormat) {
  Place("a.zel", Bytes(16, 0x11), kNewest);
  PlaceGood("b.zel3", 100, kOlder);
  Open(folder.Path());
  EXPECT_THAT(Ask(ArchivesRequest()), IsEmpty());
  EXPECT_THAT(Ask(ChunkRequest(110000)), ElementsAre("IRN3 none at 113000"));
}

TEST_F(OpeningAFolder, AFileOfSixteenBytesIsServedFromItsCache) {
  IndexCache{{{10, 4}, {20, 8}}}.WriteBeside(Place("long.zel3", Bytes(16, 0x11)));
  IndexCache{{{110, 4}, {120, 8}}}.WriteBeside(Place("short.zel3", Bytes(15, 0x11)));
  Open(folder.Path());
  EXPECT_THAT(ArchiveTimes(), ElementsAre("10000-26000"));
}

// Files of the other format are never set aside, so the folder does not count as empty.
TEST_F(OpeningAFolder, FilesOfTheOtherFormatKeepTheWarningAway) {
  PlaceGood("a.zel", 100, kNewest);
  PlaceGood("b.zel3", 200, kOldest);
  Open(folder.Path());
  EXPECT_THAT(Ask(ArchivesRequest()), IsEmpty());
  EXPECT_THAT(Ask(ChunkRequest(205000)), ElementsAre("IRN3 none at 208000"));
}

TEST_F(OpeningAFolder, OlderFilesHaveNoQuickIndex) {
  PlaceGood("a.zel", 100, kNewest);
  Open(folder.Path());
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre(Warning()));
  EXPECT_TRUE(workshop.orders.empty());
}

TEST_F(OpeningAFolder, OlderFilesAreServedFromTheirCache) {
  const std::string path = Place("a.zel", NumberedBytes(401));
  IndexCache{{{10, 100}, {20, 200}, {30, 300}}}.WriteBeside(path);
  Open(folder.Path());
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre(List(1)));
  EXPECT_THAT(Ask(ChunkRequest(20000)), ElementsAre("IRN3 0/1 at 20000"));
}

TEST_F(OpeningAFolder, AnEmptyFolderHoldsNoArchive) {
  Open(folder.Path());
  EXPECT_THAT(Told(), IsEmpty()) << "nobody has asked";
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre(Warning()));
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre(Warning()));
}

TEST_F(OpeningAFolder, FilesBelowSixteenBytesAreNoArchives) {
  for (std::size_t size = 0; size < 16; ++size) {
    Place("of " + std::to_string(size) + ".zel3", Bytes(size, 0x11));
  }
  Open(folder.Path());
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre(Warning()));
}

TEST_F(OpeningAFolder, FilesBelowSixteenBytesDoNotKeepOthersOut) {
  Place("a.zel3", Bytes(15, 0x11), kNewest);
  PlaceGood("b.zel3", 100, kOlder);
  Place("c.zel3", Bytes(), kOldest);
  Open(folder.Path());
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre(List(1)));
}

TEST_F(OpeningAFolder, OneBadNewestFileMakesTheFolderCountAsEmptyYetTimesAreFound) {
  PlaceBad("bad.zel3", kNewest);
  PlaceGood("good.zel3", 100, kOldest);
  Open(folder.Path());
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre(Warning()));
  EXPECT_THAT(Ask(ChunkRequest(50000)), ElementsAre("IRN3 none at 53000"));
  Ask(ChunkRequest(110000));
  EXPECT_EQ(workshop.orders.size(), 1u) << "the good file is known and gets its index";
}

TEST_F(OpeningAFolder, ABadOldestFileLeavesTheListWaitingUntilTheFolderIsReadAgain) {
  PlaceGood("good.zel3", 100, kNewest);
  PlaceBad("bad.zel3", kOldest);
  Open(folder.Path());
  EXPECT_THAT(Ask(ArchivesRequest()), IsEmpty());
  EXPECT_THAT(Without("Warn W008", Ask(ChunkRequest(110000))),
              ElementsAre("Cewg", List(1), kNoAnswerForward));
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre(List(1)));
}

// A file that has been set aside is not looked at again, so its new index is not found by the end
// of the run; the next request brings it in.
TEST_F(OpeningAFolder, FilesOlderThanABadOneAreSetAsideEvenWhenTheyAreGood) {
  PlaceGood("newer.zel3", 100, kNewest);
  PlaceBad("bad.zel3", kOlder);
  PlaceGood("older.zel3", 500, kOldest);
  Open(folder.Path());
  EXPECT_THAT(AskTwice(110000), ElementsAre("Cewg", "IRN3 0/1 at 110000"));
  EXPECT_THAT(AskTwice(510000), ElementsAre("Cewg", "IRN3 none at 513000"));
  EXPECT_THAT(AskTwice(510000), ElementsAre("Cewg", "IRN3 1/1 at 510000"));
  EXPECT_THAT(AskTwice(510000), ElementsAre("IRN3 1/1 at 510000", "IRN3 1/1 at 510000"));

  // Brought in by a request, the file ends with its last entry, which therefore has no bytes.
  const std::size_t firstEntry = ArchiveBuilder("older.zel3").Header({{1}, {2}}).Size();
  EXPECT_EQ(BytesFor(BytesRequest(MakeIndexId(1, 2), 520000)),
            Joined(Part(ReadFile(folder / "older.zel3"), 0, firstEntry), EndMarker()));
}

TEST_F(OpeningAFolder, TheOrderOfTheScanIsByTimeAndNotByName) {
  PlaceGood("newer.zel3", 100, kOldest);
  PlaceBad("bad.zel3", kOlder);
  PlaceGood("older.zel3", 500, kNewest);
  Open(folder.Path());
  EXPECT_THAT(AskTwice(510000), ElementsAre("Cewg", "IRN3 1/1 at 510000"));
  EXPECT_THAT(AskTwice(110000), ElementsAre("Cewg", "IRN3 none at 113000"));
}

TEST_F(OpeningAFolder, AnotherSpellingOfTheFolderIsTheSameFolder) {
  fs::create_directory(folder / "archives");
  fs::create_symlink(folder / "archives", folder / "link");
  Place("archives/cam.zel3", ArchiveOf("cam", {10, 20}));
  for (const char* const name : {"archives", "archives/", "link", "archives/../archives/."}) {
    Open(folder / name);
    EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre("ArcA 1 " + (folder / "archives"))) << name;
    EndReader();
  }
}

TEST_F(OpeningAFolder, ARelativeFolderIsStillTheSameAfterARun) {
  fs::create_directories(folder / "archives/archives");
  Place("archives/cam.zel3", ArchiveOf("cam", {10, 20}));
  Place("archives/archives/inner.zel3", ArchiveOf("inner", {1000, 2000}));
  const fs::path before = fs::current_path();
  fs::current_path(folder.Path());
  Open("archives");
  Ask(ChunkRequest(15000));
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre("ArcA 1 " + (folder / "archives")));
  EXPECT_THAT(ArchiveTimes(), ElementsAre("10000-26000"));
  fs::current_path(before);
}

TEST_F(OpeningAFolder, FilesThatComeLaterAreFoundAtTheEndOfARun) {
  PlaceGood("a.zel3", 100, kOldest);
  Open(folder.Path());
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre(List(1)));
  PlaceGood("b.zel3", 500, kNewest);
  Ask(ChunkRequest(110000));
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre(List(2)));
}

TEST_F(OpeningAFolder, FilesThatAreGoneAreStillListed) {
  PlaceGood("a.zel3", 100, kOldest);
  PlaceGood("b.zel3", 500, kNewest);
  Open(folder.Path());
  fs::remove(folder / "b.zel3");
  AskTwice(110000);
  EXPECT_THAT(ArchiveTimes(), ElementsAre("100000-126000", "500000-520000"));
}

TEST_F(OpeningAFolder, SetAsideFilesCountAgainstItAlsoWhenTheyAreGone) {
  PlaceGood("good.zel3", 100, kNewest);
  PlaceBad("bad1.zel3", kOlder);
  PlaceBad("bad2.zel3", kOldest);
  Open(folder.Path());
  fs::remove(folder / "bad1.zel3");
  fs::remove(folder / "bad2.zel3");
  EXPECT_THAT(AskTwice(110000), ElementsAre("Cewg", "IRN3 0/1 at 110000"));
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre(Warning())) << "two set aside, one listed";
}

TEST_F(OpeningAFolder, OnceItCountsAsEmptyANewFileDoesNotMendIt) {
  PlaceBad("bad.zel3", kNewest - 1);
  PlaceGood("good.zel3", 100, kOldest);
  Open(folder.Path());
  PlaceGood("new.zel3", 500, kNewest);
  EXPECT_THAT(AskTwice(110000), ElementsAre("Cewg", "IRN3 none at 113000"));
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre(Warning()));
}

TEST_F(OpeningAFolder, TheFormatIsChosenAnewWheneverItIsReadAgain) {
  PlaceGood("a.zel3", 100, kOldest);
  Open(folder.Path());
  PlaceGood("b.zel", 500, kNewest);
  EXPECT_THAT(AskTwice(110000), ElementsAre("Cewg", "IRN3 none at 113000"))
      << "the files of the newer format are passed over";

  Send(ChunkRequest(110000));
  Send(ChunkRequest(110000));
  const Lines told = Told();
  EXPECT_EQ(told.front(), "Warn W008 0% b.zel");
  EXPECT_THAT(Without("Warn W008", told), ElementsAre("Cewg", "IRN3 0/1 at 110000"));
  ASSERT_EQ(workshop.orders.size(), 2u);
  EXPECT_EQ(workshop.orders[1].input.format, tag::kFormatZel1);
}

// It was not there when its bytes were asked for; that is remembered when the folder is read again.
TEST_F(OpeningAFolder, AFileThatFailedOnceGetsNoQuickIndexAgain) {
  IndexCache{{{10, 100}, {20, 200}, {30, 300}}}.WriteBeside(
      Place("a.zel3", NumberedBytes(401), kNewest));
  PlaceGood("b.zel3", 110, kOlder);
  PlaceGood("c.zel3", 210, kOldest);
  Open(folder.Path());
  Ask(ChunkRequest(10000));
  Ask(BytesRequest(MakeIndexId(0, 0), 10000));
  fs::remove(folder / "c.zel3");
  Ask(BytesRequest(MakeIndexId(2, 0), 210000));
  PlaceGood("c.zel3", 210, kOldest);

  EXPECT_THAT(AskTwice(115000), ElementsAre("Cewg", "IRN3 1/0 at 110000"));
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre(List(3)));
  EXPECT_THAT(AskTwice(215000), ElementsAre("Cewg", "IRN3 none at 218000"))
      << "it was set aside and is not opened again after its run";
}

TEST_F(OpeningAFolder, AFileSetAsideForItsSizeStaysAsideWhenItHasGrown) {
  PlaceGood("a.zel3", 100, kNewest);
  Place("late.zel3", Bytes(15, 0x11), kOldest);
  Open(folder.Path());
  PlaceGood("late.zel3", 500, kOldest);
  EXPECT_THAT(AskTwice(110000), ElementsAre("Cewg", "IRN3 0/1 at 110000"));
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre(List(1)));
}

TEST_F(OpeningAFolder, NamesSetAsideAreToldApartByCase) {
  Place("cam.zel3", Bytes(15, 0x11), kNewest);
  PlaceGood("CAM.zel3", 100, kOldest);
  Open(folder.Path());
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre(List(1)));
}

TEST_F(OpeningAFolder, HiddenFilesAreNotLookedAt) {
  PlaceGood(".cam.zel3", 100, kNewest);
  Open(folder.Path());
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre(Warning()));
}

}  // namespace
