#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>

#include "archive/archive_writer.h"
#include "support/program.h"
#include "support/read_only_folder.h"
#include "support/sample_archive.h"

using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

constexpr unsigned kStream = 1;

// The sample, without quiet hours.
Scenario LivelySample() {
  Scenario scenario = SampleScenario();
  scenario.quietHours = {0, 0};
  return scenario;
}

// The highest level of the entries from `from` up to `to`; nothing where there is no entry.
std::optional<unsigned> LevelBetween(const GroundTruth& truth, IndexTime from, IndexTime to) {
  std::optional<unsigned> level;
  for (const GroundTruthFile& file : truth.files) {
    for (const GroundTruthEntry& entry : file.entries) {
      if (entry.indexTime < from || entry.indexTime >= to) continue;
      level = level.value_or(0);
      for (const ActivityPair& pair : entry.activity) {
        if (pair.streamId == kStream) level = std::max<unsigned>(*level, pair.level);
      }
    }
  }
  return level;
}

// The same for seconds of the sample; 0 where there is no entry.
unsigned LevelOf(const GroundTruth& truth, std::uint32_t from, std::uint32_t to) {
  const IndexTime start = SampleScenario().startIndexTime;
  return LevelBetween(truth, start + from, start + to).value_or(0);
}

class Activity : public ProgramTest {
 protected:
  ProgramResult Measure(const Arguments& options) {
    Arguments arguments{"activity", Folder(), "--stream", std::to_string(kStream)};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return Run(arguments);
  }

  // The bins of a successful run.
  nlohmann::json Bins(const Arguments& options, int exitCode = 0) {
    Arguments arguments{"--format", "json"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const ProgramResult result = Measure(arguments);
    EXPECT_EQ(result.exitCode, exitCode) << result.err;
    return nlohmann::json::parse(result.out)["bins"];
  }

  // One letter for each bin: '+' recorded, '-' missing.
  std::string Recorded(const Arguments& options, int exitCode = 0) {
    std::string marks;
    for (const auto& bin : Bins(options, exitCode)) {
      marks += bin["recorded"] ? '+' : '-';
      EXPECT_EQ(bin["recorded"], bin["recordedFraction"] > 0) << bin;
    }
    return marks;
  }

  std::vector<double> Fractions(const Arguments& options, int exitCode = 0) {
    std::vector<double> fractions;
    for (const auto& bin : Bins(options, exitCode)) fractions.push_back(bin["recordedFraction"]);
    return fractions;
  }

  static std::string Second(std::uint32_t second) { return std::to_string(SampleTime(second)); }
};

class ActivityOfSample : public Activity {
 protected:
  const GroundTruth mTruth = WriteScenario(Folder(), LivelySample());
};

// Writes an archive with entries at these index times; stream 1 has the level 10 in each.
void WriteEntries(const std::string& path, const std::vector<std::uint32_t>& indexTimes,
                  const ArchiveHeader& header = OneStreamHeader()) {
  ArchiveWriter writer(path);
  writer.WriteHeader(header);
  for (const std::uint32_t time : indexTimes) {
    writer.WriteIndex({time, 0, 0});
    writer.WriteData(kStream, 5, reinterpret_cast<const unsigned char*>("x"), 1);
  }
  writer.Close();
}

}  // namespace

TEST_F(ActivityOfSample, EachBinHasTheLevelOfWhatWasWrittenInIt) {
  const nlohmann::json bins = Bins({Second(0), Second(200), "--bins", "10"});
  ASSERT_EQ(bins.size(), 10U);
  unsigned highest = 0;
  for (std::uint32_t i = 0; i < 10; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(bins[i]["time"], SampleTime(i * 20));
    EXPECT_EQ(bins[i]["level"], LevelOf(mTruth, i * 20, i * 20 + 20));
    highest = std::max(highest, bins[i]["level"].get<unsigned>());
  }
  EXPECT_GT(highest, 0U);
}

