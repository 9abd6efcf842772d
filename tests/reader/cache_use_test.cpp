#include <sys/stat.h>

#include <QDir>
#include <cstdlib>
#include <filesystem>

#include "support/reader_test.h"

namespace {

namespace fs = std::filesystem;

// Where a reader keeps the index of an archive. The archive was last modified 2013-05-07 14:03:09.
class CacheUse : public ReaderTest {
 protected:
  static constexpr std::int64_t kModified = 1'367'935'389;
  static constexpr char kStamp[] = "13.05.07 14-03-09 ";

  std::string PlaceArchive(const std::string& name) {
    return Place(name, ArchiveOf("cam", {10, 20, 30}), kModified);
  }
  // The folder that is used when nothing can be written beside the archive.
  static std::string CommonFolder() {
    return QDir::tempPath().toStdString() + "/Vorn auxillary files";
  }
  void TearDown() override {
    ReaderTest::TearDown();
    fs::remove_all(CommonFolder());
  }

  void ExpectServedWithoutARun(const TBrickConfig& config) {
    const std::size_t runs = workshop.orders.size();
    Open(config);
    EXPECT_THAT(ArchiveTimes(), ElementsAre("10000-36000"));
    EXPECT_EQ(workshop.orders.size(), runs);
    EndReader();
  }
};

TEST_F(CacheUse, TheFilesLieBesideTheArchive) {
  const std::string path = PlaceArchive("cam.zel3");
  Open(path);
  Settle();
  EXPECT_THAT(EntryNames(folder.Path()), ElementsAre("cam.evt", "cam.hdr", "cam.id3", "cam.zel3"));
  EndReader();
  ExpectServedWithoutARun(Config(path));
}

TEST_F(CacheUse, AConfiguredFolderTakesTheFilesUnderTheArchivesTime) {
  fs::create_directory(folder / "cache");
  const std::string path = PlaceArchive("cam.zel3");
  for (const std::string& cache : {folder / "cache", folder / "cache/"}) {
    Open(Config(path, cache));
    Settle();
    EndReader();
    EXPECT_THAT(EntryNames(folder / "cache"),
                ElementsAre(kStamp + std::string("cam.evt"), kStamp + std::string("cam.hdr"),
                            kStamp + std::string("cam.id3")));
    EXPECT_EQ(workshop.orders.size(), 1u);
    ExpectServedWithoutARun(Config(path, cache));
  }
  EXPECT_THAT(EntryNames(folder.Path()), ElementsAre("cache", "cam.zel3"));
}

TEST_F(CacheUse, AnArchiveThatHasChangedIsIndexedAnew) {
  fs::create_directory(folder / "cache");
  const std::string path = PlaceArchive("cam.zel3");
  Open(Config(path, folder / "cache"));
  Settle();
  EndReader();
  SetModificationTime(path, kModified + 1);
  Open(Config(path, folder / "cache"));
  Settle();
  EXPECT_EQ(workshop.orders.size(), 2u);
}

// The names are made when the archive is opened, before the run.
TEST_F(CacheUse, TheIndexOfAnArchiveThatChangesDuringItsRunIsSavedUnderTheOldTime) {
  fs::create_directory(folder / "cache");
  const std::string path = PlaceArchive("cam.zel3");
  Open(Config(path, folder / "cache"));
  SetModificationTime(path, kModified + 1);
  Settle();
  EXPECT_THAT(EntryNames(folder / "cache"),
              ElementsAre(kStamp + std::string("cam.evt"), kStamp + std::string("cam.hdr"),
                          kStamp + std::string("cam.id3")));
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre("Err W010 No archive in cam.zel3"));
}

TEST_F(CacheUse, BesideAnArchiveThatChangesDuringItsRunTheIndexIsFound) {
  const std::string path = PlaceArchive("cam.zel3");
  Open(path);
  SetModificationTime(path, kModified + 1);
  Settle();
  EXPECT_THAT(ArchiveTimes(), ElementsAre("10000-36000"));
}

