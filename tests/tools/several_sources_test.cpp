#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "support/program.h"
#include "support/sample_archive.h"

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

namespace {

using Json = nlohmann::json;

// Two cameras with the files of the sample, and a folder without archives.
class SeveralSources : public ProgramTest {
 protected:
  SeveralSources() {
    for (const std::string& folder : {mOne, mOther, *this / "empty"})
      std::filesystem::create_directory(folder);
    mTruth = WriteScenario(mOne, Eventful());
    Scenario later = Eventful();
    later.startIndexTime += 1000;
    WriteScenario(mOther, later);
  }

  static Scenario Eventful() {
    Scenario scenario = SampleScenario();
    scenario.eventsPerHour = 1440;
    return scenario;
  }

  ProgramResult RunInFolder(const Arguments& arguments) {
    Start(arguments, [this] {
      if (chdir(Folder().c_str()) != 0) _exit(1);
    });
    CloseInput();
    return Finish();
  }

  static Arguments With(Arguments arguments, const Arguments& more) {
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
  }

  static std::vector<std::string> SourcesIn(const Json& answer) {
    std::vector<std::string> sources;
    for (const Json& each : answer["sources"]) sources.push_back(each["source"]);
    return sources;
  }

  // The parts of the line before the first blanks.
  static std::vector<std::string> FirstWords(const std::string& text) {
    std::vector<std::string> words;
    for (const std::string& line : LinesOf(text)) words.push_back(line.substr(0, line.find("  ")));
    return words;
  }

  const std::string mOne = *this / "one";
  const std::string mOther = *this / "other";
  GroundTruth mTruth;
};

// Each verb, with the arguments that it needs after its sources.
const std::vector<std::vector<std::string>>& AnsweringVerbs() {
  static const std::string from = std::to_string(SampleTime(10));
  static const std::string to = std::to_string(SampleTime(2000));
  static const std::vector<std::vector<std::string>> verbs{{"info"},
                                                           {"index"},
                                                           {"index", "-j", "2"},
                                                           {"doctor"},
                                                           {"seek", to},
                                                           {"events"},
                                                           {"events", from, to},
                                                           {"preview", from, to},
                                                           {"activity", "--stream", "1"}};
  return verbs;
}

}  // namespace

TEST_F(SeveralSources, EachHasTheAnswerThatItHasAlone) {
  for (const Arguments& verb : AnsweringVerbs()) {
    SCOPED_TRACE(testing::PrintToString(verb));
    const Arguments rest(verb.begin() + 1, verb.end());
    const Arguments json{"--format", "json"};
    // Built beforehand, so that answers do not differ by which call builds the indexes.
    Run({"index", mOne, mOther});
    const ProgramResult both = Run(With(With({verb[0], mOne, mOther}, rest), json));
    const Json answer = Json::parse(both.out);
    EXPECT_THAT(SourcesIn(answer), ElementsAre(mOne, mOther));
    int worst = 0;
    for (std::size_t i = 0; i < 2; ++i) {
      const ProgramResult alone = Run(With(With({verb[0], i == 0 ? mOne : mOther}, rest), json));
      Json expected = Json::parse(alone.out);
      expected["source"] = i == 0 ? mOne : mOther;
      EXPECT_EQ(answer["sources"][i], expected);
      worst = std::max(worst, alone.exitCode);
    }
    EXPECT_EQ(both.exitCode, worst);
  }
}

TEST_F(SeveralSources, TablesSayWhichOneTheyAreOf) {
  for (const Arguments& verb : AnsweringVerbs()) {
    if (verb[0] == "seek") continue;
    SCOPED_TRACE(testing::PrintToString(verb));
    const ProgramResult result =
        Run(With({verb[0], mOne, mOther}, Arguments(verb.begin() + 1, verb.end())));
    EXPECT_THAT(result.out, AllOf(StartsWith(mOne + "\n"), HasSubstr("\n\n" + mOther + "\n")));
  }
}

TEST_F(SeveralSources, SeekHasARowForEach) {
  WriteScenario(*this / "same", Eventful());
  const ProgramResult result =
      Run({"seek", mOne, mOther, *this / "same", std::to_string(SampleTime(100))});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(FirstWords(result.out), ElementsAre("source", mOne, *this / "same"));
  EXPECT_THAT(result.err, StartsWith("zel3: " + mOther + ": nothing is recorded there: "));
}

