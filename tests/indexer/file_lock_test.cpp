#include "indexer/file_lock.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <array>
#include <utility>

#include "stores_for_tests.h"
#include "support/process_limit.h"
#include "support/temp_folder.h"

namespace {

class FileLocks : public testing::Test {
 protected:
  FileLocks() {
    for (const std::string& path : {one, other}) WriteFile(path, Bytes());
  }

  static bool Take(FileLock& lock, const std::string& path) {
    PlainFile file;
    return file.Open(Path(path), PlainFile::Mode::kUpdate) && lock.Take(file);
  }
  static bool IsFree(const std::string& path) {
    FileLock lock;
    return Take(lock, path);
  }

  const TempFolder folder;
  const std::string one = folder / "one";
  const std::string other = folder / "other";
};

TEST_F(FileLocks, KeepOthersOutUntilTheyAreReleased) {
  FileLock lock;
  EXPECT_FALSE(lock.IsExclusive());
  ASSERT_TRUE(Take(lock, one));
  EXPECT_TRUE(lock.IsExclusive());
  EXPECT_TRUE(lock.IsHeldAt(Path(one)));
  EXPECT_FALSE(IsFree(one));
  lock.Release();
  EXPECT_FALSE(lock.IsExclusive());
  EXPECT_FALSE(lock.IsHeldAt(Path(one)));
  EXPECT_TRUE(IsFree(one));
}

TEST_F(FileLocks, OnAnotherFileGiveUpTheFirst) {
  FileLock lock;
  ASSERT_TRUE(Take(lock, one));
  ASSERT_TRUE(Take(lock, other));
  EXPECT_TRUE(IsFree(one));
  EXPECT_FALSE(IsFree(other));
}

TEST_F(FileLocks, ThatAreMovedIntoGiveUpTheirOwnFile) {
  std::array<FileLock, 2> locks;
  ASSERT_TRUE(Take(locks[0], one));
  ASSERT_TRUE(Take(locks[1], other));
  locks[0] = std::move(locks[1]);
  EXPECT_TRUE(IsFree(one));
  EXPECT_FALSE(IsFree(other));
  EXPECT_TRUE(locks[0].IsHeldAt(Path(other)));
}

TEST_F(FileLocks, ThatAreMovedAwayHoldNothing) {
  std::array<FileLock, 1> locks;
  ASSERT_TRUE(Take(locks[0], one));
  const FileLock lock(std::move(locks[0]));
  EXPECT_TRUE(lock.IsExclusive());
  EXPECT_FALSE(locks[0].IsExclusive());
  EXPECT_FALSE(locks[0].IsHeldAt(Path(one)));
}

TEST_F(FileLocks, AreNotHadOnAClosedFile) {
  FileLock lock;
  EXPECT_FALSE(lock.Take(PlainFile()));
  EXPECT_FALSE(lock.IsExclusive());
}

// A host may have closed its standard input; the next handle then has the number 0.
TEST_F(FileLocks, MayHaveTheNumberOfStandardInput) {
  const int input = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3);
  if (input < 0) GTEST_SKIP() << "standard input is closed already";
  FileLock lock;
  {
    PlainFile file;
    ASSERT_TRUE(file.Open(Path(one), PlainFile::Mode::kUpdate));
    close(STDIN_FILENO);
    const ProcessLimit noOtherNumber(RLIMIT_NOFILE, static_cast<rlim_t>(file.Handle()) + 1);
    EXPECT_TRUE(lock.Take(file));
  }
  EXPECT_TRUE(lock.IsHeldAt(Path(one)));
  EXPECT_FALSE(IsFree(one));
  lock.Release();
  EXPECT_TRUE(IsFree(one));
  dup2(input, STDIN_FILENO);
  close(input);
}

}  // namespace
