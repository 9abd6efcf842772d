#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <functional>
#include <map>

#include "cache_test.h"
#include "support/file_faults.h"
#include "support/process_limit.h"
#include "support/read_only_folder.h"
#include "support/unprivileged.h"

// Where the cache files cannot be written beside the archive they go to the temporary folder, and
// what goes wrong while writing leaves no cache that could be taken for a whole one.

namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class ObstructedSave : public CacheTest {
 protected:
  void CollectOneLongEvent() { CollectOneLongEvent(archive); }
  void CollectOneLongEvent(const std::string& path) {
    index.Open_file(Path(path), 9000);
    index.BeginIntake();
    index.Add_header(HDR_T());
    for (const std::uint32_t time : {100U, 110U, 130U}) {
      index.SetRecordPosition(time);
      index.Add_index(IndexAt(time));
    }
    DATA_T block;
    block.type = 0x80;
    block.length = 100;
    const Bytes text(100, 'x');
    index.Add_block(block, text.data(), text.size());
  }
  const Contents collected = {
      {"100@100", "110@110", "130@130"}, {0}, {"130@130 x1 80'" + std::string(100, 'x') + "'"}};

  // What a later start of the reader finds beside the archive.
  bool OpensBeside() const {
    cZel3Indexer fresh;
    return fresh.Open_file(Path(archive), 9000);
  }
  // What it finds in the cache folder.
  Contents InCacheFolder() const {
    cZel3Indexer fresh;
    fresh.cacheFolder = Path(CacheSubfolder());
    EXPECT_TRUE(fresh.Open_file(Path(archive), 9000));
    return ContentsOf(fresh.Current());
  }
  Texts NamesInCacheFolder() const {
    const std::string stem = std::string(kArchiveTimeInNames) + "cam.";
    return {stem + "evt", stem + "hdr", stem + "id3"};
  }
};

struct Obstacle {
  const char* what;
  std::function<void(const std::string& path)> make;
};

const Obstacle kObstacles[] = {
    {"a folder", [](const std::string& path) { fs::create_directory(path); }},
    {"a pipe", [](const std::string& path) { ASSERT_EQ(mkfifo(path.c_str(), 0666), 0); }},
    {"a link to a device", [](const std::string& path) { fs::create_symlink("/dev/null", path); }},
    {"a link into a missing folder",
     [](const std::string& path) { fs::create_symlink("/no/such/file", path); }},
};

class SaveFallback : public ObstructedSave {};

TEST_F(SaveFallback, IsTheCacheFolderOfTheTemporaryFolder) {
  for (const Obstacle& obstacle : kObstacles) {
    for (const char* kind : {"hdr", "id3", "evt"}) {
      SCOPED_TRACE(testing::Message() << obstacle.what << " as " << kind);
      for (const char* each : {"hdr", "id3", "evt"}) fs::remove_all(Beside(each));
      fs::remove_all(CacheSubfolder());
      obstacle.make(Beside(kind));
      index.cacheFolder = QString();
      CollectOneLongEvent();
      index.Save_files();
      EXPECT_EQ(Text(index.cacheFolder), CacheSubfolder());
      EXPECT_EQ(CacheSubfolderNames(), NamesInCacheFolder());
      EXPECT_EQ(InCacheFolder(), collected);
      EXPECT_TRUE(fs::symlink_status(Beside(kind)).type() != fs::file_type::not_found);
      EXPECT_THAT(OpenFilesIn(folder.Path()), IsEmpty());
    }
  }
}

TEST_F(SaveFallback, KeepsTheNameOfTheEntriesInTheStore) {
  fs::create_directory(Beside("evt"));
  CollectOneLongEvent();
  index.Save_files();
  EXPECT_EQ(Text(index.Current().id3Path), Beside("id3"));
}

TEST_F(SaveFallback, ServesTheIndexerFromThenOn) {
  fs::create_directory(Beside("evt"));
  CollectOneLongEvent();
  index.Save_files();
  ASSERT_TRUE(Open());
  EXPECT_EQ(ContentsOf(index.Current()), collected);
  EXPECT_EQ(Text(index.Current().id3Path), CacheSubfolder() + kArchiveTimeInNames + "cam.id3");
}

// All three names are tested before one of them is touched.
TEST_F(SaveFallback, LeavesARefusedPlaceAsItWas) {
  for (const Obstacle& obstacle : kObstacles) {
    for (const char* kind : {"hdr", "id3", "evt"}) {
      SCOPED_TRACE(testing::Message() << obstacle.what << " as " << kind);
      for (const char* each : {"hdr", "id3", "evt"}) fs::remove_all(Beside(each));
      WriteSmallCache();
      fs::remove(Beside(kind));
      obstacle.make(Beside(kind));
      index.cacheFolder = QString();
      CollectOneLongEvent();
      index.Save_files();
      const std::map<std::string, Bytes> before = {
          {"id3", Id3File({{100, 700}})},
          {"hdr", HdrFile({5})},
          {"evt", EvtFile().Group(100, 700, 1).Event(0x80, "door")}};
      for (const auto& [other, bytes] : before) {
        if (other == kind) continue;
        EXPECT_EQ(ReadFile(Beside(other)), bytes) << other;
      }
      EXPECT_EQ(InCacheFolder(), collected);
    }
  }
}

