#include <gmock/gmock.h>
#include <signal.h>

#include <ctime>
#include <filesystem>

#include "recorder.h"
#include "support/program.h"

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

class IndexWatchTest : public ProgramTest {
 protected:
  // A file that was written to an hour ago.
  void WriteOld(const std::string& name, std::uint32_t entries = 3) {
    Recorder recorder(*this / name);
    for (std::uint32_t time = 1; time <= entries; ++time) recorder.Picture(time);
    SetModificationTime(*this / name, time(nullptr) - 3600);
  }
};

std::string Line(const std::string& name, unsigned entries = 3) {
  const std::string number = std::to_string(entries);
  return R"({"file":")" + name + R"(","state":"indexed","start":1000,"end":)" + number +
         R"(000,"entries":)" + number + R"(,"damagedBytes":0,"cutOffBytes":0})";
}

}  // namespace

TEST_F(IndexWatchTest, IndexesWhatIsThereAndThenWhatIsFinished) {
  WriteOld("a.zel3");
  Start({"index", Folder(), "--watch", "--format", "jsonl"});
  WaitForOutput("a.zel3");
  Recorder growing(*this / "b.zel3");
  for (std::uint32_t time = 1; time <= 3; ++time) growing.Picture(time);
  Recorder next(*this / "c.zel3");
  next.Picture(4);
  WaitForOutput("b.zel3");
  SendSignal(SIGINT);
  const ProgramResult result = Finish();
  EXPECT_EQ(result.exitCode, 130);
  EXPECT_THAT(LinesOf(result.out), ElementsAre(Line("a.zel3"), Line("b.zel3")));
  EXPECT_TRUE(FileExists(*this / "b.id3"));
  EXPECT_FALSE(FileExists(*this / "c.id3")) << "it is still being written";
  EXPECT_EQ(Run({"index", *this / "b.zel3"}).out.find("indexed"), std::string::npos);
}

TEST_F(IndexWatchTest, FilesWithOtherNamesAreIndexedUnderThem) {
  WriteOld("a.zel3", 2);
  WriteOld("b.zel3", 4);
  Start({"index", Folder(), "--watch", "--format", "jsonl"});
  WaitForOutput("b.zel3");
  // All at once.
  SendSignal(SIGSTOP);
  std::filesystem::rename(*this / "b.zel3", *this / "c.zel3");
  std::filesystem::rename(*this / "a.zel3", *this / "b.zel3");
  SendSignal(SIGCONT);
  WaitForOutput("c.zel3");
  SendSignal(SIGINT);
  EXPECT_THAT(LinesOf(Finish().out), ElementsAre(Line("a.zel3", 2), Line("b.zel3", 4),
                                                 Line("b.zel3", 2), Line("c.zel3", 4)));
  EXPECT_TRUE(FileExists(*this / "c.id3"));
}

TEST_F(IndexWatchTest, AFileThatIsBeingWrittenIsLeftAlone) {
  WriteOld("a.zel3");
  Recorder growing(*this / "b.zel3");
  growing.Picture(1);
  Start({"index", Folder(), "--watch"});
  WaitForOutput("a.zel3");
  growing.Picture(2);
  SendSignal(SIGTERM);
  const ProgramResult result = Finish();
  EXPECT_EQ(result.exitCode, 130);
  EXPECT_THAT(
      LinesOf(result.out),
      ElementsAre("a.zel3  indexed  1970-01-01T00:00:01.000Z  1970-01-01T00:00:03.000Z  3"));
  EXPECT_FALSE(FileExists(*this / "b.id3"));
}

TEST_F(IndexWatchTest, AFileThatFailsIsToldAndCostsNothingElse) {
  WriteFile(*this / "a.zel3", "plain text\n");
  SetModificationTime(*this / "a.zel3", time(nullptr) - 7200);
  WriteOld("b.zel3");
  Start({"index", Folder(), "--watch"});
  WaitForOutput("b.zel3");
  SendSignal(SIGINT);
  EXPECT_THAT(Finish().err, HasSubstr("zel3: a.zel3 is not an archive: "));
}

TEST_F(IndexWatchTest, RefusesWhatDoesNotFit) {
  const std::vector<Arguments> cases = {
      {"--format", "json"}, {"-j", "2"}, {"--refresh"}, {"--merge"}};
  for (const Arguments& options : cases) {
    Arguments arguments{"index", Folder(), "--watch"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    EXPECT_EQ(Run(arguments).exitCode, 2) << testing::PrintToString(options);
  }
}
