#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "support/program.h"
#include "support/sample_archive.h"

using testing::ElementsAre;
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
  EXPECT_THAT(
      LinesOf(result.out),
      ElementsAre(Folder(), "file  start                     end                       streams",
                  "0     2024-05-01T00:00:00.000Z  2024-05-01T00:00:50.000Z  1 2 3",
                  "1     2024-05-01T00:01:30.000Z  2024-05-01T00:02:20.000Z  1 2 3",
                  "2     2024-05-01T00:02:30.000Z  2024-05-01T00:03:10.000Z  1 2 3"));
}

TEST_F(Info, JsonHasIntegerTimes) {
  const ProgramResult result = Run({"info", Folder(), "--format", "json"});
  const auto json = nlohmann::json::parse(result.out);
  EXPECT_EQ(json["source"], Folder());
  ASSERT_EQ(json["files"].size(), 3U);
  EXPECT_EQ(json["files"][1],
            nlohmann::json::parse(R"({"fileNumber":1,"startTime":)" +
                                  std::to_string(SampleTime(90)) + R"(,"endTime":)" +
                                  std::to_string(SampleTime(140)) + R"(,"streams":[1,2,3]})"));
}

TEST_F(Info, TimesComeInTheFormatAskedFor) {
  EXPECT_THAT(Run({"info", Folder(), "--time-format", "int"}).out,
              testing::HasSubstr(" " + std::to_string(SampleTime(0)) + " "));
  EXPECT_THAT(Run({"info", Folder(), "--format", "json", "--time-format", "iso"}).out,
              testing::HasSubstr(R"("startTime":"2024-05-01T00:00:00.000Z")"));
}

TEST_F(Info, ASingleFileIsIndexedToBeDescribed) {
  const std::string file = SampleFile(Folder(), mTruth, 1);
  const ProgramResult result = Run({"info", file, "--format", "json"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "") << "progress is for terminals";
  EXPECT_EQ(nlohmann::json::parse(result.out)["source"], file);
}

TEST_F(Info, AFolderWhoseFilesDoNotAllOpenHasNoList) {
  WriteFile(*this / "damaged.zel3", std::string(1000, 'x'));
  SetModificationTime(*this / "damaged.zel3", 1000);
  const ProgramResult result = Run({"info", Folder()});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.err,
              MatchesRegex("zel3: damaged.zel3 is not an archive: [^\n]*; it is left out\n"
                           "zel3: [^\n]*could not open all files[^\n]*\n"));
}
