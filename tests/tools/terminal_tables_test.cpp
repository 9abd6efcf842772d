// Tables, and other output for people, on terminals of several widths.

#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>

#include "archive/archive_writer.h"
#include "support/program.h"
#include "support/sample_archive.h"
#include "support/terminal.h"
#include "text/display_width.h"

using testing::Each;
using testing::HasSubstr;
using testing::Le;
using testing::ResultOf;

namespace {

class TerminalTables : public ProgramTest {
 protected:
  // The lines on a terminal of this many columns.
  std::vector<std::string> Shown(const Arguments& arguments, unsigned columns,
                                 const char* asked = "") {
    const Terminal terminal;
    terminal.SetWidth(columns);
    Start(arguments, [&terminal, asked] {
      setenv("COLUMNS", asked, 1);
      setenv("NO_COLOR", "1", 1);
      terminal.TakeThePlaceOf(STDOUT_FILENO);
    });
    Finish();
    std::string written = terminal.Written();
    written.erase(std::remove(written.begin(), written.end(), '\r'), written.end());
    return LinesOf(written);
  }

  void WriteArchive(const std::string& name) {
    ArchiveWriter writer(*this / name);
    writer.WriteHeader(OneStreamHeader());
    for (std::uint32_t time = 1; time <= 3; ++time) {
      writer.WriteIndex({time, 0, 1});
      const std::string text = "the gate at the east side of the yard has been opened";
      writer.WriteData(0xFA, 0, reinterpret_cast<const unsigned char*>(text.data()), text.size());
    }
    writer.Close();
  }
};

}  // namespace

TEST_F(TerminalTables, FitAnyWidth) {
  WriteArchive("\xe6\xad\xa3\xe9\x97\xa8\xe6\xad\xa3\xe9\x97\xa8_2024-05-01_cafe\xcc\x81.zel3");
  WriteArchive("cam01_with_a_name_that_is_rather_long_for_a_table.zel3");
  WriteFile(*this / "x.zel3", "too short");
  for (const Arguments& verb :
       {Arguments{"index", Folder()}, Arguments{"seek", Folder(), "2000"},
        Arguments{"seek", Folder(), "2000", "--explain"}, Arguments{"doctor", Folder()},
        Arguments{"events", Folder()}, Arguments{"gaps", Folder(), "0", "9000"},
        Arguments{"preview", Folder(), "1000", "4000"},
        Arguments{"activity", Folder(), "--stream", "250"}}) {
    for (const unsigned columns : {20U, 40U, 80U, 200U}) {
      SCOPED_TRACE(verb[0] + " " + std::to_string(columns));
      const std::vector<std::string> lines = Shown(verb, columns);
      EXPECT_THAT(lines, testing::SizeIs(testing::Ge(2U)));
      const bool hasSummary = verb[0] == "gaps" || verb[0] == "doctor";
      std::vector<std::string> table(lines.begin(), lines.end() - (hasSummary ? 1 : 0));
      EXPECT_THAT(table, Each(ResultOf(DisplayWidth, Le(columns))));
    }
  }
}

TEST_F(TerminalTables, ShortenNamesInTheMiddleAndOnlyOnATerminal) {
  WriteArchive("cam01_with_a_name_that_is_rather_long_for_a_table.zel3");
  const Arguments seek{"seek", Folder(), "2000", "--time-format", "int"};
  const std::string whole =
      "cam01_with_a_name_that_is_rather_long_for_a_table.zel3  0       1      2000";
  EXPECT_EQ(Shown(seek, 80)[1], whole);
  EXPECT_EQ(Shown(seek, 50)[1], "cam01_with_a_n…r_a_table.zel3  0       1      2000");
  EXPECT_EQ(Shown(seek, 80, "50")[1], "cam01_with_a_n…r_a_table.zel3  0       1      2000");
  EXPECT_EQ(Shown(seek, 50, "300")[1], "cam01_with_a_n…r_a_table.zel3  0       1      2000");
  EXPECT_EQ(Shown(seek, 80, "none")[1], whole);
  EXPECT_EQ(LinesOf(Run(seek).out)[1], whole);
}

TEST_F(TerminalTables, AnActivityIsAsWideAsTheTerminal) {
  WriteScenario(Folder(), SampleScenario());
  const Arguments activity{"activity", Folder(), "--stream", "1"};
  EXPECT_EQ(DisplayWidth(LinesOf(Run(activity).out)[1]), 96U);
  for (const unsigned columns : {20U, 80U, 200U}) {
    const std::vector<std::string> lines = Shown(activity, columns);
    const auto isBar = [](const std::string& line) {
      return line.find_first_of(" -0123456789abcdefghijklmnopqrstuvwxyz") == std::string::npos;
    };
    const auto bar = std::find_if(lines.begin(), lines.end(), isBar);
    ASSERT_NE(bar, lines.end());
    EXPECT_LE(DisplayWidth(*bar), columns);
    EXPECT_GT(DisplayWidth(*bar), columns / 2);
  }
  std::vector<std::string> lines =
      Shown({"activity", Folder(), "--stream", "1", "--bins", "50"}, 40);
  std::size_t marks = 0;
  for (const std::string& line : lines) {
    EXPECT_LE(DisplayWidth(line), 40U);
    if (line.find_first_of("0123456789 -") == std::string::npos) marks += DisplayWidth(line);
  }
  EXPECT_EQ(
      marks,
      DisplayWidth(LinesOf(Run({"activity", Folder(), "--stream", "1", "--bins", "50"}).out)[1]));
}
