#include "command_line/completion.h"

#include <gmock/gmock.h>

#include "support/program.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;

namespace {

using Words = std::vector<std::string>;

constexpr int kNotInstalled = 127;

// A command whose texts contain characters that are special to shells.
CommandDescription CommandOfOddTexts() {
  CommandDescription command;
  command.verbs.push_back({"odd", R"(it's [a] "test": \ $(false) `false`)", {}, {}});
  command.verbs[0].options.push_back({{"--choose", "-c"}, R"(one's [choice]: \)", "a|b"});
  return command;
}

class Completion : public ProgramTest {
 protected:
  std::string ScriptFor(const std::string& shell) {
    const ProgramResult result = Run({"completion", shell});
    EXPECT_EQ(result.exitCode, 0);
    WriteFile(mScript, result.out);
    return mScript;
  }

  // What bash offers for the last of `words`, into which it has split the command line.
  Words BashOffers(const Words& words) {
    const std::string script = R"(
      source "$1"
      compopt() { echo "compopt $*"; }
      COMP_WORDS=("${@:2}")
      COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
      _zel3
      for each in "${COMPREPLY[@]}"; do echo "$each"; done)";
    Arguments arguments{"-c", script, "bash", mScript};
    arguments.insert(arguments.end(), words.begin(), words.end());
    const ProgramResult result = RunOther("bash", arguments);
    EXPECT_EQ(result.err, "");
    return LinesOf(result.out);
  }

  // What fish offers at the end of `line`, each followed by a tab and its help.
  Words FishOffers(const std::string& line) {
    const std::string script = "cd $argv[1]; source $argv[2]; complete -C $argv[3]";
    const ProgramResult result =
        RunOther("fish", {"--no-config", "-c", script, Folder(), mScript, line});
    EXPECT_EQ(result.err, "");
    return LinesOf(result.out);
  }

  bool IsInstalled(const std::string& shell) {
    return RunOther(shell, {"-c", "true"}).exitCode != kNotInstalled;
  }

  const std::string mScript = *this / "script";
};

}  // namespace

TEST_F(Completion, BashCompletesVerbsOptionsAndChoices) {
  ScriptFor("bash");
  const struct {
    Words words;
    Words offers;
  } cases[] = {
      {{"zel3", "se"}, {"seek"}},
      {{"zel3", "--plugin-folder", "x", "se"}, {"seek"}},
      {{"zel3", "--plug"}, {"--plugin-folder"}},
      {{"zel3", "info", "--plug"}, {"--plugin-folder"}},
      {{"zel3", "info", "--for"}, {"--format"}},
      {{"zel3", "info", "--format", ""}, {"text", "json"}},
      {{"zel3", "info", "--format", "j"}, {"json"}},
      {{"zel3", "info", "--format", "="}, {"text", "json"}},
      {{"zel3", "info", "--format", "=", "j"}, {"json"}},
      {{"zel3", "info", "a folder", "--format", "j"}, {"json"}},
      {{"zel3", "seek", "a", "2024-05-01T06", ":", "00", ":", "00Z", "--prev"}, {"--previous"}},
      {{"zel3", "events", "a", "--type", "door"}, {"door-open", "door-close"}},
      {{"zel3", "console", "a", "--bytes", ""}, {"all", "none"}},
      {{"zel3", "completion", ""}, {"bash", "zsh", "fish"}},
      {{"zel3", "make", "a", "--seed", ""}, {}},
      {{"zel3", "console", "a", ""}, {}},
      {{"zel3", "make", "a", ""}, {}},
      {{"zel3", "frobnicate", ""}, {}},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(BashOffers(each.words), each.offers) << testing::PrintToString(each.words);
  }
}

TEST_F(Completion, BashOffersAllVerbs) {
  ScriptFor("bash");
  EXPECT_THAT(BashOffers({"zel3", ""}), IsSupersetOf({"make", "info", "seek", "completion"}));
}

TEST_F(Completion, BashCompletesPathsItself) {
  ScriptFor("bash");
  for (const Words& words :
       {Words{"zel3", "info", ""}, Words{"zel3", "info", "my"}, Words{"zel3", "info", "a", ""},
        Words{"zel3", "seek", "a", "b", "my"}, Words{"zel3", "info", "a", "--cache-folder", "my"},
        Words{"zel3", "--plugin-folder", "=", "my"},
        Words{"zel3", "read", "a", "1", "2", "-o", ""}}) {
    EXPECT_THAT(BashOffers(words), ElementsAre("compopt -o default"))
        << testing::PrintToString(words);
  }
}