TEST_F(Activity, ADayInQuartersOfAnHourIsWhatWasWritten) {
  Scenario day = DefaultScenario();
  day.payloadBytesPerEntry = 100;
  const GroundTruth truth = WriteScenario(Folder(), day);
  const nlohmann::json bins = Bins({"2024-05-01", "2024-05-02", "--bins", "96"});
  ASSERT_EQ(bins.size(), 96U);
  constexpr IndexTime kQuarter = 15 * 60;
  int missing = 0;
  for (std::uint32_t i = 0; i < 96; ++i) {
    SCOPED_TRACE(i);
    const IndexTime from = day.startIndexTime + i * kQuarter;
    const std::optional<unsigned> level = LevelBetween(truth, from, from + kQuarter);
    EXPECT_EQ(bins[i]["recorded"], level.has_value());
    EXPECT_EQ(bins[i]["level"], level.value_or(0));
    if (!level) ++missing;
  }
  EXPECT_GT(missing, 0);
}

TEST_F(ActivityOfSample, ARangeOfSomeEntriesHasTheirLevelsOnly) {
  const nlohmann::json bins = Bins({Second(100), Second(130), "--bins", "3"});
  ASSERT_EQ(bins.size(), 3U);
  for (std::uint32_t i = 0; i < 3; ++i) {
    EXPECT_EQ(bins[i]["level"], LevelOf(mTruth, 100 + i * 10, 110 + i * 10));
  }
}

TEST_F(ActivityOfSample, AnEntryLastsUntilTheNextInFineBins) {
  const nlohmann::json bins = Bins({Second(0), Second(200), "--bins", "200"});
  ASSERT_EQ(bins.size(), 200U);
  for (std::uint32_t i = 0; i < 200; ++i) {
    SCOPED_TRACE(i);
    const std::uint32_t entry = i / 10 * 10;
    if (bins[i]["recorded"]) {
      EXPECT_EQ(bins[i]["level"], LevelOf(mTruth, entry, entry + 1));
    }
  }
}

TEST_F(ActivityOfSample, MissingIsWhatLiesBetweenFiles) {
  EXPECT_EQ(Recorded({Second(0), Second(200), "--bins", "20"}), "++++++---+++++++++++");
  EXPECT_EQ(Recorded({Second(50), Second(62), "--bins", "12"}), "++++++++++--")
      << "the last entry of a file lasts as long as the others";
  EXPECT_EQ(Recorded({Second(80), Second(100), "--bins", "20"}), "----------++++++++++");
  EXPECT_EQ(Recorded({Second(140), Second(160), "--bins", "20"}), std::string(20, '+'))
      << "a change of files is no gap";
}

TEST_F(ActivityOfSample, TheWholeArchiveIsTheDefault) {
  const ProgramResult result = Measure({"--format", "json"});
  const nlohmann::json json = nlohmann::json::parse(result.out);
  EXPECT_EQ(json["streamId"], kStream);
  EXPECT_EQ(json["from"], SampleTime(0));
  EXPECT_GT(json["to"], SampleTime(190)) << "the last entry is part of it";
  EXPECT_EQ(json["bins"].size(), 96U);
  EXPECT_EQ(EntryNames(Folder()).size(), 12U) << "every file has been given its index";
}

