#include <gmock/gmock.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <filesystem>

#include "recorder.h"
#include "support/program.h"

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

class ReadFollow : public ProgramTest {
 protected:
  // Starts following, and waits until what is already there has been written.
  void Follow(const std::string& source, const Arguments& options = {}) {
    Arguments arguments{"read", source, "--follow"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    Start(arguments);
  }
  void WaitForBytes(std::size_t size) {
    while (Out().size() < size) {
      ASSERT_FALSE(HasEnded()) << Err();
      usleep(1000);
    }
  }
  // The unfinished output is hidden.
  void WaitForUnfinished() {
    const auto isThere = [this] {
      for (const std::string& name : EntryNames(Folder())) {
        if (name[0] == '.' && !ReadFile(*this / name).empty()) return true;
      }
      return false;
    };
    while (!isThere()) {
      ASSERT_FALSE(HasEnded()) << Err();
      usleep(1000);
    }
  }
  Bytes Written() const {
    const std::string out = Out();
    return Bytes(out.begin(), out.end());
  }
  ProgramResult Interrupt() {
    SendSignal(SIGINT);
    return Finish();
  }
};

}  // namespace

TEST_F(ReadFollow, FromTheFirstEntryOnItIsTheFileAsItGrows) {
  Recorder recorder(*this / "a.zel3");
  recorder.Picture(1);
  Follow(Folder(), {"--since", "1000"});
  WaitForBytes(recorder.Content().size());
  for (std::uint32_t time = 2; time <= 50; ++time) recorder.Picture(time);
  WaitForBytes(recorder.Content().size());
  EXPECT_EQ(Written(), recorder.Content());
  const ProgramResult result = Interrupt();
  EXPECT_EQ(result.exitCode, 130);
  EXPECT_EQ(result.err, "50 entries, " + std::to_string(recorder.Content().size()) +
                            " bytes\nzel3: interrupted\n");
}

// The header comes first, and then the entry that is being written.
TEST_F(ReadFollow, WithoutATimeItBeginsWithTheLastEntry) {
  Recorder recorder(*this / "a.zel3");
  for (std::uint32_t time = 1; time <= 3; ++time) recorder.Picture(time);
  Follow(Folder());
  WaitForBytes(56);
  recorder.Picture(4);
  WaitForBytes(80);
  Recorder expected(*this / "expected");
  expected.Picture(3);
  expected.Picture(4);
  EXPECT_EQ(Written(), expected.Content());
  EXPECT_EQ(Interrupt().exitCode, 130);
}

TEST_F(ReadFollow, GoesOnWithTheNextFile) {
  Recorder first(*this / "a.zel3");
  first.Picture(1);
  Follow(Folder(), {"--since", "0"});
  WaitForBytes(first.Content().size());
  Recorder second(*this / "b.zel3");
  second.Picture(2);
  WaitForBytes(first.Content().size() + second.Content().size());
  Bytes expected = first.Content();
  expected.insert(expected.end(), second.Content().begin(), second.Content().end());
  EXPECT_EQ(Written(), expected);
  Interrupt();
}

TEST_F(ReadFollow, EachInterruptLeavesAnArchiveWithoutFault) {
  for (int round = 0; round < 4; ++round) {
    const std::string source = *this / ("source" + std::to_string(round));
    std::filesystem::create_directory(source);
    const std::string output = *this / ("out" + std::to_string(round) + ".zel3");
    Recorder recorder(source + "/a.zel3");
    recorder.Picture(1);
    Follow(source, {"-o", output});
    for (std::uint32_t time = 2; time <= 30; ++time) recorder.Picture(time);
    WaitForUnfinished();
    usleep(static_cast<unsigned>(5000 * round));
    recorder.Picture(31);
    const ProgramResult result = Interrupt();
    EXPECT_EQ(result.exitCode, 130) << result.err;
    const ProgramResult doctor = Run({"doctor", output});
    EXPECT_EQ(doctor.exitCode, 0) << doctor.out << doctor.err;
  }
}

