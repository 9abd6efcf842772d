// The progress line as a terminal gets it.

#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>

#include "archive/archive_writer.h"
#include "support/program.h"
#include "support/sample_archive.h"
#include "support/terminal.h"
#include "text/display_width.h"

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

namespace {

constexpr char kErased[] = "\r\x1b[K";

// What is written between moves to the start of the line, without the sequences that erase.
std::vector<std::string> Lines(std::string written) {
  for (const std::string erase : {"\x1b[K", "\x1b[J"}) {
    for (std::size_t at; (at = written.find(erase)) != std::string::npos;)
      written.erase(at, erase.size());
  }
  std::vector<std::string> lines{""};
  for (const char character : written) {
    if (character == '\r' || character == '\n') {
      lines.emplace_back();
    } else {
      lines.back() += character;
    }
  }
  return lines;
}

std::size_t Widest(const std::string& written) {
  std::size_t widest = 0;
  for (const std::string& line : Lines(written)) widest = std::max(widest, DisplayWidth(line));
  return widest;
}

class ProgressOnTerminal : public ProgramTest {
 protected:
  void StartOn(const Terminal& terminal, const Arguments& arguments, const char* delay = "0") {
    Start(arguments, [&terminal, delay] {
      setenv("ZEL3_PROGRESS_DELAY", delay, 1);
      unsetenv("COLUMNS");
      terminal.TakeThePlaceOf(STDERR_FILENO);
    });
  }

  // An archive that takes some tenths of a second to read.
  std::string LargeArchive() {
    const std::string path = *this / "large.zel3";
    ArchiveWriter writer(path);
    writer.WriteHeader(OneStreamHeader());
    const std::vector<unsigned char> data(32000, 'x');
    for (std::uint32_t time = 1; time <= 200; ++time) {
      writer.WriteIndex({time, 0, 1});
      for (int i = 0; i < 20; ++i) writer.WriteData(1, 0, data.data(), data.size());
    }
    writer.Close();
    return path;
  }
};

}  // namespace

TEST_F(ProgressOnTerminal, FitsAnyWidth) {
  WriteScenario(Folder(), SampleScenario());
  for (const unsigned columns : {1U, 2U, 5U, 20U, 40U, 80U, 200U}) {
    SCOPED_TRACE(columns);
    const Terminal terminal;
    terminal.SetWidth(columns);
    StartOn(terminal, {"index", Folder(), "--refresh"});
    EXPECT_EQ(Finish().exitCode, 0);
    const std::string written = terminal.Written();
    EXPECT_LT(Widest(written), columns);
    EXPECT_THAT(written, Not(HasSubstr("\n")));
    if (columns < 5) {
      EXPECT_EQ(Widest(written), 0U);
    } else {
      EXPECT_THAT(written, AllOf(HasSubstr("%"), EndsWith(kErased)));
    }
    EXPECT_EQ(written.find("1/3 indexing cam01_") != std::string::npos, columns > 60);
  }
}

TEST_F(ProgressOnTerminal, EveryVerbThatTakesLongShowsIt) {
  const GroundTruth truth = WriteScenario(Folder(), SampleScenario());
  const std::string from = std::to_string(SampleTime(0));
  const std::string to = std::to_string(SampleTime(100000));
  ASSERT_EQ(Run({"index", Folder()}).exitCode, 0);
  struct Case {
    Arguments arguments;
    const char* shown;
  };
  const std::string first = SampleFile(Folder(), truth, 0);
  const Case cases[] = {
      {{"doctor", Folder()}, "1/3 examining cam01"},
      {{"cut", Folder(), from, to, "-o", *this / "cut/a.zel3"}, "1/3 cutting cam01"},
      {{"mend", first, "-o", *this / "cut/b.zel3"}, "mending cam01"},
      {{"read", Folder(), from, to, "-o", *this / "cut/c"}, "1/3 reading cam01"},
      {{"report", Folder(), "-o", *this / "cut/d"}, "1/3 collecting events of cam01"},
      {{"info", Folder()}, "1/3 looking at cam01"},
      {{"gaps", Folder()}, "1/3 going through cam01"},
      {{"activity", Folder(), "--stream", "1"}, "1/3 measuring cam01"},
      {{"index", Folder(), "--refresh"}, "1/3 indexing cam01"},
  };
  ASSERT_EQ(mkdir((*this / "cut").c_str(), 0700), 0);
  for (const Case& each : cases) {
    SCOPED_TRACE(each.shown);
    const Terminal terminal;
    terminal.SetWidth(100);
    StartOn(terminal, each.arguments);
    EXPECT_THAT(Finish().exitCode, testing::AnyOf(0, 3));
    EXPECT_THAT(terminal.Written(), HasSubstr(each.shown));
  }
}