TEST_F(ActivityOfSample, TextIsOneCharacterForABin) {
  const std::vector<std::string> lines =
      LinesOf(Measure({Second(0), Second(200), "--bins", "20"}).out);
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_EQ(lines[0],
            "stream 1 from 2024-05-01T00:00:00.000Z to 2024-05-01T00:03:20.000Z, one character for "
            "10.000 s");
  static const char* const kMarks[] = {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
  std::string expected;
  for (std::uint32_t second = 0; second < 200; second += 10) {
    const bool gap = second >= 60 && second < 90;
    expected += gap ? "·" : kMarks[LevelOf(mTruth, second, second + 10) / 8];
  }
  EXPECT_EQ(lines[1], expected);
  EXPECT_EQ(lines[2], "▁ quiet  █ most active (levels 0-63)  · nothing recorded");
}

TEST_F(ActivityOfSample, TextMarksWhatWasRecordedInPart) {
  const std::vector<std::string> lines =
      LinesOf(Measure({Second(0), Second(200), "--bins", "8"}).out);
  ASSERT_EQ(lines.size(), 4U);
  EXPECT_EQ(lines[2], "  --") << "10 of 25 seconds before the gap, and after it";
  EXPECT_EQ(lines[3],
            "▁ quiet  █ most active (levels 0-63)  · nothing recorded  - partly recorded");
}

TEST_F(ActivityOfSample, TextHasNoMarksBelowWhereAllIsWhole) {
  const std::vector<std::string> lines =
      LinesOf(Measure({Second(0), Second(50), "--bins", "5"}).out);
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_EQ(lines[2], "▁ quiet  █ most active (levels 0-63)  · nothing recorded");
}

TEST_F(ActivityOfSample, EachBinTellsHowMuchOfItWasRecorded) {
  EXPECT_THAT(Fractions({Second(40), Second(100), "--bins", "6"}),
              ElementsAre(1.0, 1.0, 0.0, 0.0, 0.0, 1.0));
  EXPECT_THAT(Fractions({Second(0), Second(200), "--bins", "2"}), ElementsAre(0.7, 1.0));
  EXPECT_THAT(Fractions({std::to_string(SampleTime(0) - 15000), Second(25), "--bins", "4"}),
              ElementsAre(0.0, 0.5, 1.0, 1.0));
  EXPECT_THAT(Fractions({Second(50), Second(62), "--bins", "12"}),
              ElementsAre(1.0, 1.0, 1.0, 1.0, 1.0, 1.0, 1.0, 1.0, 1.0, 1.0, 0.0, 0.0));
}

TEST_F(ActivityOfSample, FilesWithoutAnIndexLackInTheFraction) {
  ASSERT_EQ(Run({"index", SampleFile(Folder(), mTruth, 1)}).exitCode, 0);
  EXPECT_THAT(Fractions({Second(0), Second(200), "--bins", "4", "--no-index"}, 3),
              ElementsAre(0.0, 0.2, 1.0, 0.0));
}

TEST_F(ActivityOfSample, CsvHasARowForABin) {
  const std::vector<std::string> lines =
      LinesOf(Measure({Second(35), Second(95), "--bins", "3", "--format", "csv"}).out);
  const auto level = [this](std::uint32_t from, std::uint32_t to) {
    return std::to_string(LevelOf(mTruth, from, to));
  };
  std::ostringstream mean;
  mean << (LevelOf(mTruth, 40, 50) + LevelOf(mTruth, 50, 60)) / 2.0;
  EXPECT_THAT(lines,
              ElementsAre("time,level,meanLevel,recorded,recordedFraction",
                          Second(35) + "," + level(40, 60) + "," + mean.str() + ",true,1.000",
                          Second(55) + "," + level(50, 60) + "," + level(50, 60) + ",true,0.250",
                          Second(75) + "," + level(90, 95) + "," + level(90, 95) + ",true,0.250"));
}

TEST_F(ActivityOfSample, AShortRangeHasFewerBins) {
  EXPECT_EQ(Bins({Second(0), std::to_string(SampleTime(0) + 3)}).size(), 3U);
  EXPECT_EQ(Bins({Second(0), std::to_string(SampleTime(0) + 10), "--bins", "4"}).size(), 4U);
}

TEST_F(ActivityOfSample, NoIndexShowsFilesWithoutOneAsMissing) {
  ASSERT_EQ(Run({"index", SampleFile(Folder(), mTruth, 1)}).exitCode, 0);
  EXPECT_EQ(Recorded({Second(0), Second(200), "--bins", "20", "--no-index"}, 3),
            "---------++++++-----");
  EXPECT_EQ(EntryNames(Folder()).size(), 6U) << "nothing has been written";
}

TEST_F(ActivityOfSample, AFileThatIsNotAnArchiveIsLeftOut) {
  const nlohmann::json expected = Bins({"--bins", "20"});
  std::ofstream(Folder() + "/broken.zel3") << "no archive, though long enough";
  const ProgramResult result = Measure({"--bins", "20", "--format", "json"});
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_THAT(LinesOf(result.err),
              ElementsAre(testing::HasSubstr("broken.zel3 is not an archive")));
  EXPECT_EQ(nlohmann::json::parse(result.out)["bins"], expected);
}

TEST_F(ActivityOfSample, WhereNoCacheCanBeWrittenTheIndexIsBuiltEachTime) {
  const Arguments range{Second(0), Second(200), "--bins", "20", "--format", "csv"};
  Arguments arguments{"activity", Folder(), "--stream", "1"};
  arguments.insert(arguments.end(), range.begin(), range.end());
  std::vector<ProgramResult> results;
  for (int i = 0; i < 2; ++i) {
    const ReadOnlyFolder archives(Folder());
    Start(arguments, WithoutPlaceForIndexes);
    results.push_back(Finish());
    EXPECT_THAT(results.back().err, testing::StartsWith("zel3: the index is not kept: "));
  }
  EXPECT_EQ(EntryNames(Folder()).size(), 3U) << "nothing has been written";
  EXPECT_EQ(results[0].out, results[1].out);
  EXPECT_EQ(results[0].out, Run(arguments).out);
}

TEST_F(ActivityOfSample, NothingThereExitsWithFour) {
  const Arguments cases[] = {
      {"0", Second(0)},
      {Second(62), Second(88)},
      {Second(300), Second(400)},
      {"18446744073709551614", "18446744073709551615"},
  };
  for (const Arguments& range : cases) {
    SCOPED_TRACE(testing::PrintToString(range));
    const ProgramResult result = Measure(range);
    EXPECT_EQ(result.exitCode, 4);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "zel3: nothing is recorded there\n");
    Arguments json{"--format", "json"};
    json.insert(json.end(), range.begin(), range.end());
    EXPECT_EQ(Measure(json).out, R"({"streamId":1,"from":null,"to":null,"binWidth":null,"bins":[]})"
                                 "\n");
    json[1] = "csv";
    EXPECT_EQ(Measure(json).out, "time,level,meanLevel,recorded,recordedFraction\n");
  }
}

