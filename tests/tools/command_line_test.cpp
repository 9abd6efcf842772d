#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>

#include "support/program.h"

using testing::HasSubstr;
using testing::MatchesRegex;

namespace {

constexpr const char* kVerbs[] = {"make",    "info",    "index",     "caches", "seek",
                                  "read",    "events",  "activity",  "gaps",   "calendar",
                                  "preview", "cut",     "mend",      "dump",   "doctor",
                                  "console", "inspect", "completion"};

class CommandLine : public ProgramTest {};

}  // namespace

TEST_F(CommandLine, HelpNamesTheVerbsAndExitCodes) {
  const ProgramResult result = Run({"--help"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "");
  for (const char* const verb : kVerbs) EXPECT_THAT(result.out, HasSubstr(verb));
  EXPECT_THAT(result.out, HasSubstr("130 interrupted"));
}

TEST_F(CommandLine, EveryVerbHasHelp) {
  for (const char* const verb : kVerbs) {
    SCOPED_TRACE(verb);
    const ProgramResult result = Run({verb, "--help"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.out, HasSubstr(std::string("zel3 ") + verb));
  }
}

TEST_F(CommandLine, UsageErrorsAreOneLineAndExitWithTwo) {
  const Arguments cases[] = {
      {},
      {"frobnicate"},
      {"--bogus"},
      {"--plugin-folder"},
      {"info"},
      {"console", Folder(), "more"},
      {"info", Folder(), "--bogus"},
      {"info", Folder(), "--format", "xml"},
      {"info", Folder(), "--time-format", "local"},
      {"console", std::string(261, 'x')},
      {"info", Folder(), "--cache-folder", std::string(261, 'x')},
      {"seek", Folder()},
      {"seek", Folder(), "someday"},
      {"seek", Folder(), "2024-02-30"},
      {"seek", Folder(), "1", "--type", "3"},
      {"seek", Folder(), "1", "--next", "--previous"},
      {"seek", Folder(), "1", "--next", "--type", "1"},
      {"read", Folder(), "1"},
      {"read", Folder(), "2", "2"},
      {"read", Folder(), "3", "2"},
      {"cut", Folder(), "1", "2"},
      {"cut", Folder(), "2", "2", "-o", *this / "a.zel3"},
      {"cut", Folder(), "1", "2", "-o", *this / "a.zel3", "--streams", "1,x"},
      {"cut", Folder(), "1", "2", "-o", *this / "a.zel3", "--split", "500"},
      {"cut", Folder(), "1", "2", "-o", *this / "a.zel3", "--split", "0MB"},
      {"mend", *this / "a.zel3"},
      {"mend", "-o", *this / "a.zel3"},
      {"completion"},
      {"completion", "tcsh"},
      {"console"},
      {"console", Folder(), "--bytes", "-1"},
      {"console", Folder(), "--bytes", "some"},
      {"console", Folder(), "--bytes", "18446744073709551616"},
      {"inspect", "a", "b"},
      {"make"},
      {"make", Folder(), "--files", "0"},
      {"make", Folder(), "--length", "1w"},
      {"make", Folder(), "--length", "4294967296"},
      {"make", Folder(), "--gap", "1"},
      {"make", Folder(), "--start", "1500"},
      {"make", Folder(), "--name", "a/b"},
      {"make", Folder(), "--files", "2", "--length", "1m", "--gap", "0:1h"},
  };
  for (const Arguments& arguments : cases) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    const ProgramResult result = Run(arguments);
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err.substr(0, 6), "zel3: ");
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1);
  }
}

TEST_F(CommandLine, WhatIsNotKnownIsAnsweredWithWhatIsNear) {
  const struct {
    Arguments arguments;
    const char* message;
  } cases[] = {
      {{}, "no verb given; zel3 --help lists them"},
      {{"sekk", "a", "5"}, "there is no verb 'sekk': did you mean 'seek'?"},
      {{"--plugin-folder", "x", "in"}, "there is no verb 'in': did you mean 'info' or 'index'?"},
      {{"frobnicate"}, "there is no verb 'frobnicate'; zel3 --help lists them"},
      {{"info", "a", "--formt", "json"},
       "there is no option --formt of info: did you mean '--format'?"},
      {{"info", "--recursve"},
       "there is no option --recursve of info: did you mean '--recursive'?"},
      {{"seek", "a", "5", "--plugin-foldr=x"},
       "there is no option --plugin-foldr of seek: did you mean '--plugin-folder'?"},
      {{"info", "a", "--bogus"}, "there is no option --bogus of info; zel3 info --help lists them"},
      {{"--versoin"}, "there is no option --versoin: did you mean '--version'?"},
      {{"console", "a", "b"}, "The following argument was not expected: b"},
      {{"--plugin-folder"}, "--plugin-folder: 1 required PATH missing"},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(testing::PrintToString(each.arguments));
    const ProgramResult result = Run(each.arguments);
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.err, std::string("zel3: ") + each.message + "\n");
  }
}

TEST_F(CommandLine, ASourceWithoutAVerbIsSeen) {
  WriteFile(*this / "seekk", "");
  EXPECT_EQ(Run({Folder()}).err, "zel3: '" + Folder() +
                                     "' is a folder, and a verb is missing: "
                                     "zel3 info " +
                                     Folder() + "\n");
  EXPECT_EQ(Run({*this / "seekk", "5"}).err, "zel3: '" + *this / "seekk" +
                                                 "' is a file, and a verb is missing: zel3 info " +
                                                 *this / "seekk" + "\n");
}

TEST_F(CommandLine, OptionsOfTheProgramMayStandBeforeAndAfterTheVerb) {
  WriteFile(*this / "zel3reader.so", "no plug-in");
  EXPECT_EQ(Run({"--plugin-folder", Folder(), "info", Folder()}).exitCode, 1);
  EXPECT_EQ(Run({"info", Folder(), "--plugin-folder", Folder()}).exitCode, 1);
}

TEST_F(CommandLine, AFailureIsOneLineAndExitsWithOne) {
  const Arguments cases[] = {
      {"info", *this / "missing"},
      {"index", *this / "missing"},
      {"seek", *this / "missing", "1"},
      {"read", *this / "missing", "1", "2"},
      {"info", "/dev/null"},
      {"info", Folder()},
      {"index", Folder()},
      {"seek", Folder(), "1"},
      {"read", Folder(), "1", "2"},
  };
  for (const Arguments& arguments : cases) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    const ProgramResult result = Run(arguments);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, MatchesRegex("zel3: [^\n]+\n"));
  }
}

TEST_F(CommandLine, ControlCharactersInMessagesAreShownAsText) {
  const ProgramResult result = Run({"info", "a\x1b[31m\nb"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err, "zel3: nothing exists at a\\u001b[31m\\u000ab\n");
}

TEST_F(CommandLine, AFullDiskIsAFailure) {
  Start({"--version"}, [] { dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO); });
  const ProgramResult result = Finish();
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err, "zel3: cannot write to the standard output\n");
}