TEST_F(Completion, FishCompletesVerbsOptionsChoicesAndPaths) {
  if (!IsInstalled("fish")) GTEST_SKIP() << "fish is not installed";
  ScriptFor("fish");
  WriteFile(*this / "my file", "");
  const struct {
    const char* line;
    Words offers;
  } cases[] = {
      {"zel3 se", {"seek\twhich index entry a time belongs to"}},
      {"zel3 --plugin-folder x se", {"seek\twhich index entry a time belongs to"}},
      {"zel3 info --plug", {"--plugin-folder\twhere the plug-ins are"}},
      {"zel3 info --format j", {"json\tdefault: text, which is for people"}},
      {"zel3 info --format=j", {"--format=json\tdefault: text, which is for people"}},
      {"zel3 info my", {"my file"}},
      {"zel3 info my\\ f", {"my file"}},
      {"zel3 info my\\ file my", {"my file"}},
      {"zel3 make a --seed ", {}},
      {"zel3 read a 1 2 -o my", {"my file"}},
  };
  for (const auto& each : cases) EXPECT_EQ(FishOffers(each.line), each.offers) << each.line;
}

TEST_F(Completion, FishShowsTextsAsTheyAre) {
  if (!IsInstalled("fish")) GTEST_SKIP() << "fish is not installed";
  WriteFile(mScript, completion::FishScript(CommandOfOddTexts()));
  EXPECT_THAT(FishOffers("zel3 o"), ElementsAre("odd\tit's [a] \"test\": \\ $(false) `false`"));
  EXPECT_THAT(FishOffers("zel3 odd --ch"), ElementsAre("--choose\tone's [choice]: \\"));
}

TEST_F(Completion, ZshGetsArgumentsInItsOwnLanguage) {
  const std::string script = completion::ZshScript(CommandOfOddTexts());
  EXPECT_THAT(script, HasSubstr(R"(    'odd:it'\''s \[a\] "test"\: \\ $(false) `false`')"
                                "\n"));
  EXPECT_THAT(script, HasSubstr(R"(    '--choose=[one'\''s \[choice\]\: \\]:a|b:(a b)')"
                                "\n"));
  EXPECT_THAT(script, HasSubstr(R"(    '-c[one'\''s \[choice\]\: \\]:a|b:(a b)')"
                                "\n"));
  const ProgramResult result = Run({"completion", "zsh"});
  EXPECT_THAT(LinesOf(result.out),
              IsSupersetOf({"    '*:SOURCE:_files'", "    '1::PLUGIN_FILE:_files'"}));
  EXPECT_THAT(LinesOf(result.out)[0], "#compdef zel3");
}

// An interactive shell lists what it offers; if it does not, the test hangs until it is stopped.
TEST_F(Completion, ZshListsVerbsOptionsAndChoices) {
  if (!IsInstalled("zsh")) GTEST_SKIP() << "zsh is not installed";
  ScriptFor("zsh");
  const std::string script = R"(
    zmodload zsh/zpty
    zpty shell 'TERM=dumb zsh -f -i'
    zpty -w shell 'autoload -Uz compinit; compinit -u -D; source '$1
    zpty -w shell 'bindkey "^I" list-choices; print rea""dy'
    zpty -r shell shown '*ready*'
    zpty -w -n shell $2$'\t'
    zpty -r shell shown "*$3*" && print offered)";
  const struct {
    const char* line;
    const char* offer;
  } cases[] = {
      {"zel3 se", "seek  -- which index entry a time belongs to"},
      {"zel3 --plugin-folder x se", "seek  -- which index entry a time belongs to"},
      {"zel3 --plug", "--plugin-folder  -- where the plug-ins are"},
      {"zel3 info --plug", "--plugin-folder  -- where the plug-ins are"},
      {"zel3 info --format ", "json  text"},
      {"zel3 events a --type motion --type door", "door-close  door-open"},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.line);
    const ProgramResult result =
        RunOther("zsh", {"-f", "-c", script, "zsh", mScript, each.line, each.offer});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "offered\n");
  }
}

TEST_F(Completion, TheScriptsAreSound) {
  for (const char* const shell : {"bash", "zsh", "fish"}) {
    SCOPED_TRACE(shell);
    if (!IsInstalled(shell)) continue;
    const ProgramResult whole = RunOther(shell, {"-n", ScriptFor(shell)});
    EXPECT_EQ(whole.exitCode, 0) << whole.err;
    WriteFile(mScript, (*completion::ScriptFor(shell))(CommandOfOddTexts()));
    const ProgramResult odd = RunOther(shell, {"-n", mScript});
    EXPECT_EQ(odd.exitCode, 0) << odd.err;
  }
}
