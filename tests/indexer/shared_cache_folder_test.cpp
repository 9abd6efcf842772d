#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <functional>

#include "cache_test.h"
#include "support/unprivileged.h"

// The cache folder lies in the temporary folder, in which others may have made it before us.

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr uid_t kStranger = 12345;

struct Trap {
  const char* what;
  bool needsRoot;
  std::function<void(const std::string& path)> make;
};

const Trap kTraps[] = {
    {"a link to a folder of ours", false,
     [](const std::string& path) {
       fs::create_directory(path + ".real");
       fs::create_symlink(path + ".real", path);
     }},
    {"a link to nothing", false, [](const std::string& path) { fs::create_symlink("gone", path); }},
    {"a folder that everybody may write", false,
     [](const std::string& path) {
       fs::create_directory(path);
       fs::permissions(path, fs::perms::all);
     }},
    {"a folder of somebody else", true,
     [](const std::string& path) {
       fs::create_directory(path);
       ASSERT_EQ(chown(path.c_str(), kStranger, kStranger), 0);
     }},
    {"a file of somebody else", true,
     [](const std::string& path) {
       WriteFile(path, std::string("in the way"));
       ASSERT_EQ(chown(path.c_str(), kStranger, kStranger), 0);
     }},
};

class SharedFolder : public CacheTest {
 protected:
  std::string SharedName() const { return temporary / "Vorn auxillary files"; }
  std::string OwnName() const { return SharedName() + " " + std::to_string(geteuid()); }
  static unsigned RightsOf(const std::string& path) {
    return static_cast<unsigned>(fs::status(path).permissions());
  }
  // Lets everybody write to the temporary folder, as usual.
  void OpenTemporaryFolderToAll() const {
    fs::permissions(temporary.Path(), fs::perms::all | fs::perms::sticky_bit);
  }
  // The cache folder that an archive in /videodata gets.
  std::string CacheFolder() {
    cZel3Indexer fresh;
    fresh.Open_file_draft(Path("/videodata/a.zel3"));
    return Text(fresh.cacheFolder);
  }
  std::string CacheFolderOfAStranger() {
    const OtherUser stranger(kStranger);
    return CacheFolder();
  }
  void Clear() {
    for (const std::string& name : EntryNames(temporary.Path())) fs::remove_all(temporary / name);
  }
};

TEST_F(SharedFolder, IsItsOwnersAloneWhenItIsMade) {
  const mode_t before = umask(0);
  EXPECT_EQ(CacheFolder(), SharedName() + "/");
  umask(before);
  EXPECT_EQ(RightsOf(SharedName()), 0700U);
}

TEST_F(SharedFolder, OfOursIsClosedToItsGroup) {
  fs::create_directory(SharedName());
  fs::permissions(SharedName(), static_cast<fs::perms>(0775));
  EXPECT_EQ(CacheFolder(), SharedName() + "/");
  EXPECT_EQ(RightsOf(SharedName()), 0755U);
}

TEST_F(SharedFolder, OfRootServesOthers) {
  if (geteuid() != 0) GTEST_SKIP() << "only root becomes somebody else";
  OpenTemporaryFolderToAll();
  fs::create_directory(SharedName());
  fs::permissions(SharedName(), static_cast<fs::perms>(0775));
  EXPECT_EQ(CacheFolderOfAStranger(), SharedName() + "/");
  EXPECT_EQ(RightsOf(SharedName()), 0775U);
}

TEST_F(SharedFolder, ThatOthersCouldHaveFilledIsReplacedByOneWithTheUsersNumber) {
  for (const Trap& trap : kTraps) {
    SCOPED_TRACE(trap.what);
    if (trap.needsRoot && geteuid() != 0) continue;
    Clear();
    trap.make(SharedName());
    EXPECT_EQ(CacheFolder(), OwnName() + "/");
    EXPECT_EQ(RightsOf(OwnName()), 0700U);
  }
}

// Nothing is listed, trimmed, read or written when both names are taken.
TEST_F(SharedFolder, IsNotThereAtAllWhenBothNamesAreTaken) {
  const std::string stem = std::string(kArchiveTimeInNames) + "cam.";
  for (const Trap& trap : kTraps) {
    SCOPED_TRACE(trap.what);
    if (trap.needsRoot && geteuid() != 0) continue;
    Clear();
    trap.make(SharedName());
    trap.make(OwnName());
    // A cache that somebody else has put there.
    WriteFile(temporary / (stem + "id3"), Id3File({{100, 700}}));
    WriteFile(temporary / (stem + "evt"), EvtFile().Group(100, 700, 1).Event(0x80, "forged"));
    WriteFile(settings / "zel3index_cache", std::string("ID3_HDR_EVT_total_MB=0\n"));
    const auto names = EntryNames(temporary.Path());

    cZel3Indexer fresh;
    fresh.cacheFolder = Path(Temporary());
    EXPECT_FALSE(fresh.Open_file(Path(archive), 9000));
    EXPECT_EQ(Text(fresh.cacheFolder), Temporary());
    EXPECT_THAT(fresh.Files(), IsEmpty());
    EXPECT_FALSE(fresh.Reopen_for_write());
    fresh.Add_index(IndexAt(100));
    fresh.Save_files();
    EXPECT_EQ(EntryNames(temporary.Path()), names);
    EXPECT_THAT(ArchiveFolderNames(), ElementsAre("cam.zel3"));
  }
}

TEST_F(SharedFolder, IsLookedForAgainWithTheNextFile) {
  fs::create_symlink("gone", SharedName());
  fs::create_symlink("gone", OwnName());
  index.cacheFolder = Path(Temporary());
  index.Open_file_draft(Path(archive));
  ASSERT_EQ(Text(index.cacheFolder), Temporary());
  fs::remove(OwnName());
  index.Open_file_draft(Path(archive));
  EXPECT_EQ(Text(index.cacheFolder), OwnName() + "/");
  EXPECT_TRUE(index.Reopen_for_write());
}

TEST_F(SharedFolder, ThatIsRefusedToASecondRunDoesNotKeepItFromOtherCaches) {
  for (const std::string& name : {SharedName(), OwnName()}) fs::create_symlink("gone", name);
  const std::string other = MakeArchive(folder / "other.zel3");
  WriteSmallCache();
  for (const char* kind : {"id3", "hdr", "evt"})
    fs::copy(Beside(kind), folder / (std::string("other.") + kind));
  cZel3Indexer first;
  first.Open_file_draft(Path(archive));
  ASSERT_TRUE(first.Reopen_for_write());
  index.Open_file_draft(Path(archive));
  EXPECT_FALSE(index.Reopen_for_write());
  EXPECT_TRUE(index.Open_file(Path(other), 9000));
}

TEST_F(SharedFolder, ThatIsAFileOfOursMakesTheTemporaryFolderServe) {
  WriteFile(SharedName(), std::string("in the way"));
  EXPECT_EQ(CacheFolder(), Temporary());
}

TEST_F(SharedFolder, ThatIsAFileOfOursIsRefusedWhereEverybodyMayWrite) {
  OpenTemporaryFolderToAll();
  WriteFile(SharedName(), std::string("in the way"));
  EXPECT_EQ(CacheFolder(), OwnName() + "/");
}

TEST_F(SharedFolder, ThatCannotBeMadeMakesTheTemporaryFolderServe) {
  if (geteuid() != 0) GTEST_SKIP() << "only root becomes somebody else";
  fs::permissions(temporary.Path(), static_cast<fs::perms>(0755));
  EXPECT_EQ(CacheFolderOfAStranger(), Temporary());
}

}  // namespace
