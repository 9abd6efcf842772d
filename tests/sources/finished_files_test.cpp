#include "sources/finished_files.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

FinishedFiles::Time At(double seconds) {
  return FinishedFiles::Time() + std::chrono::milliseconds(static_cast<int>(seconds * 1000));
}

// By a clock of its own.
class FinishedFilesTest : public testing::Test {
 protected:
  void Appeared(const std::string& path, double seconds) {
    mFiles.Appeared(path, At(seconds), At(seconds));
  }

  FinishedFiles mFiles;
};

}  // namespace

TEST_F(FinishedFilesTest, AFileIsFinishedWhenNothingIsWrittenForAMinute) {
  Appeared("/a/1", 10);
  mFiles.Written("/a/1", At(50));
  EXPECT_EQ(mFiles.Next(), At(110));
  EXPECT_THAT(mFiles.Take(At(109.9)), IsEmpty());
  EXPECT_THAT(mFiles.Take(At(110)), ElementsAre("/a/1"));
  EXPECT_EQ(mFiles.Next(), std::nullopt);
  EXPECT_THAT(mFiles.Take(At(999)), IsEmpty()) << "only once";
}

TEST_F(FinishedFilesTest, AFileIsFinishedWhenTheNextOneOfItsFolderHasCome) {
  Appeared("/a/1", 10);
  Appeared("/b/1", 11);
  EXPECT_THAT(mFiles.Take(At(12)), IsEmpty()) << "another folder";
  Appeared("/a/2", 20);
  EXPECT_EQ(mFiles.Next(), At(20.2));
  mFiles.Written("/a/1", At(20.1));
  EXPECT_THAT(mFiles.Take(At(20.2)), ElementsAre("/a/1"));
  EXPECT_EQ(mFiles.Next(), At(71)) << "of /b/1";
}

TEST_F(FinishedFilesTest, FilesThatAreWrittenSideBySideAreFinishedWhenTheyAreQuiet) {
  Appeared("/a/1", 10);
  Appeared("/a/2", 20);
  mFiles.Written("/a/1", At(20.3));
  EXPECT_EQ(mFiles.Next(), At(80));
  mFiles.Written("/a/2", At(30));
  EXPECT_THAT(mFiles.Take(At(80.3)), ElementsAre("/a/1"));
  EXPECT_THAT(mFiles.Take(At(90)), ElementsAre("/a/2"));
}

TEST_F(FinishedFilesTest, AFileThatIsWrittenAgainIsFinishedAgain) {
  Appeared("/a/1", 10);
  EXPECT_THAT(mFiles.Take(At(70)), ElementsAre("/a/1"));
  mFiles.Written("/a/1", At(100));
  EXPECT_THAT(mFiles.Take(At(159)), IsEmpty());
  EXPECT_THAT(mFiles.Take(At(160)), ElementsAre("/a/1"));
}

TEST_F(FinishedFilesTest, WhatWasWrittenLongAgoIsFinishedAtOnce) {
  mFiles.Appeared("/a/1", At(1000), At(100));
  mFiles.Appeared("/a/2", At(1000), At(990));
  EXPECT_THAT(mFiles.Take(At(1000)), ElementsAre("/a/1"));
  EXPECT_EQ(mFiles.Next(), At(1050));
}

TEST_F(FinishedFilesTest, NamesChangeAndGo) {
  Appeared("/a/1", 10);
  Appeared("/a/2", 10);
  mFiles.Renamed({{"/a/2", {"/a/3"}}});
  mFiles.Gone("/a/1");
  EXPECT_THAT(mFiles.Take(At(70)), ElementsAre("/a/3"));
}

// Its index has the old name.
TEST_F(FinishedFilesTest, AFileWithAnotherNameIsFinishedAgain) {
  Appeared("/a/1", 10);
  EXPECT_THAT(mFiles.Take(At(70)), ElementsAre("/a/1"));
  mFiles.Renamed({{"/a/1", {"/a/2"}}});
  EXPECT_THAT(mFiles.Take(At(71)), ElementsAre("/a/2"));
  EXPECT_THAT(mFiles.Take(At(72)), IsEmpty());
}

TEST_F(FinishedFilesTest, NamesAreTakenOverAtOnce) {
  Appeared("/a/1", 10);
  Appeared("/a/2", 11);
  Appeared("/a/3", 40);
  mFiles.Renamed({{"/a/1", {"/a/2"}}, {"/a/2", {"/a/3"}}});
  EXPECT_EQ(mFiles.Next(), At(40.2)) << "of the first";
  EXPECT_THAT(mFiles.Take(At(99)), ElementsAre("/a/2", "/a/3"));
}