TEST_F(SeveralSources, RowsOfValuesSayWhichOneTheyAreOf) {
  const ProgramResult csv = Run({"events", mOne, mOther, "--format", "csv"});
  std::vector<std::string> lines = LinesOf(csv.out);
  ASSERT_GT(lines.size(), 3U);
  EXPECT_EQ(lines.front(), "source,time,type,text");
  lines.erase(lines.begin());
  EXPECT_THAT(lines,
              testing::Each(testing::AnyOf(StartsWith(mOne + ","), StartsWith(mOther + ","))));
  EXPECT_THAT(lines.back(), StartsWith(mOther + ","));
  const ProgramResult jsonl = Run({"events", mOne, mOther, "--format", "jsonl"});
  EXPECT_EQ(LinesOf(jsonl.out).size(), lines.size());
  EXPECT_THAT(jsonl.out, StartsWith(R"({"source":")" + mOne + R"(","time":)"));
  const ProgramResult dump = Run({"dump", mOne, mOther, "--format", "jsonl"});
  EXPECT_THAT(LinesOf(dump.out).back(), StartsWith(R"({"source":")" + mOther + R"(","file":)"));
}

TEST_F(SeveralSources, ABadOneCostsItsOwnAnswerOnly) {
  const struct {
    std::string bad;
    const char* said;
  } cases[] = {
      {*this / "missing", "zel3: nothing exists at [^\n]*/missing\n"},
      {*this / "empty", "zel3: no archive in [^\n]*/empty\n"},
      {"/dev/null", "zel3: /dev/null is neither a file nor a folder\n"},
  };
  for (const Arguments& verb : AnsweringVerbs()) {
    const Arguments rest(verb.begin() + 1, verb.end());
    for (const auto& each : cases) {
      SCOPED_TRACE(testing::PrintToString(verb) + each.bad);
      const ProgramResult result =
          Run(With(With({verb[0], each.bad, mOne}, rest), {"--format", "json"}));
      EXPECT_EQ(result.exitCode, 1);
      EXPECT_THAT(result.err, testing::ContainsRegex(each.said));
      EXPECT_THAT(SourcesIn(Json::parse(result.out)), ElementsAre(mOne));
    }
  }
}

TEST_F(SeveralSources, WhatIsSaidNamesTheOneThatItIsAbout) {
  WriteFile(mOther + "/bad.zel3", std::string(1000, 'x'));
  SetModificationTime(mOther + "/bad.zel3", 1000);
  const ProgramResult result = Run({"info", mOne, mOther});
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_THAT(result.err, MatchesRegex("zel3: " + mOther +
                                       ": bad.zel3 is not an archive: [^\n]*; it is left out\n"));
}

TEST_F(SeveralSources, NothingIsNothingOnlyWhenThereIsNothingInAny) {
  const std::string ofOther = std::to_string(SampleTime(1000));
  const std::string end = std::to_string(SampleTime(1010));
  const ProgramResult one = Run({"preview", mOne, mOther, ofOther, end, "--format", "json"});
  EXPECT_EQ(one.exitCode, 0);
  EXPECT_EQ(one.err, "zel3: " + mOne + ": nothing is recorded there\n");
  EXPECT_THAT(SourcesIn(Json::parse(one.out)), ElementsAre(mOne, mOther));
  const ProgramResult nothing = Run({"seek", mOne, mOther, "5", "--format", "json"});
  EXPECT_EQ(nothing.exitCode, 4);
  EXPECT_THAT(SourcesIn(Json::parse(nothing.out)), ElementsAre(mOne, mOther));
  EXPECT_EQ(Run({"seek", mOne, mOther, *this / "missing", "5"}).exitCode, 1);
}

TEST_F(SeveralSources, FilesNamedOneByOneAreOneTimeline) {
  const ProgramResult result =
      Run({"info", SampleFile(mOne, mTruth, 2), SampleFile(mOne, mTruth, 0), "--format", "json"});
  EXPECT_EQ(result.exitCode, 0);
  const Json answer = Json::parse(result.out);
  EXPECT_EQ(answer["source"], mOne);
  ASSERT_EQ(answer["files"].size(), 2U);
  EXPECT_EQ(answer["files"][0]["file"], mTruth.files[0].name);
  EXPECT_EQ(answer["files"][1]["file"], mTruth.files[2].name);
  EXPECT_EQ(answer["files"][1]["fileNumber"], 1);
}