TEST_F(SaveFallback, LeavesNothingInARefusedPlaceThatWasEmpty) {
  fs::create_directory(Beside("hdr"));
  CollectOneLongEvent();
  index.Save_files();
  EXPECT_THAT(ArchiveFolderNames(), ElementsAre("cam.hdr", "cam.zel3"));
  cZel3Indexer fresh;
  EXPECT_FALSE(fresh.Open_file(Path(archive), 9000)) << "the archive is indexed again";
}

TEST_F(SaveFallback, NamesTheTimeThatTheArchiveHasByThen) {
  fs::create_directory(Beside("evt"));
  CollectOneLongEvent();
  SetModificationTime(archive, kArchiveTime + 1);
  index.Save_files();
  EXPECT_THAT(CacheSubfolderNames(),
              ElementsAre("13.05.07 14-03-10 cam.evt", "13.05.07 14-03-10 cam.hdr",
                          "13.05.07 14-03-10 cam.id3"));
}

TEST_F(SaveFallback, IsUsedWhereNoFileCanBeMade) {
  CollectOneLongEvent();
  {
    const ReadOnlyFolder readOnly(folder.Path());
    index.Save_files();
  }
  EXPECT_THAT(ArchiveFolderNames(), ElementsAre("cam.zel3"));
  EXPECT_EQ(InCacheFolder(), collected);
}

TEST_F(SaveFallback, ReplacesAConfiguredFolderThatIsMissing) {
  index.cacheFolder = Path(folder / "missing");
  CollectOneLongEvent();
  index.Save_files();
  EXPECT_EQ(Text(index.cacheFolder), CacheSubfolder());
  EXPECT_EQ(InCacheFolder(), collected);
  EXPECT_FALSE(FileExists(folder / "missing"));
}

TEST_F(SaveFallback, IsTheTemporaryFolderItselfWhenItsSubfolderCannotBeMade) {
  fs::create_directory(Beside("evt"));
  WriteFile(temporary / "Vorn auxillary files", std::string("in the way"));
  CollectOneLongEvent();
  index.Save_files();
  EXPECT_EQ(Text(index.cacheFolder), Temporary());
  EXPECT_TRUE(FileExists(temporary / (std::string(kArchiveTimeInNames) + "cam.id3")));
}

// Nothing can be written in either place.
class NoFallback : public ObstructedSave {
 protected:
  void ExpectNothingWritten() {
    EXPECT_FALSE(index.Reopen_for_write());
    index.Save_files();
    EXPECT_EQ(index.Current().id3Records.size(), 2) << "the last entry stays apart";
    for (const char* kind : {"hdr", "id3", "evt"}) {
      EXPECT_THAT(fs::is_regular_file(Beside(kind)) ? ReadFile(Beside(kind)) : Bytes(), IsEmpty())
          << kind;
    }
  }
};

TEST_F(NoFallback, WritesNothingWhenThatIsObstructedToo) {
  for (const char* kind : {"hdr", "id3", "evt"}) {
    SCOPED_TRACE(kind);
    fs::remove_all(CacheSubfolder());
    for (const char* each : {"hdr", "id3", "evt"}) fs::remove_all(Beside(each));
    fs::create_directory(Beside("hdr"));
    fs::create_directories(CacheSubfolder() + kArchiveTimeInNames + "cam." + kind);
    index.cacheFolder = QString();
    CollectOneLongEvent();
    ExpectNothingWritten();
    cZel3Indexer fresh;
    fresh.cacheFolder = Path(CacheSubfolder());
    fresh.Open_file(Path(archive), 9000);
    EXPECT_EQ(ContentsOf(fresh.Current()).records, Texts());
  }
}

TEST_F(NoFallback, WritesNothingWithoutATemporaryFolder) {
  fs::create_directory(Beside("evt"));
  CollectOneLongEvent();
  const EnvironmentValue nowhere("TMPDIR", "/no/such/folder");
  ExpectNothingWritten();
  EXPECT_EQ(Text(index.cacheFolder), "");
  EXPECT_FALSE(FileExists("/Vorn auxillary files"));
}

TEST_F(NoFallback, WritesNothingBesideTheArchiveInsteadOfAConfiguredFolder) {
  index.cacheFolder = Path(folder / "missing");
  CollectOneLongEvent();
  const EnvironmentValue nowhere("TMPDIR", "/no/such/folder");
  ExpectNothingWritten();
  EXPECT_THAT(ArchiveFolderNames(), ElementsAre("cam.zel3"));
}

