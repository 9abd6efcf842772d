#include <QDir>
#include <ctime>
#include <filesystem>

#include "cache_test.h"

// The name of the .id3 file shows where the cache files of an archive lie.

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

class CacheLocation : public CacheTest {
 protected:
  // The .id3 name of an archive for an indexer with this cache folder.
  static std::string Id3Name(const std::string& path, const std::string& cacheFolder = "") {
    cZel3Indexer fresh;
    fresh.cacheFolder = Path(cacheFolder);
    fresh.Open_file_draft(Path(path));
    return Text(fresh.Current().id3Path);
  }
  static std::string CacheFolderAfter(const std::string& path,
                                      const std::string& cacheFolder = "") {
    cZel3Indexer fresh;
    fresh.cacheFolder = Path(cacheFolder);
    fresh.Open_file_draft(Path(path));
    return Text(fresh.cacheFolder);
  }
};

struct NameCase {
  std::string archive;
  std::string id3;
};

TEST_F(CacheLocation, IsBesideTheArchiveWithoutACacheFolder) {
  const NameCase cases[] = {
      {"/data/rec/cam01.zel3", "/data/rec/cam01.id3"},
      {"/data/rec/cam01.zel", "/data/rec/cam01.id3"},
      {"/data/rec/cam.01.zel3", "/data/rec/cam.01.id3"},
      {"/data/rec/cam01.", "/data/rec/cam01.id3"},
      {"/data/rec/.zel3", "/data/rec/.id3"},
      // The dot is looked for in the whole path.
      {"/data/rec.old/cam01", "/data/rec.id3"},
      {"/data/rec/cam01", "id3"},
      {"cam01", "id3"},
      {"cam01.zel3", "cam01.id3"},
      {"rec/cam01.zel3", "rec/cam01.id3"},
      {"", "id3"},
  };
  for (const NameCase& row : cases) EXPECT_EQ(Id3Name(row.archive), row.id3) << row.archive;
}

TEST_F(CacheLocation, NamesTheTimeOfTheArchiveInACacheFolder) {
  const TempFolder cache;
  const std::string prefix = cache.Path() + "/";
  const NameCase cases[] = {
      {"cam01.zel3", "13.05.07 14-03-09 cam01.id3"},
      {"cam.01.zel3", "13.05.07 14-03-09 cam.01.id3"},
      // Without extension the last dot is that of the time.
      {"cam01", "13.05.id3"},
      {"two words", "13.05.id3"},
      {".zel3", "13.05.07 14-03-09 .id3"},
  };
  for (const NameCase& row : cases) {
    EXPECT_EQ(Id3Name(MakeArchive(folder / row.archive), prefix), prefix + row.id3) << row.archive;
  }
}

TEST_F(CacheLocation, GivesAllThreeFilesTheSameStem) {
  const TempFolder cache;
  for (const char* name : {"cam01.zel3", "cam02"}) {
    cZel3Indexer writer;
    writer.cacheFolder = Path(cache.Path() + "/");
    writer.Open_file_draft(Path(MakeArchive(folder / name)));
    writer.Save_files();
  }
  EXPECT_THAT(EntryNames(cache.Path()),
              ElementsAre("13.05.07 14-03-09 cam01.evt", "13.05.07 14-03-09 cam01.hdr",
                          "13.05.07 14-03-09 cam01.id3", "13.05.evt", "13.05.hdr", "13.05.id3"));
}

TEST_F(CacheLocation, TellsTheTimeInTheLocalZone) {
  const TempFolder cache;
  {
    const EnvironmentValue zone("TZ", "EAST-03:00");
    tzset();
    EXPECT_EQ(Id3Name(archive, cache.Path() + "/"), cache.Path() + "/13.05.07 17-03-09 cam.id3");
  }
  tzset();
}

