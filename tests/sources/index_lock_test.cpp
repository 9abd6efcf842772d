#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/file.h>

#include <filesystem>

#include "support/folder_snapshot.h"
#include "support/program.h"
#include "support/sample_archive.h"
#include "system/file_handle.h"

using testing::HasSubstr;

namespace {

namespace fs = std::filesystem;

// Stands in for another process that builds the index of cam.zel3.
class Waiting : public ProgramTest {
 protected:
  Waiting() {
    const GroundTruth truth = WriteScenario(Folder() + "/sample", SampleScenario());
    fs::rename(SampleFile(Folder() + "/sample", truth, 0), mPath);
  }

  void BeginToIndex() {
    for (const char* const name : {"cam.hdr", "cam.id3", "cam.evt"}) WriteFile(*this / name, "");
    mLocked = FileHandle(open((*this / "cam.id3").c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_EQ(flock(mLocked.Get(), LOCK_EX | LOCK_NB), 0);
  }

  // Puts whole files into their places, the .evt last, and gives up the lock.
  void EndIndexing() {
    for (const char* const suffix : {".hdr", ".id3", ".evt"})
      fs::rename(*this / (std::string("whole") + suffix), *this / (std::string("cam") + suffix));
    mLocked = FileHandle();
  }

  const std::string mPath = *this / "cam.zel3";
  FileHandle mLocked;
};

constexpr char kWaiting[] = "zel3: waiting for another process that indexes cam.zel3\n";

}  // namespace

TEST_F(Waiting, ForAnotherProcessAndUsesItsIndex) {
  ASSERT_EQ(Run({"index", mPath}).exitCode, 0);
  for (const char* const suffix : {".hdr", ".id3", ".evt"})
    fs::rename(*this / (std::string("cam") + suffix), *this / (std::string("whole") + suffix));
  BeginToIndex();
  Start({"index", mPath});
  WaitForError(kWaiting);
  EndIndexing();
  const ProgramResult result = Finish();
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, kWaiting) << "said once";
  EXPECT_THAT(result.out, HasSubstr("cached"));
}

TEST_F(Waiting, BuildsTheIndexWhenTheOtherOneHasEndedWithoutIt) {
  BeginToIndex();
  Start({"index", *this / "cam.zel3"});
  WaitForError(kWaiting);
  mLocked = FileHandle();
  const ProgramResult result = Finish();
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.out, HasSubstr("indexed"));
}

TEST_F(Waiting, EndsWithAnInterrupt) {
  BeginToIndex();
  const FolderSnapshot before = SnapshotOf(Folder());
  Start({"info", mPath});
  WaitForError(kWaiting);
  SendSignal(SIGINT);
  EXPECT_EQ(Finish().exitCode, 130);
  EXPECT_EQ(SnapshotOf(Folder()), before);
}

TEST_F(Waiting, IsNotForWhoLeavesOutMissingIndexes) {
  BeginToIndex();
  const ProgramResult result = Run({"activity", mPath, "--stream", "1", "--no-index"});
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(result.err, "zel3: cam.zel3 has no index, and none is built\n");
}
