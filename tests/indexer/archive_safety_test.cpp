#include <filesystem>

#include "cache_test.h"

// Nothing that the indexer does changes the archive, whatever its name or its links.

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::SizeIs;

class ArchiveSafety : public CacheTest {
 protected:
  // A whole indexing run of an archive, which must survive it as it is.
  void IndexAndExpectUntouched(const std::string& path) {
    const Bytes before = ReadFile(path);
    ASSERT_FALSE(before.empty());
    index.Open_file(Path(path), 9000);
    index.Open_file_draft(Path(path));
    index.Reopen_for_write();
    index.BeginIntake();
    index.Add_header(HDR_T());
    index.Add_index(IndexAt(100));
    index.Save_files();
    EXPECT_EQ(ReadFile(path), before);
    EXPECT_TRUE(fs::exists(path));
    EXPECT_EQ(fs::last_write_time(path), fs::last_write_time(archive));
  }

  // As if no cache had ever been written.
  void RemoveCaches() {
    index.cacheFolder = QString();
    fs::remove_all(CacheSubfolder());
    for (const std::string& name : ArchiveFolderNames()) {
      if (name != "cam.zel3") fs::remove(folder / name);
    }
  }

  void ExpectCachedInTheCacheFolder(const std::string& path) {
    EXPECT_EQ(Text(index.cacheFolder), CacheSubfolder());
    EXPECT_THAT(CacheSubfolderNames(), SizeIs(3));
    ASSERT_TRUE(index.Open_file(Path(path), 9000));
    EXPECT_EQ(ContentsOf(index.Current()), (Contents{{"100@0"}, {0}, {}}));
  }
};

TEST_F(ArchiveSafety, HoldsForAnOrdinaryName) {
  IndexAndExpectUntouched(archive);
  EXPECT_THAT(ArchiveFolderNames(), SizeIs(4));
}

TEST_F(ArchiveSafety, HoldsForTheNameOfACacheFile) {
  for (const char* name : {"other.evt", "other.hdr", "other.id3"}) {
    SCOPED_TRACE(name);
    RemoveCaches();
    const std::string path = MakeArchive(folder / name);
    IndexAndExpectUntouched(path);
    EXPECT_THAT(ArchiveFolderNames(), ElementsAre("cam.zel3", name));
    EXPECT_FALSE(cZel3Indexer().Open_file(Path(path), 9000)) << "it is no part of its own cache";
    ExpectCachedInTheCacheFolder(path);
  }
}

TEST_F(ArchiveSafety, HoldsBehindASymbolicLink) {
  for (const char* kind : {"evt", "hdr", "id3"}) {
    SCOPED_TRACE(kind);
    RemoveCaches();
    fs::create_symlink("cam.zel3", Beside(kind));
    IndexAndExpectUntouched(archive);
    ExpectCachedInTheCacheFolder(archive);
    EXPECT_TRUE(fs::is_symlink(Beside(kind)));
  }
}

TEST_F(ArchiveSafety, HoldsBehindAHardLink) {
  for (const char* kind : {"evt", "hdr", "id3"}) {
    SCOPED_TRACE(kind);
    RemoveCaches();
    fs::create_hard_link(archive, Beside(kind));
    IndexAndExpectUntouched(archive);
    ExpectCachedInTheCacheFolder(archive);
    EXPECT_EQ(ReadFile(Beside(kind)), ReadFile(archive));
  }
}

TEST_F(ArchiveSafety, HoldsForAnArchiveReachedThroughALinkItself) {
  const std::string real = MakeArchive(folder / "real.evt");
  fs::create_symlink("real.evt", folder / "real.zel3");
  IndexAndExpectUntouched(folder / "real.zel3");
  EXPECT_THAT(CacheSubfolderNames(), SizeIs(3));
  EXPECT_EQ(ReadFile(real), ReadFile(archive));
}

TEST_F(ArchiveSafety, HoldsWhenBothPlacesLeadToTheArchive) {
  for (const char* kind : {"evt", "hdr", "id3"}) {
    SCOPED_TRACE(kind);
    RemoveCaches();
    fs::create_directory(CacheSubfolder());
    const std::string cached = CacheSubfolder() + kArchiveTimeInNames + "cam." + kind;
    fs::create_symlink("cam.zel3", Beside(kind));
    fs::create_symlink(archive, cached);
    IndexAndExpectUntouched(archive);
    EXPECT_FALSE(index.Reopen_for_write());
    EXPECT_TRUE(fs::is_symlink(cached));
  }
}

TEST_F(ArchiveSafety, HoldsInTheCacheFolderToo) {
  const TempFolder cache;
  fs::create_symlink(archive, cache / (std::string(kArchiveTimeInNames) + "cam.hdr"));
  index.cacheFolder = Path(cache.Path());
  IndexAndExpectUntouched(archive);
}

TEST_F(ArchiveSafety, HoldsForItsOwnNameInAnotherSpelling) {
  const fs::path old = fs::current_path();
  fs::current_path(folder.Path());
  MakeArchive("other.evt");
  IndexAndExpectUntouched("./other.evt");
  fs::current_path(old);
}

}  // namespace