TEST_F(CacheLocation, OfAChangedArchiveIsAnother) {
  const TempFolder cache;
  SetModificationTime(archive, kArchiveTime + 1);
  EXPECT_EQ(Id3Name(archive, cache.Path() + "/"), cache.Path() + "/13.05.07 14-03-10 cam.id3");
  SetModificationTime(archive, 1);
  EXPECT_EQ(Id3Name(archive, cache.Path() + "/"), cache.Path() + "/70.01.01 00-00-01 cam.id3");
}

TEST_F(CacheLocation, OfAMissingArchiveHasNoTimeInItsName) {
  const TempFolder cache;
  EXPECT_EQ(Id3Name("/no/such/cam.zel3", cache.Path() + "/"), cache.Path() + "/cam.id3");
  EXPECT_EQ(Id3Name("/no-such-cam.zel3", cache.Path() + "/"), cache.Path() + "/no-such-cam.id3");
}

TEST_F(CacheLocation, IsSharedByArchivesOfOneNameAndTime) {
  const TempFolder cache;
  const TempFolder other;
  EXPECT_EQ(Id3Name(MakeArchive(other / "cam.zel3"), cache.Path() + "/"),
            Id3Name(archive, cache.Path() + "/"));
}

TEST_F(CacheLocation, OfABareFileNameIgnoresTheCacheFolder) {
  const TempFolder cache;
  EXPECT_EQ(Id3Name("cam01.zel3", cache.Path() + "/"), "cam01.id3");
}

struct VideodataCase {
  const char* what;
  std::string archive;
  bool usesCacheFolder;
};

TEST_F(CacheLocation, IsInTheTemporaryFolderForArchivesInVideodata) {
  ASSERT_EQ(fs::current_path().string().find(':'), std::string::npos);
  const VideodataCase cases[] = {
      {"at the root", "/videodata/a.zel3", true},
      {"of a device", "C:/videodata/a.zel3", true},
      {"of a device inside a path", "/mnt/C:/videodata/a.zel3", true},
      {"below it", "/videodata/sub/a.zel3", false},
      {"below it on a device", "C:/videodata/sub/a.zel3", false},
      {"not at the root", "/mnt/videodata/a.zel3", false},
      {"not at the root of a device", "C:/mnt/videodata/a.zel3", false},
      {"in capitals", "/Videodata/a.zel3", false},
      {"longer", "/videodata2/a.zel3", false},
      {"only the first colon counts", "/a:/b:/videodata/a.zel3", false},
      {"a device without a slash", "C:videodata/a.zel3", false},
      {"a file of that name", "/videodata", false},
      {"by a way round", "/data/..//videodata/./a.zel3", true},
      {"through it", "/videodata/../data/a.zel3", false},
      {"another folder", "/data/a.zel3", false},
  };
  for (const VideodataCase& row : cases) {
    EXPECT_EQ(CacheFolderAfter(row.archive), row.usesCacheFolder ? CacheSubfolder() : "")
        << row.what;
  }
}

TEST_F(CacheLocation, IsInTheTemporaryFolderForABareNameInVideodata) {
  fs::create_directories(folder / "C:/videodata");
  const fs::path before = fs::current_path();
  fs::current_path(folder / "C:/videodata");
  EXPECT_EQ(CacheFolderAfter("a.zel3"), CacheSubfolder());
  fs::current_path(before);
}

TEST_F(CacheLocation, TakesNothingToAVideodataFolder) {
  fs::create_directories(folder / "C:/videodata");
  const std::string camera = MakeArchive(folder / "C:/videodata/cam.zel3");
  index.Open_file_draft(Path(camera));
  EXPECT_EQ(Text(index.Current().id3Path), CacheSubfolder() + kArchiveTimeInNames + "cam.id3");
  index.Add_index(IndexAt(100));
  index.Save_files();
  EXPECT_THAT(EntryNames(folder / "C:/videodata"), ElementsAre("cam.zel3"));
  EXPECT_THAT(CacheSubfolderNames(), testing::SizeIs(3));
  cZel3Indexer reader;
  EXPECT_TRUE(reader.Open_file(Path(camera), 9000));
}

