#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "recorder.h"
#include "support/program.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

constexpr int kInterrupted = 130;

std::string Line(std::uint32_t time, const std::string& text) {
  return R"({"time":)" + std::to_string(time) + R"(000,"type":"note","text":")" + text + "\"}";
}

class EventsFollow : public ProgramTest {
 protected:
  void Follow(const Arguments& options = {}, const std::string& source = "") {
    Arguments arguments{"events", source.empty() ? Folder() : source, "--follow", "--format",
                        "jsonl"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    Start(arguments);
  }
  ProgramResult Interrupt(int signal = SIGINT) {
    SendSignal(signal);
    return Finish();
  }
};

}  // namespace

TEST_F(EventsFollow, ShowsWhatIsThereAndThenWhatIsWritten) {
  Recorder recorder(*this / "a.zel3");
  recorder.Note(7, "seven");
  recorder.Note(8, "eight");
  Follow({"--since", "8000"});
  WaitForOutput("eight");
  recorder.Note(9, "nine");
  WaitForOutput("nine");
  recorder.Note(3, "an earlier time");
  recorder.Note(10, "ten");
  WaitForOutput("ten");
  const ProgramResult result = Interrupt();
  EXPECT_EQ(result.exitCode, kInterrupted);
  EXPECT_THAT(LinesOf(result.out), ElementsAre(Line(8, "eight"), Line(9, "nine"), Line(10, "ten")));
  EXPECT_EQ(result.err, "zel3: interrupted\n");
}

TEST_F(EventsFollow, FromATimeInItsPlace) {
  Recorder recorder(*this / "a.zel3");
  recorder.Note(7, "seven");
  Start({"events", Folder(), "7000", "--follow", "--format", "jsonl"});
  WaitForOutput("seven");
  EXPECT_EQ(Interrupt(SIGTERM).exitCode, kInterrupted);
}

// No event is lost, and none comes twice, whenever following begins.
TEST_F(EventsFollow, NoEventIsMissedWhileItBegins) {
  Recorder recorder(*this / "a.zel3");
  recorder.Note(1, "n1.");
  Follow({"--since", "0"});
  std::vector<std::string> expected{Line(1, "n1.")};
  std::uint32_t number = 1;
  while (++number <= 50 || Out().empty()) {
    ASSERT_FALSE(HasEnded()) << Err();
    const std::string text = "n" + std::to_string(number) + ".";
    recorder.Note(number, text);
    expected.push_back(Line(number, text));
  }
  WaitForOutput("n" + std::to_string(number - 1) + ".");
  EXPECT_EQ(LinesOf(Interrupt().out), expected);
}

TEST_F(EventsFollow, WithoutATimeOnlyNewOnes) {
  Recorder recorder(*this / "a.zel3");
  recorder.Note(1, "old");
  Follow();
  std::uint32_t number = 1;
  while (Out().empty()) {
    ASSERT_FALSE(HasEnded()) << Err();
    ++number;
    recorder.Note(number, "n" + std::to_string(number) + ".");
  }
  recorder.Note(++number, "last");
  WaitForOutput("last");
  const std::vector<std::string> lines = LinesOf(Interrupt().out);
  ASSERT_LT(lines.size(), number) << "the old one is not shown";
  std::vector<std::string> expected;
  for (std::size_t first = number - lines.size() + 1; first < number; ++first) {
    expected.push_back(Line(static_cast<std::uint32_t>(first), "n" + std::to_string(first) + "."));
  }
  expected.push_back(Line(number, "last"));
  EXPECT_EQ(lines, expected);
}

TEST_F(EventsFollow, OfFilesThatAppearInTheFolder) {
  Follow({"--since", "0"});
  Recorder first(*this / "a.zel3");
  first.Note(1, "first");
  WaitForOutput("first");
  Recorder hidden(*this / ".b");
  hidden.Note(2, "moved in");
  hidden.MoveTo(*this / "b.zel3");
  WaitForOutput("moved in");
  hidden.Note(3, "third");
  WaitForOutput("third");
  EXPECT_THAT(LinesOf(Interrupt().out),
              ElementsAre(Line(1, "first"), Line(2, "moved in"), Line(3, "third")));
}

TEST_F(EventsFollow, OfFoldersThatAppearBelow) {
  Follow({"--since", "0", "--recursive"});
  std::filesystem::create_directories(*this / "2024/05");
  Recorder recorder(*this / "2024/05/a.zel3");
  recorder.Note(1, "below");
  WaitForOutput("below");
  const ProgramResult result = Interrupt();
  EXPECT_EQ(result.out, R"({"source":")" + (*this / "2024/05") +
                            R"(","time":1000,"type":"note","text":"below"})" + "\n");
}