TEST_F(NoFallback, WritesNothingForABareNameWhoseNamesAreTheSameInBothPlaces) {
  const fs::path old = fs::current_path();
  fs::current_path(folder.Path());
  fs::create_directory("cam.evt");
  index.Open_file(Path("cam.zel3"), 9000);
  index.Add_index(IndexAt(100));
  EXPECT_FALSE(index.Reopen_for_write());
  EXPECT_THAT(CacheSubfolderNames(), IsEmpty());
  fs::current_path(old);
}

// Writing fails after so many bytes of a file: the headers take 8, the entries 72, the events 111.
class FullDisk : public ObstructedSave, public testing::WithParamInterface<int> {
 protected:
  void SaveWithoutRoom() {
    const ProcessLimit room(RLIMIT_FSIZE, static_cast<rlim_t>(GetParam()));
    index.Save_files();
  }
  static Texts Unsuitable(Texts names) {
    const Texts suitable = {"cam.evt", "cam.hdr", "cam.id3", "cam.zel3"};
    Texts unsuitable;
    for (const std::string& name : names) {
      if (std::find(suitable.begin(), suitable.end(), name) == suitable.end())
        unsuitable.push_back(name);
    }
    return unsuitable;
  }
};

TEST_P(FullDisk, LeavesNoCache) {
  CollectOneLongEvent();
  SaveWithoutRoom();
  EXPECT_FALSE(OpensBeside());
  EXPECT_THAT(Unsuitable(ArchiveFolderNames()), IsEmpty());
  EXPECT_THAT(OpenFilesIn(folder.Path()), IsEmpty());
}

TEST_P(FullDisk, LeavesNoPartOfAnOlderCache) {
  CollectOneLongEvent();
  index.Save_files();
  ASSERT_TRUE(OpensBeside());
  CollectOneLongEvent();
  SaveWithoutRoom();
  EXPECT_FALSE(OpensBeside());
}

TEST_P(FullDisk, LeavesNoCacheInTheCacheFolder) {
  fs::create_directory(Beside("evt"));
  fs::create_directory(CacheSubfolder());
  CollectOneLongEvent();
  SaveWithoutRoom();
  cZel3Indexer fresh;
  fresh.cacheFolder = Path(CacheSubfolder());
  EXPECT_FALSE(fresh.Open_file(Path(archive), 9000));
  for (const std::string& name : CacheSubfolderNames())
    EXPECT_THAT(NamesInCacheFolder(), Contains(name));
}

TEST_P(FullDisk, LeavesNoCacheWhereFilesAreWrittenInPlace) {
  WriteSmallCache();
  CollectOneLongEvent();
  {
    const ReadOnlyFolder readOnly(folder.Path());
    SaveWithoutRoom();
  }
  EXPECT_FALSE(OpensBeside());
  EXPECT_THAT(Unsuitable(ArchiveFolderNames()), IsEmpty());
  EXPECT_THAT(OpenFilesIn(folder.Path()), IsEmpty());
}

TEST_P(FullDisk, DoesNotKeepALaterSaveFromWorking) {
  CollectOneLongEvent();
  SaveWithoutRoom();
  index.Save_files();
  ASSERT_TRUE(Open());
  EXPECT_EQ(ContentsOf(index.Current()), collected);
}

INSTANTIATE_TEST_SUITE_P(After, FullDisk, testing::Values(0, 7, 8, 24, 71, 72, 80, 110),
                         [](const auto& parameter) {
                           return std::to_string(parameter.param) + "Bytes";
                         });

struct LongFileCase {
  const char* what;
  int headers;
  int entries;
};

// One file alone is too long; the events take nothing.
TEST_F(ObstructedSave, LeavesNoCacheWhenOnlyOneFileFindsNoRoom) {
  const LongFileCase cases[] = {
      {"headers", 100, 1}, {"entries", 1, 100}, {"many entries", 0, 5000}};
  for (const LongFileCase& row : cases) {
    SCOPED_TRACE(row.what);
    Open();
    index.BeginIntake();
    for (int i = 0; i < row.headers; ++i) index.Add_header(HDR_T());
    for (int i = 0; i < row.entries; ++i) index.Add_index(IndexAt(100));
    {
      const ProcessLimit room(RLIMIT_FSIZE, 200);
      index.Save_files();
    }
    EXPECT_FALSE(OpensBeside());
  }
}

class SaveInPlace : public ObstructedSave {};

