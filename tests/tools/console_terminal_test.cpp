#include <gmock/gmock.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/program.h"
#include "support/sample_archive.h"
#include "support/terminal.h"

using testing::HasSubstr;
using testing::Not;

namespace {

constexpr char kPrompt[] = "zel3> ";
constexpr char kEndOfInput[] = "\x04";
constexpr char kDrop[] = "\x03";
constexpr char kEarlierLine[] = "\x10";

class ConsoleTerminal : public ProgramTest {
 protected:
  // Starts the console, and waits for its prompt.
  void Begin() {
    Start({"console", SampleFile(Folder(), mTruth, 0)}, [this] {
      mTerminal.TakeThePlaceOf(STDIN_FILENO);
      mTerminal.TakeThePlaceOf(STDOUT_FILENO);
      setenv("TERM", "vt100", 1);
      setenv("NO_COLOR", "1", 1);
      setenv("XDG_STATE_HOME", mState.c_str(), 1);
    });
    mTerminal.WaitFor(kPrompt);
  }

  // The answer to a line, up to the next prompt.
  std::string Ask(const std::string& line) {
    mTerminal.Type(line + "\r");
    mTerminal.WaitFor("\n");
    return mTerminal.WaitFor(kPrompt);
  }

  int End() {
    mTerminal.Type(kEndOfInput);
    return Finish().exitCode;
  }

  std::string HistoryFile() const { return mState + "/zel3/console_history"; }
  std::string History() const {
    const Bytes bytes = ReadFile(HistoryFile());
    return std::string(bytes.begin(), bytes.end());
  }

  const GroundTruth mTruth = WriteScenario(Folder(), SampleScenario());
  std::string mState = *this / "state";
  Terminal mTerminal;
};

}  // namespace

TEST_F(ConsoleTerminal, AsksAnswersAndEnds) {
  Begin();
  EXPECT_THAT(Ask(R"({"cmd":"ArcR"})"), HasSubstr(R"({"block":"ArcA")"));
  EXPECT_EQ(End(), 0);
  EXPECT_THAT(Err(), HasSubstr("help lists the commands"));
}

TEST_F(ConsoleTerminal, HelpsWithCommandsAndFields) {
  Begin();
  const std::string all = Ask("help");
  EXPECT_THAT(all, HasSubstr("CRq3"));
  EXPECT_THAT(all, HasSubstr("the archive time to look for"));
  EXPECT_THAT(all, HasSubstr("datr"));
  EXPECT_THAT(all, Not(HasSubstr("error")));
  const std::string one = Ask("help Prev");
  EXPECT_THAT(one, HasSubstr("endTime"));
  EXPECT_THAT(one, Not(HasSubstr("CRq3")));
  EXPECT_THAT(Ask("help Pre"), HasSubstr("there is no command Pre\r\n"));
  EXPECT_EQ(End(), 0);
}

TEST_F(ConsoleTerminal, TabCompletes) {
  Begin();
  mTerminal.Type("{\t");
  mTerminal.WaitFor(R"("cmd":")");
  mTerminal.Type("Ar\t");
  mTerminal.WaitFor(R"(cR"})");
  EXPECT_THAT(Ask(""), HasSubstr(R"({"block":"ArcA")"));
  mTerminal.Type("help P\t");
  mTerminal.WaitFor("PCR3  Pla3  Prev");
  mTerminal.WaitFor("zel3> help P");
  EXPECT_THAT(Ask("CR3"), HasSubstr("the bytes of an entry"));
  EXPECT_EQ(End(), 0);
}

TEST_F(ConsoleTerminal, ControlCDropsTheLine) {
  Begin();
  mTerminal.Type(R"({"cmd":"nonsense"})");
  mTerminal.WaitFor("nonsense");
  mTerminal.Type(kDrop);
  mTerminal.WaitFor(kPrompt);
  // Also a line that is empty.
  mTerminal.Type(kDrop);
  mTerminal.WaitFor(kPrompt);
  EXPECT_THAT(Ask("help ArcR"), HasSubstr("the list of archives"));
  EXPECT_EQ(End(), 0);
  EXPECT_EQ(History(), "help ArcR\n");
}

TEST_F(ConsoleTerminal, LinesComeBackAlsoTheNextTime) {
  Begin();
  Ask("help ArcR");
  Ask("help ArcR");
  EXPECT_THAT(Ask(kEarlierLine), HasSubstr("the list of archives"));
  EXPECT_EQ(End(), 0);
  EXPECT_EQ(History(), "help ArcR\n") << "once";
  struct stat status = {};
  ASSERT_EQ(stat(HistoryFile().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600U);

  Begin();
  EXPECT_THAT(Ask(kEarlierLine), HasSubstr("the list of archives"));
  EXPECT_EQ(End(), 0);
}

TEST_F(ConsoleTerminal, WhereLinesCannotBeKeptItWorksAllTheSame) {
  mState = "/dev/null/state";
  Begin();
  EXPECT_THAT(Ask("help ArcR"), HasSubstr("the list of archives"));
  EXPECT_EQ(End(), 0);
}

TEST_F(ConsoleTerminal, IsNotForWhatGoesIntoAFile) {
  const std::string input = "{\"cmd\":\"ArcR\"}\nhelp\n";
  const std::string source = SampleFile(Folder(), mTruth, 0);
  ASSERT_EQ(Run({"index", source}).exitCode, 0);
  const ProgramResult expected = Run({"console", source}, input);
  EXPECT_EQ(expected.exitCode, 2) << "help is no command there";
  EXPECT_EQ(expected.err, "");
  Start({"console", source}, [this] {
    mTerminal.TakeThePlaceOf(STDIN_FILENO);
    setenv("XDG_STATE_HOME", mState.c_str(), 1);
  });
  WaitForOutput("idle");
  mTerminal.Type(input + kEndOfInput);
  const ProgramResult result = Finish();
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_EQ(result.out, expected.out);
  EXPECT_EQ(result.err, "");
  EXPECT_FALSE(FileExists(mState));
}