TEST_F(ProgressOnTerminal, ShortWorkShowsNothing) {
  WriteScenario(Folder(), SampleScenario());
  const Terminal terminal;
  StartOn(terminal, {"index", Folder()}, "60000");
  EXPECT_EQ(Finish().exitCode, 0);
  EXPECT_EQ(terminal.Written(), "");
}

TEST_F(ProgressOnTerminal, WithoutATerminalThereIsNone) {
  WriteScenario(Folder(), SampleScenario());
  Start({"index", Folder()}, [] { setenv("ZEL3_PROGRESS_DELAY", "0", 1); });
  EXPECT_EQ(Finish().err, "");
}

TEST_F(ProgressOnTerminal, FollowsATerminalThatIsMadeNarrower) {
  Terminal terminal;
  terminal.SetWidth(80);
  StartOn(terminal, {"doctor", LargeArchive()});
  const std::string wide = terminal.WaitFor("%");
  EXPECT_THAT(wide, HasSubstr("examining large.zel3 [..........................."));
  SendSignal(SIGSTOP);
  terminal.SetWidth(20);
  // Longer than the time between two drawings.
  usleep(150000);
  SendSignal(SIGCONT);
  EXPECT_EQ(Finish().exitCode, 0);
  const std::string written = terminal.Written();
  // First the wide line is erased, as the terminal has wrapped it.
  const std::size_t narrower = written.find("\x1b[J");
  ASSERT_NE(narrower, std::string::npos);
  EXPECT_THAT(written.substr(narrower), HasSubstr("%"));
  EXPECT_LT(Widest(written.substr(narrower)), 20U);
}

TEST_F(ProgressOnTerminal, IsTakenBackWhenTheUserInterrupts) {
  Terminal terminal;
  terminal.SetWidth(80);
  StartOn(terminal, {"doctor", LargeArchive()});
  terminal.WaitFor("examining");
  SendSignal(SIGINT);
  EXPECT_EQ(Finish().exitCode, 130);
  EXPECT_THAT(terminal.Written(), EndsWith("\r\x1b[Kzel3: interrupted\r\n"));
}

TEST_F(ProgressOnTerminal, IsTakenBackWhenIndexingIsEnded) {
  const std::string archive = LargeArchive();
  for (const int ending : {SIGINT, SIGTERM}) {
    SCOPED_TRACE(ending);
    Terminal terminal;
    terminal.SetWidth(80);
    StartOn(terminal, {"index", archive, "--refresh"});
    terminal.WaitFor("indexing");
    SendSignal(ending);
    EXPECT_EQ(Finish().exitCode, 130);
    EXPECT_THAT(terminal.Written(), EndsWith("\r\x1b[Kzel3: interrupted\r\n"));
  }
}

TEST_F(ProgressOnTerminal, NoticesHaveTheirOwnLines) {
  const GroundTruth truth = WriteScenario(Folder(), SampleScenario());
  // Told before anything is shown.
  WriteFile(*this / "a.zel3", std::string(1000, 'x'));
  // Told when its turn to be indexed has come, which is after that of the large one.
  WriteFile(*this / "old.zel", ReadFile(SampleFile(Folder(), truth, 2)));
  LargeArchive();
  for (const std::string jobs : {"1", "2"}) {
    const Terminal terminal;
    terminal.SetWidth(60);
    StartOn(terminal, {"index", Folder(), "--refresh", "-j", jobs});
    EXPECT_EQ(Finish().exitCode, 3);
    const std::string written = terminal.Written();
    std::size_t withinLines = 0;
    for (std::size_t at = 0; (at = written.find("zel3: ", at)) != std::string::npos; ++at) {
      if (at == 0 || written[at - 1] == '\n') continue;
      EXPECT_EQ(written.substr(at - 4, 4), kErased);
      ++withinLines;
    }
    EXPECT_GT(withinLines, 0U) << written;
    EXPECT_THAT(written, HasSubstr("\x1b[Kzel3: old.zel cannot be indexed"));
  }
}