// A missing folder is not made; the common one is used from then on.
TEST_F(CacheUse, AMissingConfiguredFolderGivesWayToTheCommonOne) {
  const std::string path = PlaceArchive("cam.zel3");
  Open(Config(path, folder / "no such folder"));
  Settle();
  EXPECT_FALSE(fs::exists(folder / "no such folder"));
  EXPECT_TRUE(fs::exists(CommonFolder() + "/" + kStamp + "cam.id3"));
  EXPECT_THAT(ArchiveTimes(), ElementsAre("10000-36000"));
}

// The name of the folder is read one character per byte, unlike that of the archive.
TEST_F(CacheUse, AConfiguredFolderOutsideAsciiIsTakenByteForByte) {
  const std::string given = folder / "\xC3\xA9";
  fs::create_directory(given);
  const std::string path = PlaceArchive("cam.zel3");
  Open(Config(path, given));
  Settle();
  EXPECT_TRUE(fs::is_empty(given));
  EXPECT_TRUE(fs::exists(CommonFolder() + "/" + kStamp + "cam.id3"));
  EndReader();

  const std::string readAs = folder / "\xC3\x83\xC2\xA9";
  fs::create_directory(readAs);
  Open(Config(path, given));
  Settle();
  EXPECT_TRUE(fs::is_empty(given));
  EXPECT_TRUE(fs::exists(readAs + "/" + kStamp + "cam.id3"));
}

TEST_F(CacheUse, WhereNothingCanBeWrittenBesideTheArchiveTheCommonFolderIsUsed) {
  const std::string path = PlaceArchive("cam.zel3");
  fs::create_directory(folder / "cam.id3");
  Open(path);
  Settle();
  EXPECT_TRUE(fs::exists(CommonFolder() + "/" + kStamp + "cam.id3"));
  EXPECT_THAT(ArchiveTimes(), ElementsAre("10000-36000"));
}

TEST_F(CacheUse, OnceTheCommonFolderIsUsedItIsSoForAllArchivesOfAFolder) {
  IndexCache{{{10, 100}, {20, 200}, {30, 300}}}.WriteBeside(PlaceArchive("a.zel3"));
  Place("b.zel3", ArchiveOf("b", {110, 120, 130}));
  fs::create_directory(folder / "b.id3");
  Open(folder.Path());
  EXPECT_THAT(ArchiveTimes(), ElementsAre("10000-36000", "110000-130000"));
  Ask(ChunkRequest(115000));
  EXPECT_EQ(workshop.orders.size(), 1u);
  EXPECT_THAT(ArchiveTimes(), ElementsAre("10000-30000", "110000-136000"))
      << "what lies beside the other archive is not looked at any more";
  Ask(ChunkRequest(15000));
  EXPECT_EQ(workshop.orders.size(), 2u);
  EXPECT_THAT(ArchiveTimes(), ElementsAre("10000-36000", "110000-136000"));
}

// The first look takes it as it is, the second one recognises it: what the first run has written is
// not found again.
TEST_F(CacheUse, TheTemporaryFolderGivenWithoutSlashBecomesTheCommonFolderInTwoSteps) {
  const std::string path = PlaceArchive("cam.zel3");
  const std::string temporary = QDir::tempPath().toStdString();
  Open(Config(path, temporary));
  Settle();
  EXPECT_TRUE(fs::exists(temporary + "/" + kStamp + "cam.id3"));
  EXPECT_TRUE(fs::is_empty(CommonFolder()));
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre("Err W010 No archive in cam.zel3"));
  for (const char* const extension : {"id3", "hdr", "evt"}) {
    fs::remove(temporary + "/" + kStamp + "cam." + extension);
  }
}

TEST_F(CacheUse, TheTemporaryFolderGivenWithSlashIsTheCommonFolderAtOnce) {
  const std::string path = PlaceArchive("cam.zel3");
  Open(Config(path, QDir::tempPath().toStdString() + "/"));
  Settle();
  EXPECT_TRUE(fs::exists(CommonFolder() + "/" + kStamp + "cam.id3"));
  EXPECT_THAT(ArchiveTimes(), ElementsAre("10000-36000"));
}

