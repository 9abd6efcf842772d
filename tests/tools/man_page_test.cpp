#include <gmock/gmock.h>

#include <filesystem>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "command_line/command_line.h"
#include "support/program.h"

using testing::HasSubstr;

namespace {

// What is below a heading of a page.
struct Section {
  std::set<std::string> options;  // --format, -o: those that begin a line
  std::string text;
};

std::string PathOfPage(const std::string& name) {
  return std::string(SOURCE_FOLDER "/docs/man/") + name + ".1.scd";
}

std::map<std::string, Section> SectionsOf(const std::string& name) {
  static const std::regex heading("# (.*)");
  static const std::regex option("\\*(-[^*]+)\\*");
  const Bytes bytes = ReadFile(PathOfPage(name));
  std::map<std::string, Section> sections;
  Section* section = &sections[""];
  for (const std::string& line : LinesOf(std::string(bytes.begin(), bytes.end()))) {
    std::smatch match;
    if (std::regex_match(line, match, heading)) {
      section = &sections[match[1]];
      continue;
    }
    section->text += line + '\n';
    if (line.compare(0, 2, "*-") != 0) continue;
    for (std::sregex_iterator each(line.begin(), line.end(), option), end; each != end; ++each) {
      section->options.insert((*each)[1]);
    }
  }
  return sections;
}

std::set<std::string> Pages() {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(SOURCE_FOLDER "/docs/man")) {
    const std::filesystem::path file = entry.path().filename();
    if (file.extension() == ".scd") names.insert(file.stem().stem());
  }
  return names;
}

// How a verb is called: *zel3 events* [options] _SOURCE_... [_FROM_] [_TO_].
std::string SynopsisOf(const VerbDescription& verb) {
  std::string synopsis = "*zel3 " + verb.name + "*";
  if (!verb.options.empty()) synopsis += " [options]";
  for (const ArgumentDescription& argument : verb.positionals) {
    const std::string name =
        "_" + argument.names.front() + "_" + (argument.mayBeRepeated ? "..." : "");
    synopsis += argument.isRequired ? " " + name : " [" + name + "]";
  }
  return synopsis;
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
  EXPECT_EQ(SectionsOf("zel3")["OPTIONS"].options, NamesOf(DescribeCommandLine().options));
}

TEST_F(ManPage, ListsTheVerbsAsTheHelpDoes) {
  std::string list = "\nEach has a page of its own.\n\n";
  for (const VerbDescription& verb : DescribeCommandLine().verbs) {
    list += "*zel3-" + verb.name + "*(1)\n\t" + verb.help + "\n\n";
  }
  EXPECT_EQ(SectionsOf("zel3")["VERBS"].text, list);
}

TEST_F(ManPage, OfAVerbSaysWhatItIsAndHowItIsCalled) {
  std::set<std::string> pages = {"zel3"};
  for (const VerbDescription& verb : DescribeCommandLine().verbs) {
    SCOPED_TRACE(verb.name);
    const std::string name = "zel3-" + verb.name;
    std::map<std::string, Section> sections = SectionsOf(name);
    EXPECT_EQ(sections["NAME"].text, "\n" + name + " - " + verb.help + "\n\n");
    EXPECT_EQ(sections["SYNOPSIS"].text, "\n" + SynopsisOf(verb) + "\n\n");
    pages.insert(name);
  }
  EXPECT_EQ(Pages(), pages);
}

TEST_F(ManPage, OfAVerbDocumentsItsOptionsAndNoOthers) {
  for (const VerbDescription& verb : DescribeCommandLine().verbs) {
    SCOPED_TRACE(verb.name);
    const Section section = SectionsOf("zel3-" + verb.name)["OPTIONS"];
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
  for (const std::string& page : Pages()) {
    SCOPED_TRACE(page);
    const ProgramResult made = RunOther("sh", {"-c", "scdoc < \"$1\"", "sh", PathOfPage(page)});
    EXPECT_EQ(made.exitCode, 0);
    EXPECT_EQ(made.err, "");
    EXPECT_THAT(made.out, HasSubstr(".TH \"" + page + "\" \"1\""));
    WriteFile(*this / "page", made.out);
    const ProgramResult shown =
        RunOther("groff", {"-man", "-ww", "-Kutf8", "-Tutf8", *this / "page"});
    EXPECT_EQ(shown.exitCode, 0);
    EXPECT_EQ(shown.err, "");
    EXPECT_THAT(shown.out, HasSubstr(page + " - "));
  }
}