TEST_F(ActivityOfSample, AllOfTimeIsARange) {
  const nlohmann::json bins = Bins({"0", "18446744073709551615", "--bins", "10000"});
  EXPECT_EQ(std::count_if(bins.begin(), bins.end(),
                          [](const nlohmann::json& bin) { return bin["recorded"]; }),
            1);
}

TEST_F(ActivityOfSample, ABinThatBeginsBeforeTheArchiveIsRecorded) {
  const std::uint64_t before = SampleTime(0) - 15000;
  EXPECT_EQ(Recorded({std::to_string(before), Second(25), "--bins", "4"}), "-+++");
}

TEST_F(Activity, QuietIsNotMissing) {
  ArchiveHeader header = OneStreamHeader();
  header.streams.push_back({9, 1, "video", "Door", "h264"});
  WriteEntries(*this / "a.zel3", {1000, 1010, 1020, 1030, 1040, 1050}, header);
  WriteEntries(*this / "b.zel3", {1090, 1100}, header);
  const std::vector<std::string> lines =
      LinesOf(Run({"activity", Folder(), "--stream", "9", "1000000", "1100000", "--bins", "10",
                   "--format", "csv"})
                  .out);
  ASSERT_EQ(lines.size(), 11U);
  for (std::uint32_t i = 0; i < 10; ++i) {
    EXPECT_THAT(lines[i + 1], StartsWith(std::to_string((1000 + i * 10) * 1000) +
                                         (i >= 6 && i <= 8 ? ",0,0,false," : ",0,0,true,")));
  }
}

