#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "support/program.h"
#include "support/sample_archive.h"

using testing::ElementsAre;
using testing::EndsWith;
using testing::MatchesRegex;

namespace {

class Info : public ProgramTest {
 protected:
  const GroundTruth mTruth = WriteScenario(Folder(), SampleScenario());
};

}  // namespace

TEST_F(Info, ShowsFilesTimesAndStreams) {
  const ProgramResult result = Run({"info", Folder()});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(LinesOf(result.out),
              ElementsAre(Folder(),
                          "file                            number  start                     "
                          "end                       entries  streams",
                          "cam01_2024-05-01_00-00-00.zel3  0       2024-05-01T00:00:00.000Z  "
                          "2024-05-01T00:00:50.000Z  ...      1 2 3 ...",
                          "cam01_2024-05-01_00-01-30.zel3  1       2024-05-01T00:01:30.000Z  "
                          "2024-05-01T00:02:20.000Z  ...      1 2 3 ...",
                          "cam01_2024-05-01_00-02-30.zel3  2       2024-05-01T00:02:30.000Z  "
                          "2024-05-01T00:03:10.000Z  ...      1 2 3 ...",
                          "... some of it is known only after the file has been indexed"));
}

TEST_F(Info, ShowsTheStreamsOfAllHeadersOfAnIndexedFile) {
  Scenario scenario = SampleScenario();
  scenario.headerChanges = {{1, 30, 4, true}};
  WriteScenario(Folder(), scenario);
  ASSERT_EQ(Run({"index", Folder()}).exitCode, 0);
  const std::vector<std::string> lines = LinesOf(Run({"info", Folder()}).out);
  ASSERT_EQ(lines.size(), 5U) << "nothing is left open";
  EXPECT_THAT(lines[2], EndsWith("Z  6        1 2 3"));
  EXPECT_THAT(lines[3], EndsWith("Z  6        1 2 3 4"));
  EXPECT_THAT(lines[4], EndsWith("Z  5        1 2 3"));
}

TEST_F(Info, AFileWhoseStreamsChangeIsDescribedWithoutItsIndex) {
  Scenario scenario = SampleScenario();
  scenario.headerChanges = {{1, 30, 4, true}};
  WriteScenario(Folder(), scenario);
  const auto json = nlohmann::json::parse(Run({"info", Folder(), "--format", "json"}).out);
  EXPECT_EQ(json["files"][1]["end"], SampleTime(140));
  EXPECT_EQ(EntryNames(Folder()).size(), 3U);
}

TEST_F(Info, JsonHasIntegerTimes) {
  const ProgramResult result = Run({"info", Folder(), "--format", "json"});
  const auto json = nlohmann::json::parse(result.out);
  EXPECT_EQ(json["source"], Folder());
  ASSERT_EQ(json["files"].size(), 3U);
  EXPECT_EQ(
      json["files"][1],
      nlohmann::json::parse(
          R"({"file":"cam01_2024-05-01_00-01-30.zel3","fileNumber":1,"start":)" +
          std::to_string(SampleTime(90)) + R"(,"end":)" + std::to_string(SampleTime(140)) +
          R"(,"entries":null,"indexed":false,"bytes":)" + std::to_string(mTruth.files[1].size) +
          R"(,"streams":[1,2,3],"streamsComplete":false})"));
}

TEST_F(Info, EntriesAreKnownWithAnIndex) {
  ASSERT_EQ(Run({"index", SampleFile(Folder(), mTruth, 1)}).exitCode, 0);
  const auto json = nlohmann::json::parse(Run({"info", Folder(), "--format", "json"}).out);
  EXPECT_EQ(json["files"][1]["entries"], 6);
  EXPECT_EQ(json["files"][1]["indexed"], true);
  EXPECT_EQ(json["files"][2]["entries"], nullptr);
}

TEST_F(Info, StreamsOfADamagedHeaderAreNotKnown) {
  const std::string file = SampleFile(Folder(), mTruth, 1);
  ASSERT_EQ(Run({"index", file}).exitCode, 0);
  Bytes bytes = ReadFile(file);
  for (const FilePosition header : mTruth.files[1].headerPositions) bytes[header + 5] ^= 1;
  WriteFile(file, bytes);
  SetModificationTime(file, mTruth.files[1].endIndexTime);
  const ProgramResult text = Run({"info", Folder()});
  EXPECT_EQ(text.exitCode, 0);
  const std::vector<std::string> lines = LinesOf(text.out);
  ASSERT_EQ(lines.size(), 7U);
  EXPECT_THAT(lines[3], MatchesRegex("cam01_2024-05-01_00-01-30.zel3  1 .*Z  6        [?]"));
  EXPECT_THAT(lines[4], EndsWith("1 2 3 ..."));
  EXPECT_EQ(lines[6], "? not known; zel3 doctor says what is wrong");
  const auto json = nlohmann::json::parse(Run({"info", Folder(), "--format", "json"}).out);
  EXPECT_EQ(json["files"][1]["streams"], nullptr);
  EXPECT_EQ(json["files"][1]["streamsComplete"], false);
  EXPECT_EQ(json["files"][2]["streams"], (std::vector<int>{1, 2, 3}));
}

TEST_F(Info, FilesOfTheSameTimesAreToldApart) {
  const std::string file = SampleFile(Folder(), mTruth, 1);
  WriteFile(*this / "copy.zel3", ReadFile(file));
  const auto json = nlohmann::json::parse(Run({"info", Folder(), "--format", "json"}).out);
  ASSERT_EQ(json["files"].size(), 4U);
  EXPECT_EQ(json["files"][0]["file"], mTruth.files[0].name);
  EXPECT_EQ(json["files"][1]["file"], mTruth.files[1].name);
  EXPECT_EQ(json["files"][2]["file"], "copy.zel3");
  EXPECT_EQ(json["files"][2]["streams"], json["files"][1]["streams"]);
  EXPECT_EQ(json["files"][3]["file"], mTruth.files[2].name);
}

TEST_F(Info, TimesComeInTheFormatAskedFor) {
  EXPECT_THAT(Run({"info", Folder(), "--time-format", "int"}).out,
              testing::HasSubstr(" " + std::to_string(SampleTime(0)) + " "));
  EXPECT_THAT(Run({"info", Folder(), "--format", "json", "--time-format", "iso"}).out,
              testing::HasSubstr(R"("start":"2024-05-01T00:00:00.000Z")"));
}

TEST_F(Info, ASingleFileIsDescribedWithoutItsIndex) {
  const std::string file = SampleFile(Folder(), mTruth, 1);
  const ProgramResult result = Run({"info", file, "--format", "json"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "") << "progress is for terminals";
  const auto json = nlohmann::json::parse(result.out);
  EXPECT_EQ(json["source"], file);
  EXPECT_EQ(json["files"][0]["file"], mTruth.files[1].name);
  EXPECT_EQ(json["files"][0]["streams"], (std::vector<int>{1, 2, 3}));
  EXPECT_EQ(json["files"][0]["streamsComplete"], false);
  EXPECT_EQ(EntryNames(Folder()).size(), 3U);
}

TEST_F(Info, AFileThatIsNotAnArchiveLeavesTheOthers) {
  WriteFile(*this / "damaged.zel3", std::string(1000, 'x'));
  SetModificationTime(*this / "damaged.zel3", 1000);
  const ProgramResult result = Run({"info", Folder()});
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_THAT(result.err,
              MatchesRegex("zel3: damaged.zel3 is not an archive: [^\n]*; it is left out\n"));
  EXPECT_EQ(LinesOf(result.out).size(), 6U);
}