TEST_F(EventsFollow, SourcesAreToldApartUnlessTheyAreMerged) {
  for (const char* const name : {"one", "two"}) std::filesystem::create_directory(*this / name);
  Recorder one(*this / "one/a.zel3");
  one.Note(1, "first");
  Recorder two(*this / "two/a.zel3");
  two.Note(2, "second");
  Start({"events", *this / "one", *this / "two", "--follow", "--since", "0", "--format", "csv"});
  WaitForOutput("second");
  EXPECT_THAT(LinesOf(Interrupt().out),
              ElementsAre("source,time,type,text", (*this / "one") + ",1000,note,first",
                          (*this / "two") + ",2000,note,second"));
  Start({"events", *this / "two", *this / "one", "--merge", "--follow", "--since", "0"});
  WaitForOutput("second");
  EXPECT_THAT(LinesOf(Interrupt().out),
              ElementsAre("time                      type              text",
                          "1970-01-01T00:00:01.000Z  note              first",
                          "1970-01-01T00:00:02.000Z  note              second"));
}

TEST_F(EventsFollow, OfTheTypesAskedFor) {
  Recorder recorder(*this / "a.zel3");
  recorder.Note(1, "note");
  Follow({"--since", "0", "--type", "motion"});
  recorder.Note(2, "note");
  ArchiveBuilder other("cam");
  other.Header({{1}}).Index(3).Data(0x80, 0, "moved");
  WriteFile(*this / "b.zel3", other.Content());
  WaitForOutput("moved");
  EXPECT_EQ(LinesOf(Interrupt().out).size(), 1U);
}

TEST_F(EventsFollow, AFileThatIsRenamedIsNotShownAgain) {
  Recorder recorder(*this / "a.zel3");
  recorder.Note(1, "one");
  Follow({"--since", "0"});
  WaitForOutput("one");
  recorder.Note(2, "two");
  recorder.MoveTo(*this / "b.zel3");
  recorder.Note(3, "three");
  WaitForOutput("three");
  const ProgramResult result = Interrupt();
  EXPECT_THAT(LinesOf(result.out), ElementsAre(Line(1, "one"), Line(2, "two"), Line(3, "three")));
  EXPECT_THAT(result.err, HasSubstr("zel3: a.zel3: is " + (*this / "b.zel3") + " now"));
}

TEST_F(EventsFollow, AFolderThatIsRenamedIsNotShownAgain) {
  std::filesystem::create_directory(*this / "day1");
  Recorder recorder(*this / "day1/a.zel3");
  recorder.Note(1, "one");
  Follow({"--since", "0", "--recursive"});
  WaitForOutput("one");
  std::filesystem::rename(*this / "day1", *this / "day2");
  recorder.IsAt(*this / "day2/a.zel3");
  recorder.Note(2, "two");
  WaitForOutput("two");
  EXPECT_EQ(LinesOf(Interrupt().out).size(), 2U);
}

TEST_F(EventsFollow, AFolderThatIsRenamedAndTheOneThatGetsItsNameAreShown) {
  std::filesystem::create_directories(*this / "cam/day");
  Recorder first(*this / "cam/day/a.zel3");
  first.Note(1, "one");
  Follow({"--since", "0", "--recursive"});
  WaitForOutput("one");
  SendSignal(SIGSTOP);
  std::filesystem::rename(*this / "cam", *this / "old");
  std::filesystem::create_directories(*this / "cam/day");
  SendSignal(SIGCONT);
  first.IsAt(*this / "old/day/a.zel3");
  first.Note(2, "two");
  WaitForOutput("two");
  Recorder second(*this / "cam/day/b.zel3");
  second.Note(3, "three");
  WaitForOutput("three");
  EXPECT_EQ(LinesOf(Interrupt().out).size(), 3U);
}

TEST_F(EventsFollow, AFileThatIsMovedIsOfTheSourceThatItIsIn) {
  for (const char* const name : {"one", "two"}) std::filesystem::create_directory(*this / name);
  Recorder recorder(*this / "one/a.zel3");
  recorder.Note(1, "first");
  Start({"events", *this / "one", *this / "two", "--follow", "--since", "0", "--format", "csv"});
  WaitForOutput("first");
  recorder.MoveTo(*this / "two/b.zel3");
  recorder.Note(2, "second");
  WaitForOutput("second");
  EXPECT_THAT(LinesOf(Interrupt().out),
              ElementsAre("source,time,type,text", (*this / "one") + ",1000,note,first",
                          (*this / "two") + ",2000,note,second"));
}