TEST_F(SeveralSources, ATreeIsAListAlsoOfOne) {
  std::filesystem::create_directories(*this / "tree/cam");
  WriteScenario(*this / "tree/cam", SampleScenario());
  const ProgramResult result = Run({"info", "--recursive", *this / "tree", "--format", "json"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(SourcesIn(Json::parse(result.out)), ElementsAre(*this / "tree/cam"));
  EXPECT_THAT(
      SourcesIn(Json::parse(Run({"info", "--recursive", Folder(), "--format", "json"}).out)),
      ElementsAre(mOne, mOther, *this / "tree/cam"));
}

TEST_F(SeveralSources, MergedTheyAreOneTimeline) {
  const ProgramResult result = Run({"info", mOther, mOne, "--merge", "--format", "json"});
  EXPECT_EQ(result.exitCode, 0);
  const Json answer = Json::parse(result.out);
  EXPECT_EQ(answer["source"], Folder());
  ASSERT_EQ(answer["files"].size(), 6U);
  EXPECT_EQ(answer["files"][0]["file"], "one/" + mTruth.files[0].name);
  EXPECT_THAT(std::string(answer["files"][5]["file"]), StartsWith("other/"));
  EXPECT_EQ(answer["files"][5]["fileNumber"], 5);
  const Json found = Json::parse(
      Run({"seek", mOne, mOther, "--merge", std::to_string(SampleTime(1000)), "--format", "json"})
          .out);
  EXPECT_EQ(found["time"], SampleTime(1000));
  EXPECT_EQ(found["fileNumber"], 3);
}

TEST_F(SeveralSources, FindingsOfMergedFilesTellThemApart) {
  WriteScenario(*this / "other", SampleScenario());
  const Json answer = Json::parse(Run({"doctor", mOne, mOther, "--merge", "--format", "json"}).out);
  std::vector<std::string> overlaps;
  for (const Json& finding : answer["findings"]) {
    if (finding["kind"] == "overlap") overlaps.push_back(finding["file"]);
  }
  EXPECT_THAT(overlaps, testing::Contains(AllOf(StartsWith("o"), HasSubstr("/"))));
}

TEST_F(SeveralSources, ReadNeedsOneTimeline) {
  const std::string from = std::to_string(SampleTime(0));
  const std::string to = std::to_string(SampleTime(2000));
  const ProgramResult refused = Run({"read", mOne, mOther, from, to, "-o", *this / "out"});
  EXPECT_EQ(refused.exitCode, 2);
  EXPECT_EQ(refused.err,
            "zel3: read takes one timeline, but these are 2; --merge makes one of them\n");
  EXPECT_FALSE(FileExists(*this / "out"));
  EXPECT_EQ(Run({"report", mOne, mOther, "-o", *this / "out"}).exitCode, 2);
  ASSERT_EQ(Run({"read", mOne, mOther, "--merge", from, to, "-o", *this / "out"}).exitCode, 0);
  Run({"read", mOne, from, to, "-o", *this / "first"});
  Run({"read", mOther, from, to, "-o", *this / "second"});
  EXPECT_EQ(ReadFile(*this / "out"), ReadFile(*this / "first") + ReadFile(*this / "second"));
  EXPECT_EQ(Run({"report", mOne, mOther, "--merge", "-o", *this / "page"}).exitCode, 0);
  EXPECT_TRUE(FileExists(*this / "page"));
}

TEST_F(SeveralSources, ReadNeverHarmsAnyOfThem) {
  const std::string file = SampleFile(mOne, mTruth, 1);
  const Bytes before = ReadFile(file);
  EXPECT_EQ(Run({"read", mOther, mOne, "--merge", "0", "5000000000000", "-o", file}).exitCode, 2);
  EXPECT_EQ(ReadFile(file), before);
}

TEST_F(SeveralSources, TheLastWordsAreTimesWhereTheyReadAsTimes) {
  const std::string from = std::to_string(SampleTime(0));
  const std::string to = std::to_string(SampleTime(60));
  const Json all = Json::parse(Run({"events", mOne, mOther, "--format", "json"}).out);
  const Json some = Json::parse(Run({"events", mOne, mOther, from, to, "--format", "json"}).out);
  EXPECT_THAT(SourcesIn(some), ElementsAre(mOne, mOther));
  EXPECT_LT(some["sources"][0]["events"].size(), all["sources"][0]["events"].size());
  EXPECT_EQ(some["sources"][1]["events"].size(), 0U);
}

TEST_F(SeveralSources, AWordThatCouldBeTwoThingsIsRefused) {
  WriteScenario(*this / "2024-05-01", Eventful());
  const ProgramResult either = RunInFolder({"events", "one", "2024-05-01"});
  EXPECT_EQ(either.exitCode, 2);
  EXPECT_EQ(either.err,
            "zel3: '2024-05-01' is a time, and there is a file or folder of that name: write "
            "./2024-05-01 for that, or --since for the time\n");
  const ProgramResult neither = RunInFolder({"events", "one", "2024-13-01", "2024-05-02"});
  EXPECT_EQ(neither.exitCode, 2);
  EXPECT_EQ(neither.err,
            "zel3: no file or folder has that name, and '2024-13-01' is not a time: there "
            "is no day 2024-13-01\n");
}

TEST_F(SeveralSources, AFolderMayHaveTheNameOfATime) {
  WriteScenario(*this / "2024-05-01", Eventful());
  const std::string folder = *this / "2024-05-01";
  const Arguments json{"--format", "json"};
  const auto sourcesOf = [&](const Arguments& arguments) {
    return SourcesIn(Json::parse(RunInFolder(With(arguments, json)).out));
  };
  EXPECT_THAT(sourcesOf({"events", "one", "./2024-05-01"}), ElementsAre(mOne, folder));
  EXPECT_THAT(sourcesOf({"events", "one", "2024-05-01", "--since", "2024-05-01"}),
              ElementsAre(mOne, folder));
  EXPECT_THAT(sourcesOf({"info", "one", "2024-05-01"}), ElementsAre(mOne, folder));
  EXPECT_EQ(RunInFolder({"events", "2024-05-01"}).exitCode, 0) << "the first word is a source";
  EXPECT_EQ(RunInFolder({"seek", "one", "2024-05-01"}).exitCode, 0) << "the last word is the time";
  EXPECT_EQ(RunInFolder({"read", "one", "2024-05-01", "2024-05-02", "-o", "out"}).exitCode, 0);
  EXPECT_EQ(ReadFile(*this / "out").size(), ReadFile(SampleFile(mOne, mTruth, 0)).size() +
                                                ReadFile(SampleFile(mOne, mTruth, 1)).size() +
                                                ReadFile(SampleFile(mOne, mTruth, 2)).size());
}

TEST_F(SeveralSources, OptionsMayStandForTheTimes) {
  const std::string from = std::to_string(SampleTime(0));
  const Json found = Json::parse(
      Run({"preview", mOne, mOther, "--since", from, "--for", "1h", "--format", "json"}).out);
  EXPECT_THAT(SourcesIn(found), ElementsAre(mOne, mOther));
  EXPECT_EQ(Run({"read", mOne, mOther, "--merge", "--since", from, "--for", "1h", "-o",
                 *this / "by-options"})
                .exitCode,
            0);
  Run({"read", mOne, mOther, "--merge", from, std::to_string(SampleTime(3600)), "-o",
       *this / "by-words"});
  EXPECT_EQ(ReadFile(*this / "by-options"), ReadFile(*this / "by-words"));
}

TEST_F(SeveralSources, AFolderInBracketsIsNotAList) {
  std::filesystem::rename(mOne, *this / "[one,other]");
  const ProgramResult result = RunInFolder({"info", "[one,other]", "--format", "json"});
  EXPECT_EQ(Json::parse(result.out)["source"], *this / "[one,other]");
}

TEST_F(SeveralSources, ArchivesOfOneNameAndTimeCannotShareACacheFolder) {
  const std::string file = SampleFile(mOne, mTruth, 0);
  const std::string copy = mOther + "/" + mTruth.files[0].name;
  WriteFile(copy, ReadFile(file));
  SetModificationTime(file, 1000);
  SetModificationTime(copy, 1000);
  const Arguments asked{"info", mOne, mOther, "--merge", "--cache-folder", *this / "caches"};
  const ProgramResult result = Run(asked);
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_EQ(result.err, "zel3: " + file + " and " + copy +
                            " have the same name and time, so they would have one index in the "
                            "cache folder\n");
}
