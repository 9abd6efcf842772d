#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "support/program.h"
#include "support/sample_archive.h"

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

class Make : public ProgramTest {
 protected:
  GroundTruth Truth(Arguments options) {
    Arguments arguments{"make", *this / "archive", "--truth", *this / "truth.json"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const ProgramResult result = Run(arguments);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    const Bytes json = ReadFile(*this / "truth.json");
    return GroundTruthFromJson(std::string(json.begin(), json.end()));
  }
};

}  // namespace

TEST_F(Make, WritesTheFilesThatTheGroundTruthDescribes) {
  const GroundTruth truth = Truth({"--length", "10m", "--files", "2", "--payload", "100"});
  ASSERT_EQ(truth.files.size(), 2U);
  EXPECT_THAT(EntryNames(*this / "archive"), ElementsAre(truth.files[0].name, truth.files[1].name));
  for (const GroundTruthFile& file : truth.files) {
    EXPECT_EQ(ReadFile(*this / "archive/" + file.name).size(), file.size);
  }
}

TEST_F(Make, OptionsShapeTheArchive) {
  const GroundTruth truth =
      Truth({"--start", "2023-01-01T00:00:00Z", "--length", "10m", "--files", "3", "--interval",
             "30", "--gap", "0:1m,1:30", "--payload", "100", "--events", "0", "--name", "gate"});
  ASSERT_EQ(truth.files.size(), 3U);
  EXPECT_THAT(truth.files[0].name, StartsWith("gate_2023-01-01_00-00-00"));
  EXPECT_EQ(truth.files[0].entries[0].indexTime, 1672531200U);
  EXPECT_EQ(truth.files[0].entries[1].indexTime, 1672531230U);
  EXPECT_EQ(truth.files[2].endIndexTime, 1672531800U);
  ASSERT_EQ(truth.gaps.size(), 2U);
  EXPECT_EQ(truth.gaps[0].toIndexTime - truth.gaps[0].fromIndexTime, 60U);
  EXPECT_EQ(truth.gaps[1].toIndexTime - truth.gaps[1].fromIndexTime, 30U);
}

TEST_F(Make, TheSeedDecidesTheContents) {
  const Arguments shape{"make", *this / "archive", "--length", "1m", "--files",
                        "1",    "--force",         "--seed"};
  const auto contentsWith = [&](const std::string& seed) {
    Arguments arguments = shape;
    arguments.push_back(seed);
    Run(arguments);
    return ReadFile(*this / "archive/" + EntryNames(*this / "archive").at(0));
  };
  const Bytes one = contentsWith("1");
  EXPECT_EQ(contentsWith("1"), one);
  EXPECT_NE(contentsWith("2"), one);
}

TEST_F(Make, WritesGroundTruthOnlyWhenAsked) {
  Run({"make", Folder(), "--length", "1m", "--files", "1", "--payload", "100"});
  EXPECT_THAT(EntryNames(Folder()), ElementsAre(EndsWith(".zel3")));
}

TEST_F(Make, ListsWhatItWrote) {
  const ProgramResult text = Run({"make", *this / "a", "--length", "1m", "--files", "1"});
  EXPECT_THAT(text.out, HasSubstr("cam01_2024-05-01_00-00-00.zel3"));
  EXPECT_THAT(text.out, HasSubstr("  2024-05-01T00:00:50.000Z\n")) << "the last entry";
  const ProgramResult result =
      Run({"make", *this / "b", "--length", "1m", "--files", "1", "--format", "json"});
  const auto json = nlohmann::json::parse(result.out);
  EXPECT_EQ(json["files"][0]["file"], "cam01_2024-05-01_00-00-00.zel3");
  EXPECT_EQ(json["files"][0]["fileNumber"], 0);
  EXPECT_EQ(json["files"][0]["entries"], 6);
  EXPECT_EQ(json["files"][0]["start"], 1714521600000);
  EXPECT_EQ(json["files"][0]["end"], 1714521650000);
  EXPECT_EQ(json["files"][0]["bytes"], ReadFile(*this / "b/cam01_2024-05-01_00-00-00.zel3").size());
  EXPECT_TRUE(json["gaps"].empty());
}

TEST_F(Make, ListsFilesAndGapsAsOtherVerbsDo) {
  const auto made = nlohmann::json::parse(Run({"make", *this / "a", "--length", "10m", "--files",
                                               "3", "--gap", "0:1m", "--format", "json"})
                                              .out);
  const auto info =
      nlohmann::json::parse(Run({"info", *this / "a", "--format", "json"}).out)["files"];
  ASSERT_EQ(made["files"].size(), info.size());
  for (std::size_t i = 0; i < info.size(); ++i) {
    for (const char* const key : {"file", "fileNumber", "start", "end", "bytes"})
      EXPECT_EQ(made["files"][i][key], info[i][key]) << key;
  }
  const auto read = nlohmann::json::parse(
      Run({"read", *this / "a", "0", "2100-01-01", "-o", *this / "day", "--format", "json"}).out);
  ASSERT_EQ(made["gaps"].size(), 1U);
  EXPECT_EQ(made["gaps"], read["gaps"]);
}

TEST_F(Make, DoesNotTouchArchivesUnlessForced) {
  WriteFile(*this / "old.zel3", "precious");
  const Arguments arguments{"make", Folder(), "--length", "1m", "--files", "1"};
  const ProgramResult refused = Run(arguments);
  EXPECT_EQ(refused.exitCode, 1);
  EXPECT_THAT(refused.err, HasSubstr("--force"));
  EXPECT_THAT(EntryNames(Folder()), ElementsAre("old.zel3"));
  Arguments forced = arguments;
  forced.push_back("--force");
  EXPECT_EQ(Run(forced).exitCode, 0);
  EXPECT_EQ(EntryNames(Folder()).size(), 2U);
}

TEST_F(Make, ForcedWritingDropsTheIndexesOfTheFilesItReplaces) {
  Arguments arguments{"make", Folder(), "--length", "1m", "--files", "1", "--force"};
  Run(arguments);
  Run({"index", Folder()});
  ASSERT_EQ(EntryNames(Folder()).size(), 4U);
  Run(arguments);
  EXPECT_THAT(EntryNames(Folder()), ElementsAre(EndsWith(".zel3")));
}

TEST_F(Make, AFolderThatCannotBeMadeIsAFailure) {
  WriteFile(*this / "file", "no folder");
  EXPECT_EQ(Run({"make", *this / "file/below"}).exitCode, 1);
}