TEST_F(EventsFollow, AFileIsReplacedCutAndRemoved) {
  Recorder first(*this / "a.zel3");
  first.Note(1, "one");
  Follow({"--since", "0"}, *this / "a.zel3");
  WaitForOutput("one");
  Recorder second(*this / "new");
  second.Note(2, "two");
  second.MoveTo(*this / "a.zel3");
  WaitForOutput("two");
  std::filesystem::resize_file(*this / "a.zel3", 0);
  WaitForError("a.zel3: has become shorter");
  Recorder third(*this / "a.zel3");
  third.Note(3, "three");
  WaitForOutput("three");
  std::filesystem::remove(*this / "a.zel3");
  WaitForError("a.zel3: no longer exists");
  Recorder fourth(*this / "a.zel3");
  fourth.Note(4, "four");
  WaitForOutput("four");
  const ProgramResult result = Interrupt();
  EXPECT_EQ(LinesOf(result.out).size(), 4U);
  EXPECT_THAT(result.err, HasSubstr("a.zel3: is another file now"));
}

TEST_F(EventsFollow, DamageIsToldOnceAndFollowedByWhatComesAfterIt) {
  Recorder recorder(*this / "a.zel3");
  recorder.Note(1, "one");
  Follow({"--since", "0"});
  WaitForOutput("one");
  recorder.Damage();
  recorder.Note(2, "two");
  WaitForOutput("two");
  const ProgramResult result = Interrupt();
  EXPECT_EQ(LinesOf(result.err).size(), 2U) << result.err;
  EXPECT_THAT(result.err, HasSubstr("a.zel3: 20 bytes from 63 on are damaged"));
}

TEST_F(EventsFollow, WhatIsNotAnArchiveIsLeftOutUntilItIsOne) {
  WriteFile(*this / "a.zel3", "plain text\n");
  WriteFile(*this / "b.zel3", "");
  mkfifo((*this / "c.zel3").c_str(), 0600);
  Follow({"--since", "0"});
  WaitForError("a.zel3 is not an archive: ");
  Recorder recorder(*this / "b.zel3");
  recorder.Note(1, "one");
  WaitForOutput("one");
  const ProgramResult result = Interrupt();
  EXPECT_EQ(LinesOf(result.err).size(), 2U) << result.err;
}

TEST_F(EventsFollow, WhatItWritesIsNotFollowed) {
  Recorder recorder(*this / "a.zel3");
  recorder.Note(1, "one");
  const std::string output = *this / "z.zel3";
  Start({"events", Folder(), "--follow", "--since", "0", "--format", "csv"},
        [&output] { dup2(creat(output.c_str(), 0600), STDOUT_FILENO); });
  WaitForError("z.zel3 is what is written to; it is left out");
  while (ReadFile(output).empty()) {
    ASSERT_FALSE(HasEnded()) << Err();
    usleep(1000);
  }
  Interrupt();
}

TEST_F(EventsFollow, EndsWhenNobodyReads) {
  Recorder recorder(*this / "a.zel3");
  recorder.Note(1, "one");
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  Start({"events", Folder(), "--follow", "--since", "0"}, [&ends] {
    dup2(ends[1], STDOUT_FILENO);
    close(ends[0]);
    close(ends[1]);
    signal(SIGPIPE, SIG_DFL);
  });
  close(ends[1]);
  char byte = 0;
  ASSERT_EQ(read(ends[0], &byte, 1), 1);
  close(ends[0]);
  const ProgramResult result = Finish();
  EXPECT_EQ(result.exitCode, 128 + SIGPIPE);
  EXPECT_EQ(result.err, "");
}

TEST_F(EventsFollow, RefusesWhatDoesNotFit) {
  const std::vector<Arguments> cases = {
      {"--format", "json"}, {"--until", "9"}, {"--for", "1h"}, {"1", "2"}, {"1", "--since", "2"}};
  for (const Arguments& options : cases) {
    Arguments arguments{"events", Folder()};
    arguments.insert(arguments.end(), options.begin(), options.end());
    arguments.push_back("--follow");
    EXPECT_EQ(Run(arguments).exitCode, 2) << testing::PrintToString(options);
  }
  EXPECT_EQ(Run({"events", *this / "nothing", "--follow"}).exitCode, 1);
}