TEST_F(ActivityOfSample, AStreamThatIsNotThereIsRefused) {
  const ProgramResult result = Run({"activity", Folder(), "--stream", "99"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "zel3: there is no stream 99, only 1, 2, 3\n");
  EXPECT_EQ(Run({"activity", Folder(), "--stream", "4"}).exitCode, 1)
      << "it is declared without data";
  EXPECT_EQ(Run({"activity", Folder(), "--stream", "144"}).exitCode, 0) << "a type of events";
}

TEST_F(Activity, AStreamThatALaterHeaderDeclaresIsThere) {
  Scenario scenario = LivelySample();
  scenario.headerChanges = {{1, 30, 4, true}};
  WriteScenario(Folder(), scenario);
  EXPECT_EQ(Run({"activity", Folder(), "--stream", "4"}).exitCode, 0);
}

TEST_F(Activity, WithoutAnyStreamEachIsRefused) {
  ArchiveWriter writer(*this / "a.zel3");
  writer.WriteHeader({});
  writer.WriteIndex({1000, 0, 0});
  writer.WriteIndex({1010, 0, 0});
  writer.Close();
  EXPECT_EQ(Measure({}).err, "zel3: there is no stream 1: no file has any\n");
}

TEST_F(ActivityOfSample, WhereNotAllStreamsAreKnownNoneIsRefused) {
  ASSERT_EQ(Run({"index", SampleFile(Folder(), mTruth, 0)}).exitCode, 0);
  const ProgramResult result = Run({"activity", Folder(), "--stream", "99", "--no-index"});
  EXPECT_EQ(result.exitCode, 3) << result.err;
  EXPECT_THAT(result.out, HasSubstr("stream 99"));
}

TEST_F(Activity, AHoleWithinAFileIsMissing) {
  WriteEntries(*this / "a.zel3", {1000, 1010, 1020, 1060, 1070, 1120, 1130});
  EXPECT_EQ(Recorded({"1000000", "1130000", "--bins", "13"}), "++++++++----+")
      << "four typical steps are no hole yet";
}

TEST_F(Activity, AHoleWithinAFileIsMissingFromTheFraction) {
  std::vector<std::uint32_t> times;
  for (std::uint32_t time = 1000; time <= 3000; time += 10) {
    if (time < 1210 || time > 1300) times.push_back(time);
  }
  WriteEntries(*this / "a.zel3", times);
  EXPECT_THAT(Fractions({"1000000", "3000000", "--bins", "2"}), ElementsAre(0.9, 1.0))
      << "the entry before it lasts a step";
  EXPECT_THAT(Fractions({"1200000", "1320000", "--bins", "4"}),
              ElementsAre(0.333, 0.0, 0.0, 0.333));
}

TEST_F(Activity, AGapDoesNotDisappearInWideBins) {
  Scenario day = DefaultScenario();
  day.payloadBytesPerEntry = 100;
  const GroundTruth truth = WriteScenario(Folder(), day);
  double missing = 0;
  for (const double fraction : Fractions({"2024-05-01", "2024-05-02", "--bins", "20"})) {
    EXPECT_GT(fraction, 0);
    missing += (1 - fraction) * 86400 / 20;
  }
  double expected = 0;
  for (const GroundTruthGap& gap : truth.gaps) expected += gap.toIndexTime - gap.fromIndexTime;
  EXPECT_EQ(expected, 7200);
  EXPECT_NEAR(missing, expected, 30) << "files end some seconds early, fractions are rounded";
}

TEST_F(Activity, ASingleEntryIsRecorded) {
  WriteEntries(*this / "a.zel3", {1000});
  EXPECT_EQ(Recorded({"990000", "1020000", "--bins", "3"}), "-+-");
  EXPECT_THAT(Recorded({}), Each('+'));
}

TEST_F(Activity, FilesInAnyOrderOfTheirTimesCanBeMeasured) {
  WriteEntries(*this / "a.zel3", {1000, 1010, 1005, 900, 1020});
  WriteEntries(*this / "b.zel3", {1000, 1010, 1020});
  WriteEntries(*this / "c.zel3", {1015, 1015, 1015});
  EXPECT_THAT(Recorded({"1000000", "1020000", "--bins", "4"}, 3), HasSubstr("+"));
}

TEST_F(Activity, WithoutAnArchiveThereIsAFailure) {
  EXPECT_EQ(Measure({}).exitCode, 1);
  WriteFile(*this / "empty.zel3", "");
  EXPECT_EQ(Run({"activity", *this / "empty.zel3", "--stream", "1"}).exitCode, 1);
}

TEST_F(Activity, BadArgumentsAreUsageErrors) {
  EXPECT_EQ(Run({"activity", Folder()}).exitCode, 2);
  EXPECT_EQ(Run({"activity", Folder(), "--stream", "256"}).exitCode, 2);
  const Arguments cases[] = {{"1"},           {"2", "2"},          {"3", "2"},
                             {"--bins", "0"}, {"--bins", "10001"}, {"--format", "jsonl"}};
  for (const Arguments& arguments : cases) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    EXPECT_EQ(Measure(arguments).exitCode, 2);
  }
}