TEST_F(ReadFollow, AnOutputFileGetsItsNameAtTheInterrupt) {
  Recorder recorder(*this / "a.zel3");
  recorder.Picture(1);
  const std::string output = *this / "out.zel3";
  WriteFile(output, "earlier");
  Follow(*this / "a.zel3", {"-o", output});
  WaitForUnfinished();
  EXPECT_EQ(ReadFile(output).size(), 7U);
  EXPECT_EQ(Interrupt().exitCode, 130);
  EXPECT_EQ(ReadFile(output), recorder.Content());
  EXPECT_THAT(EntryNames(Folder()), ElementsAre("a.zel3", "out.zel3"));
}

// Meanwhile a recorder has given the name to its own file.
TEST_F(ReadFollow, WhatHasComeUnderTheNameOfTheOutputStays) {
  Recorder recorder(*this / "tmp.zel3");
  recorder.Picture(1);
  const std::string output = *this / "out.zel3";
  Follow(Folder(), {"--since", "0", "-o", output});
  WaitForUnfinished();
  std::filesystem::rename(*this / "tmp.zel3", output);
  const ProgramResult result = Interrupt();
  EXPECT_EQ(result.exitCode, 130);
  EXPECT_EQ(ReadFile(output), recorder.Content());
  EXPECT_EQ(ReadFile(*this / "out-1.zel3"), recorder.Content());
  EXPECT_THAT(result.err, HasSubstr("out.zel3 is now another file; what was read is in " +
                                    Folder() + "/out-1.zel3"));
}

TEST_F(ReadFollow, AFullDiskKeepsTheWholeRecords) {
  Recorder recorder(*this / "a.zel3");
  recorder.Picture(1);
  const Bytes one = recorder.Content();
  const std::string output = *this / "out.zel3";
  Start({"read", Folder(), "--follow", "--since", "0", "-o", output}, [&one] {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit small{one.size() + 5, one.size() + 5};
    setrlimit(RLIMIT_FSIZE, &small);
  });
  WaitForUnfinished();
  recorder.Picture(2);
  const ProgramResult result = Finish();
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.err, HasSubstr("cannot write"));
  EXPECT_EQ(ReadFile(output), one);
}

TEST_F(ReadFollow, ARenameOntoAFollowedFileBringsNothingTwice) {
  Recorder day(*this / "day.zel3");
  day.Picture(1);
  Recorder next(*this / "tmp.zel3");
  next.Picture(2);
  Follow(Folder(), {"--since", "0"});
  WaitForBytes(day.Content().size() + next.Content().size());
  next.MoveTo(*this / "day.zel3");
  next.Picture(3);
  WaitForBytes(day.Content().size() + next.Content().size());
  const std::string out = Interrupt().out;
  Bytes expected = day.Content();
  expected.insert(expected.end(), next.Content().begin(), next.Content().end());
  EXPECT_EQ(Bytes(out.begin(), out.end()), expected);
}

TEST_F(ReadFollow, FilesThatGrowSideBySideKeepTheirEntriesApart) {
  Recorder one(*this / "a.zel3");
  one.Picture(1);
  Recorder two(*this / "b.zel3");
  two.Picture(1);
  Follow(Folder(), {"--since", "0"});
  WaitForBytes(112);
  one.Picture(2);
  WaitForBytes(112 + 56);
  two.Picture(2);
  WaitForBytes(112 + 56 + 56);
  // A header and an entry each time.
  Bytes expected;
  for (const std::uint32_t time : {1, 1, 2, 2}) {
    Recorder part(*this / ("part" + std::to_string(expected.size())));
    part.Picture(time);
    expected.insert(expected.end(), part.Content().begin(), part.Content().end());
  }
  EXPECT_EQ(Written(), expected);
  Interrupt();
}

TEST_F(ReadFollow, RefusesWhatDoesNotFit) {
  Recorder recorder(*this / "a.zel3");
  recorder.Picture(1);
  const std::vector<Arguments> cases = {
      {"--format", "json"}, {"--until", "9"}, {"--stop-at-gap"}, {"-o", *this / "a.zel3"}};
  for (const Arguments& options : cases) {
    Follow(Folder(), options);
    EXPECT_EQ(Finish().exitCode, 2) << testing::PrintToString(options);
  }
  std::filesystem::create_directory(*this / "other");
  const ProgramResult result = Run({"read", Folder(), *this / "other", "--follow"});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_THAT(result.err, HasSubstr("--merge makes one of them"));
}
