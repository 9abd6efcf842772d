#include <gmock/gmock.h>

#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "command_line/command_line.h"
#include "support/program.h"

using testing::HasSubstr;

namespace {

constexpr char kPage[] = SOURCE_FOLDER "/docs/man/zel3.1.scd";

// What stands below a heading of the page.
struct Section {
  std::set<std::string> options;  // --format, -o: those that begin a line
  std::string text;
};

std::string PageText() {
  const Bytes bytes = ReadFile(kPage);
  return std::string(bytes.begin(), bytes.end());
}

std::map<std::string, Section> Sections() {
  static const std::regex heading("#+ (.*)");
  static const std::regex option("\\*(-[^*]+)\\*");
  std::map<std::string, Section> sections;
  Section* section = &sections[""];
  for (const std::string& line : LinesOf(PageText())) {
    std::smatch match;
    if (std::regex_match(line, match, heading)) section = &sections[match[1]];
    section->text += line + '\n';
    if (line.compare(0, 2, "*-") != 0) continue;
    for (std::sregex_iterator each(line.begin(), line.end(), option), end; each != end; ++each) {
      section->options.insert((*each)[1]);
    }
  }
  return sections;
}

// The heading that a verb must have: zel3 events SOURCE [FROM] [TO].
std::string HeadingOf(const VerbDescription& verb) {
  std::string heading = "zel3 " + verb.name;
  for (const ArgumentDescription& argument : verb.positionals) {
    const std::string& name = argument.names.front();
    heading += argument.isRequired ? " " + name : " [" + name + "]";
  }
  return heading;
}

std::set<std::string> NamesOf(const std::vector<ArgumentDescription>& options) {
  std::set<std::string> names;
  for (const ArgumentDescription& option : options) {
    names.insert(option.names.begin(), option.names.end());
  }
  return names;
}

class ManPage : public ProgramTest {};

}  // namespace

TEST_F(ManPage, DocumentsTheOptionsOfTheProgram) {
  EXPECT_EQ(Sections()["OPTIONS"].options, NamesOf(DescribeCommandLine().options));
}

TEST_F(ManPage, DocumentsTheVerbsAndNoOthers) {
  std::set<std::string> verbs;
  for (const VerbDescription& verb : DescribeCommandLine().verbs) verbs.insert(HeadingOf(verb));
  std::set<std::string> documented;
  for (const auto& [heading, section] : Sections()) {
    if (heading.compare(0, 5, "zel3 ") == 0) documented.insert(heading);
  }
  EXPECT_EQ(documented, verbs);
}

TEST_F(ManPage, DocumentsTheOptionsOfEachVerbAndNoOthers) {
  std::map<std::string, Section> sections = Sections();
  for (const VerbDescription& verb : DescribeCommandLine().verbs) {
    SCOPED_TRACE(verb.name);
    const Section& section = sections[HeadingOf(verb)];
    EXPECT_EQ(section.options, NamesOf(verb.options));
    for (const ArgumentDescription& argument : verb.options) {
      for (const std::string& choice : argument.Choices()) {
        EXPECT_THAT(section.text, HasSubstr(choice)) << argument.names.front();
      }
    }
  }
}

TEST_F(ManPage, IsMadeWithoutWarnings) {
  for (const char* const tool : {"scdoc", "groff"}) {
    if (RunOther("which", {tool}).exitCode != 0) GTEST_SKIP() << tool << " is not installed";
  }
  const ProgramResult made = RunOther("sh", {"-c", "scdoc < \"$1\"", "sh", kPage});
  EXPECT_EQ(made.exitCode, 0);
  EXPECT_EQ(made.err, "");
  EXPECT_THAT(made.out, HasSubstr(".TH \"zel3\" \"1\""));
  WriteFile(*this / "zel3.1", made.out);
  const ProgramResult shown =
      RunOther("groff", {"-man", "-ww", "-Kutf8", "-Tutf8", *this / "zel3.1"});
  EXPECT_EQ(shown.exitCode, 0);
  EXPECT_EQ(shown.err, "");
  EXPECT_THAT(shown.out, HasSubstr("serve recorded ZEL3 archives by time"));
}
