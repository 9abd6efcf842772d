#include "system/change_watch.h"

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <filesystem>

#include "support/temp_folder.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

constexpr int kNoOutput = -1;

class ChangeWatchTest : public testing::Test {
 protected:
  static ChangeWatch::Clock::time_point In(int milliseconds) {
    return ChangeWatch::Clock::now() + std::chrono::milliseconds(milliseconds);
  }
  static Changes WaitFor(ChangeWatch* watch, int milliseconds = 5000) {
    return watch->Wait(In(milliseconds), kNoOutput);
  }

  TempFolder mFolder;
  std::vector<std::string> mNotices;
  const OnNotice mNote = [this](const std::string& notice) { mNotices.push_back(notice); };
};

}  // namespace

TEST_F(ChangeWatchTest, TellsWhatHasChanged) {
  WriteFile(mFolder / "a", "x");
  ChangeWatch watch(mNote);
  watch.Add(mFolder.Path());
  WriteFile(mFolder / "a", "xy");
  const Changes written = WaitFor(&watch);
  EXPECT_THAT(written.paths, ElementsAre(mFolder / "a"));
  EXPECT_THAT(written.folders, IsEmpty());
  std::filesystem::rename(mFolder / "a", mFolder / "b");
  EXPECT_THAT(WaitFor(&watch).folders, ElementsAre(mFolder.Path()));
  EXPECT_THAT(mNotices, IsEmpty());
}

TEST_F(ChangeWatchTest, NothingIsDoneWhileNothingChanges) {
  ChangeWatch watch(mNote);
  watch.Add(mFolder.Path());
  const clock_t before = clock();
  const auto start = ChangeWatch::Clock::now();
  const Changes none = WaitFor(&watch, 200);
  EXPECT_TRUE(!none.all && none.folders.empty() && none.paths.empty());
  EXPECT_GE(ChangeWatch::Clock::now() - start, std::chrono::milliseconds(200));
  EXPECT_LT(clock() - before, CLOCKS_PER_SEC / 50);
}

TEST_F(ChangeWatchTest, AFolderThatIsRemovedIsWatchedWhenItIsBack) {
  const std::string folder = mFolder / "sub";
  std::filesystem::create_directory(folder);
  ChangeWatch watch(mNote);
  watch.Add(folder);
  std::filesystem::remove(folder);
  EXPECT_THAT(WaitFor(&watch).folders, ElementsAre(folder));
  std::filesystem::create_directory(folder);
  EXPECT_THAT(WaitFor(&watch).folders, ElementsAre(folder)) << "found within a second";
  WriteFile(folder + "/a", "x");
  EXPECT_THAT(WaitFor(&watch).folders, ElementsAre(folder));
}

TEST_F(ChangeWatchTest, EndsWhenNobodyReadsTheOutput) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  ChangeWatch watch(mNote);
  EXPECT_FALSE(watch.IsReaderGone());
  close(ends[0]);
  watch.Wait(In(5000), ends[1]);
  EXPECT_TRUE(watch.IsReaderGone());
  close(ends[1]);
}

// In a process of its own, which may open no further file.
TEST_F(ChangeWatchTest, WhereTheSystemDoesNotTellItIsLookedOnceASecond) {
  const pid_t child = fork();
  if (child == 0) {
    const rlimit none{3, 3};
    setrlimit(RLIMIT_NOFILE, &none);
    ChangeWatch watch(mNote);
    watch.Add(mFolder.Path());
    const bool isTold =
        mNotices.size() == 1 && mNotices[0].find("looked for once a second") != std::string::npos;
    const auto start = ChangeWatch::Clock::now();
    const bool isAll = WaitFor(&watch).all;
    const auto took = ChangeWatch::Clock::now() - start;
    _exit(isTold && isAll && took > std::chrono::milliseconds(900) ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}
