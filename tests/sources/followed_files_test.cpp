#include "sources/followed_files.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "support/temp_folder.h"
#include "support/unprivileged.h"

using testing::ElementsAre;

namespace {

namespace fs = std::filesystem;

constexpr int kNoOutput = -1;
constexpr std::chrono::milliseconds kBetweenChecks(20);
constexpr std::chrono::seconds kGenerous(5);

class FollowedFilesTest : public testing::Test {
 protected:
  using Clock = ChangeWatch::Clock;

  void Make(const std::string& folder) { fs::create_directories(mFolder / folder); }
  void Write(const std::string& file) { WriteFile(mFolder / file, "x"); }
  // The link leads to another folder from now on.
  void Turn(const std::string& link, const std::string& to) {
    fs::create_directory_symlink(mFolder / to, mFolder / "turned");
    fs::rename(mFolder / "turned", mFolder / link);
  }

  void Follow(const std::string& source, bool isRecursive = false) {
    mFiles.emplace(SourceArguments{{mFolder / source}, isRecursive, false}, mNote, kBetweenChecks);
    Note({{}, {}, mFiles->FindAll(), {}});
  }
  // Until this file is followed, and one written to is told.
  void WaitFor(const std::string& file) {
    const Clock::time_point end = Clock::now() + kGenerous;
    while (!IsFollowed(file) && Clock::now() < end) Note(mFiles->Wait(end, kNoOutput));
    EXPECT_TRUE(IsFollowed(file)) << file;
    mTouched.clear();
    WriteFile(mFolder / file, "xy");
    while (mTouched.count(mFolder / file) == 0 && Clock::now() < end)
      Note(mFiles->Wait(end, kNoOutput));
    EXPECT_THAT(mTouched, testing::Contains(mFolder / file));
  }
  void WaitUntilGone(const std::string& file) {
    const Clock::time_point end = Clock::now() + kGenerous;
    while (IsFollowed(file) && Clock::now() < end) Note(mFiles->Wait(end, kNoOutput));
    EXPECT_FALSE(IsFollowed(file)) << file;
  }

  bool IsFollowed(const std::string& file) const { return mKnown.count(mFolder / file) != 0; }

  TempFolder mFolder;
  std::vector<std::string> mNotices;

 private:
  void Note(const FileNews& news) {
    for (const RenamedFile& renamed : news.renamed) mKnown.erase(renamed.from);
    for (const RenamedFile& renamed : news.renamed) mKnown.insert(renamed.to.path);
    for (const std::string& file : news.gone) mKnown.erase(file);
    for (const FollowedFile& file : news.appeared) mKnown.insert(file.path);
    mTouched.insert(news.touched.begin(), news.touched.end());
  }

  const OnNotice mNote = [this](const std::string& notice) { mNotices.push_back(notice); };
  std::optional<FollowedFiles> mFiles;
  std::set<std::string> mKnown;
  std::set<std::string> mTouched;
};

}  // namespace

TEST_F(FollowedFilesTest, AFolderAndTheOneThatGetsItsNameAreFollowed) {
  Make("top/day");
  Write("top/day/a.zel3");
  Follow("top", true);
  fs::rename(mFolder / "top/day", mFolder / "top/old");
  Make("top/day");
  Write("top/day/b.zel3");
  WaitFor("top/day/b.zel3");
  WaitFor("top/old/a.zel3");
  Write("top/old/c.zel3");
  WaitFor("top/old/c.zel3");
}

// Nothing tells a folder that one above it is renamed.
TEST_F(FollowedFilesTest, AFolderBelowOneThatIsMadeAgainIsFollowed) {
  Make("top/2024/05");
  Write("top/2024/05/a.zel3");
  Follow("top", true);
  fs::rename(mFolder / "top/2024", mFolder / "top/old");
  Make("top/2024/05");
  Write("top/2024/05/b.zel3");
  WaitFor("top/2024/05/b.zel3");
  WaitFor("top/old/05/a.zel3");
}

TEST_F(FollowedFilesTest, AFolderAboveAllThatIsFollowedIsMadeAgain) {
  Make("above/day");
  Write("above/day/a.zel3");
  Follow("above/day");
  fs::rename(mFolder / "above", mFolder / "old");
  WaitUntilGone("above/day/a.zel3");
  Make("above/day");
  Write("above/day/b.zel3");
  WaitFor("above/day/b.zel3");
}

TEST_F(FollowedFilesTest, ALinkToAFolderIsTurned) {
  for (const char* const day : {"one", "two"}) Make(day);
  Write("one/a.zel3");
  Write("two/b.zel3");
  Turn("today", "one");
  Follow("today");
  Turn("today", "two");
  WaitFor("today/b.zel3");
  WaitUntilGone("today/a.zel3");
  Write("today/c.zel3");
  WaitFor("today/c.zel3");
}

TEST_F(FollowedFilesTest, ALinkToATreeIsTurned) {
  for (const char* const day : {"one/sub", "two/sub"}) Make(day);
  Write("one/sub/a.zel3");
  Write("two/sub/b.zel3");
  Turn("today", "one");
  Follow("today", true);
  Turn("today", "two");
  WaitFor("today/sub/b.zel3");
  WaitUntilGone("today/sub/a.zel3");
}

TEST_F(FollowedFilesTest, ALinkBelowIsTurned) {
  for (const char* const day : {"one", "two", "top"}) Make(day);
  Write("one/a.zel3");
  Write("two/b.zel3");
  Turn("top/today", "one");
  Follow("top", true);
  Turn("top/today", "two");
  WaitFor("top/today/b.zel3");
}

TEST_F(FollowedFilesTest, AFolderThatCannotBeLookedIntoCostsNothingElse) {
  const Unprivileged unprivileged;
  const std::string closed = mFolder / "top/closed";
  Make("top/closed");
  Write("top/closed/a.zel3");
  ASSERT_EQ(chmod(closed.c_str(), 0), 0);
  Follow("top", true);
  for (const std::string day : {"1", "2", "3"}) {
    Make("top/" + day);
    Write("top/" + day + "/a.zel3");
    WaitFor("top/" + day + "/a.zel3");
  }
  EXPECT_THAT(mNotices, ElementsAre("cannot look into " + closed + ": Permission denied"));
  ASSERT_EQ(chmod(closed.c_str(), 0700), 0);
  WaitFor("top/closed/a.zel3");
  ASSERT_EQ(chmod(closed.c_str(), 0), 0);
  Write("top/1/b.zel3");
  WaitFor("top/1/b.zel3");
  EXPECT_TRUE(IsFollowed("top/closed/a.zel3")) << "it may still be there";
  ASSERT_EQ(chmod(closed.c_str(), 0700), 0);
}