TEST_F(CacheLocation, OnceSetIsKeptForAllOtherArchives) {
  index.Open_file_draft(Path("/videodata/a.zel3"));
  index.Open_file_draft(Path(archive));
  EXPECT_EQ(Text(index.cacheFolder), CacheSubfolder());
  EXPECT_EQ(Text(index.Current().id3Path), CacheSubfolder() + kArchiveTimeInNames + "cam.id3");
}

TEST_F(CacheLocation, ForVideodataIsTheConfiguredFolderIfThereIsOne) {
  const TempFolder cache;
  EXPECT_EQ(CacheFolderAfter("/videodata/a.zel3", cache.Path() + "/"), cache.Path() + "/");
}

TEST_F(CacheLocation, ForVideodataIsCheckedWhenAFileIsOpenedToo) {
  EXPECT_FALSE(index.Open_file(Path("/videodata/a.zel3"), 1));
  EXPECT_EQ(Text(index.cacheFolder), CacheSubfolder());
}

TEST_F(CacheLocation, GetsItsSlashWhenItIsChecked) {
  const TempFolder cache;
  EXPECT_EQ(CacheFolderAfter(archive, cache.Path()), cache.Path() + "/");
  EXPECT_EQ(Id3Name(archive, cache.Path()), cache.Path() + "/" + kArchiveTimeInNames + "cam.id3");
}

TEST_F(CacheLocation, InTheTemporaryFolderIsItsSubfolder) {
  EXPECT_FALSE(FileExists(CacheSubfolder()));
  EXPECT_EQ(CacheFolderAfter(archive, Temporary()), CacheSubfolder());
  EXPECT_TRUE(fs::is_directory(CacheSubfolder()));
  EXPECT_EQ(CacheFolderAfter(archive, Temporary()), CacheSubfolder()) << "an existing one serves";
}

// The temporary folder is recognised by its text.
TEST_F(CacheLocation, InTheTemporaryFolderWithoutItsSlashMovesInTwoSteps) {
  index.cacheFolder = Path(Temporary().substr(0, Temporary().size() - 1));
  index.Open_file_draft(Path(archive));
  EXPECT_EQ(Text(index.cacheFolder), Temporary());
  EXPECT_FALSE(FileExists(CacheSubfolder()));
  index.Open_file_draft(Path(archive));
  EXPECT_EQ(Text(index.cacheFolder), CacheSubfolder());
  index.Open_file_draft(Path(archive));
  EXPECT_EQ(Text(index.cacheFolder), CacheSubfolder());
}

TEST_F(CacheLocation, IsTheTemporaryFolderItselfWhenItsSubfolderCannotBeMade) {
  WriteFile(temporary / "Vorn auxillary files", std::string("in the way"));
  EXPECT_EQ(CacheFolderAfter("/videodata/a.zel3"), Temporary());
}

TEST_F(CacheLocation, FollowsALinkToTheTemporaryFolder) {
  fs::create_directory_symlink(temporary.Path(), folder / "link");
  const EnvironmentValue linked("TMPDIR", (folder / "link").c_str());
  EXPECT_EQ(CacheFolderAfter("/videodata/a.zel3"), CacheSubfolder());
}

TEST_F(CacheLocation, IsNotMadeWhenAConfiguredFolderIsMissing) {
  const std::string missing = folder / "missing";
  EXPECT_EQ(CacheFolderAfter(archive, missing), missing + "/");
  EXPECT_FALSE(FileExists(missing));
}

TEST_F(CacheLocation, WithoutATemporaryFolderDoesNotBecomeTheRootFolder) {
  const EnvironmentValue nowhere("TMPDIR", "/no/such/folder");
  ASSERT_EQ(Text(QDir::tempPath()), "");
  EXPECT_EQ(CacheFolderAfter("/videodata/a.zel3"), "");
  EXPECT_FALSE(FileExists("/Vorn auxillary files"));
}

}  // namespace