TEST_F(SaveInPlace, WorksWhereFilesMayBeWrittenButNotMade) {
  WriteSmallCache();
  CollectOneLongEvent();
  {
    const ReadOnlyFolder readOnly(folder.Path());
    ASSERT_THROW(WriteFile(folder / "new", Bytes()), std::runtime_error);
    index.Save_files();
  }
  EXPECT_THAT(ArchiveFolderNames(), ElementsAre("cam.evt", "cam.hdr", "cam.id3", "cam.zel3"));
  EXPECT_EQ(Text(index.cacheFolder), "");
  cZel3Indexer reader;
  ASSERT_TRUE(reader.Open_file(Path(archive), 9000));
  EXPECT_EQ(ContentsOf(reader.Current()), collected);
}

// Where only owners remove files, those of somebody else may be written at best.
TEST_F(SaveInPlace, WorksWhereTheFilesAreSomebodyElses) {
  if (geteuid() != 0) GTEST_SKIP() << "only root becomes somebody else";
  WriteSmallCache();
  for (const char* kind : {"hdr", "id3", "evt"})
    fs::permissions(Beside(kind), static_cast<fs::perms>(0666));
  fs::permissions(folder.Path(), fs::perms::all | fs::perms::sticky_bit);
  CollectOneLongEvent();
  {
    const OtherUser stranger(12345);
    index.Save_files();
  }
  EXPECT_THAT(ArchiveFolderNames(), ElementsAre("cam.evt", "cam.hdr", "cam.id3", "cam.zel3"));
  ASSERT_TRUE(Open());
  EXPECT_EQ(ContentsOf(index.Current()), collected);
}

TEST_F(SaveInPlace, IsRefusedForLinksBecauseTheirOtherNamesWouldShowIt) {
  for (const bool isSymbolic : {true, false}) {
    for (const char* kind : {"hdr", "id3", "evt"}) {
      SCOPED_TRACE(testing::Message() << (isSymbolic ? "symbolic " : "hard ") << kind);
      const TempFolder elsewhere;
      const std::string foreign = elsewhere / "foreign";
      WriteSmallCache();
      fs::rename(Beside(kind), foreign);
      if (isSymbolic) {
        fs::create_symlink(foreign, Beside(kind));
      } else {
        fs::create_hard_link(foreign, Beside(kind));
      }
      const Bytes before = ReadFile(foreign);
      index.cacheFolder = QString();
      CollectOneLongEvent();
      {
        const ReadOnlyFolder readOnly(folder.Path());
        index.Save_files();
      }
      EXPECT_EQ(ReadFile(foreign), before);
      EXPECT_EQ(InCacheFolder(), collected);
    }
  }
}

class SaveAnew : public ObstructedSave {};

TEST_F(SaveAnew, WorksWhereTheTemporaryNameIsTaken) {
  const std::string taken = Beside("evt.unfinished.evt");
  fs::create_directory(taken);
  CollectOneLongEvent();
  index.Save_files();
  ASSERT_TRUE(Open());
  EXPECT_EQ(ContentsOf(index.Current()), collected);
  EXPECT_TRUE(fs::is_directory(taken));
}

TEST_F(SaveAnew, GivesUpWhereTenTemporaryNamesAreTaken) {
  for (int taken = 0; taken < 10; ++taken) {
    const std::string mark = taken == 0 ? "" : "-" + std::to_string(taken);
    fs::create_directory(Beside("evt.unfinished" + mark + ".evt"));
    CollectOneLongEvent();
    index.Save_files();
    EXPECT_EQ(OpensBeside(), taken < 9) << taken;
    // Writing begins with adding the entry that was collected last.
    EXPECT_EQ(index.Current().id3Records.size(), taken < 9 ? 3 : 2) << taken;
  }
}

// Another run may be at work there.
TEST_F(SaveAnew, LeavesAnUnfinishedFileWhereNobodyCanLock) {
  const FileFaults noLocks(FileOperation::kLock, 0, FileFaults::Repeats::kFromThenOn, ENOLCK);
  const std::string unfinished = Beside("hdr.unfinished-" + std::to_string(getpid()) + ".hdr");
  WriteFile(unfinished, std::string("of another run"));
  CollectOneLongEvent();
  index.Save_files();
  EXPECT_TRUE(OpensBeside());
  EXPECT_EQ(ReadFile(unfinished).size(), 14U);
}

TEST_F(SaveAnew, WorksWhereTheTemporaryNameWouldBeTooLong) {
  const std::string stem(245, 'c');
  const std::string path = MakeArchive(folder / (stem + ".zel3"));
  CollectOneLongEvent(path);
  index.Save_files();
  EXPECT_THAT(ArchiveFolderNames(),
              ElementsAre("cam.zel3", stem + ".evt", stem + ".hdr", stem + ".id3", stem + ".zel3"));
  ASSERT_TRUE(index.Open_file(Path(path), 9000));
  EXPECT_EQ(ContentsOf(index.Current()), collected);
}

}  // namespace
