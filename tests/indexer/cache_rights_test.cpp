#include "indexer/cache_rights.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "stores_for_tests.h"
#include "support/file_faults.h"
#include "support/temp_folder.h"

// New cache files of an archive that belongs to another group.

namespace {

using testing::ElementsAre;

class RightsOfNewFiles : public testing::Test {
 protected:
  static constexpr auto kOnce = FileFaults::Repeats::kOnce;

  RightsOfNewFiles() { WriteFile(archive, Bytes()); }
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "only root gives files to other groups";
    ASSERT_EQ(chown(archive.c_str(), 0, 12345), 0);
  }
  void Allow(mode_t rights) const { ASSERT_EQ(chmod(archive.c_str(), rights), 0); }
  void ExpectThatNoneIsMade() {
    EXPECT_FALSE(CacheRights(Path(archive)).Make(Path(folder / "cam.id3"), &file));
    EXPECT_FALSE(file.IsOpen());
    EXPECT_THAT(EntryNames(folder.Path()), ElementsAre("cam.zel3"));
  }

  const TempFolder folder;
  const std::string archive = folder / "cam.zel3";
  PlainFile file;
};

TEST_F(RightsOfNewFiles, ThatCannotBeToldLeaveNoFile) {
  constexpr int kAfterOpening = 2;  // the archive is examined first, then what is opened
  Allow(0640);
  const FileFaults faults(FileOperation::kExamine, kAfterOpening, kOnce, EIO);
  ExpectThatNoneIsMade();
  EXPECT_EQ(faults.Struck(), 1);
}

TEST_F(RightsOfNewFiles, ThatCannotBeTakenAwayLeaveNoFile) {
  Allow(0640);
  const FileFaults faults(FileOperation::kAllow, 0, kOnce, EPERM);
  ExpectThatNoneIsMade();
}

// There are file systems that change no rights.
TEST_F(RightsOfNewFiles, AreNotChangedWhereNoneHasToGo) {
  Allow(0644);
  const FileFaults faults(FileOperation::kAllow, 0, kOnce, EPERM);
  EXPECT_TRUE(CacheRights(Path(archive)).Make(Path(folder / "cam.id3"), &file));
}

}  // namespace