TEST_F(CacheUse, WithoutAnyFolderToWriteToNothingIsIndexed) {
  const std::string path = PlaceArchive("cam.zel3");
  fs::create_directory(folder / "cam.id3");
  const std::string before = std::getenv("TMPDIR");
  setenv("TMPDIR", (folder / "no such folder").c_str(), 1);
  Open(path);
  EXPECT_THAT(Without("Warn W008", Told()), ElementsAre("Cewg"));
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre("Err W010 No archive in cam.zel3"));
  setenv("TMPDIR", before.c_str(), 1);
}

TEST_F(CacheUse, WhatIsNoPlainFileIsNeverWaitedFor) {
  const std::string path = PlaceArchive("cam.zel3");
  for (const char* const extension : {"id3", "hdr", "evt"}) {
    ASSERT_EQ(mkfifo(CachePath(path, extension).c_str(), 0600), 0);
  }
  Open(path);
  Settle();
  EXPECT_THAT(ArchiveTimes(), ElementsAre("10000-36000"));
}

// Its cache name is the archive's own.
TEST_F(CacheUse, AnArchiveIsNeverTakenForItsCache) {
  for (const char* const name : {"cam.evt", "cam.hdr", "cam.id3"}) {
    workshop.archives.clear();
    const std::string path = PlaceArchive(name);
    const Bytes content = ReadFile(path);
    Open(path);
    Settle();
    EXPECT_EQ(ReadFile(path), content) << name;
    EndReader();
    fs::remove_all(CommonFolder());
  }
}

TEST_F(CacheUse, AnArchiveBehindALinkIsNeverTakenForItsCache) {
  const std::string path = PlaceArchive("cam.zel3");
  const Bytes content = ReadFile(path);
  fs::create_symlink(path, folder / "cam.id3");
  fs::create_hard_link(path, folder / "cam.evt");
  Open(path);
  Settle();
  EXPECT_EQ(ReadFile(path), content);
}

TEST_F(CacheUse, AnIncompleteCacheIsMadeAnew) {
  const struct {
    const char* missing;
    int runs;
  } cases[] = {{"id3", 1}, {"evt", 1}, {"hdr", 0}};
  for (const auto& example : cases) {
    const std::string path = PlaceArchive("cam.zel3");
    IndexCache{{{10, 100}, {20, 200}, {30, 300}}}.WriteBeside(path);
    fs::remove(CachePath(path, example.missing));
    workshop.orders.clear();
    Open(path);
    Settle();
    EXPECT_EQ(workshop.orders.size(), static_cast<std::size_t>(example.runs)) << example.missing;
    EXPECT_THAT(ArchiveTimes(), ElementsAre("10000-36000")) << example.missing;
    EndReader();
  }
}

// Any one part that can be read makes the index count as present.
TEST_F(CacheUse, AnIndexWithEventsOnlyCounts) {
  const std::string path = PlaceArchive("cam.zel3");
  IndexCache{{}, {}, {{10, 0, {{0x80, "door"}}}}}.WriteBeside(path);
  Open(path);
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre("ArcA 1 " + path));
  EXPECT_THAT(Ask(ChunkRequest(10000)), ElementsAre("IRN3 none at 13000"));
  EXPECT_THAT(Ask(Play()), ElementsAre("Evt 1", "rset 25"));
  EXPECT_THAT(ArchiveTimes(), ElementsAre("4294967295000-0")) << "a range without any time";
  EXPECT_TRUE(workshop.orders.empty());
}

TEST_F(CacheUse, ThreeEmptyFilesAreNoIndex) {
  const std::string path = PlaceArchive("cam.zel3");
  IndexCache{{}, {}}.WriteBeside(path);
  Open(path);
  Settle();
  EXPECT_EQ(workshop.orders.size(), 1u);
  EXPECT_THAT(ArchiveTimes(), ElementsAre("10000-36000"));
}

}  // namespace
