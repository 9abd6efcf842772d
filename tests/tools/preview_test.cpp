#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "support/program.h"
#include "support/sample_archive.h"

using testing::ElementsAre;

namespace {

class Preview : public ProgramTest {
 protected:
  ProgramResult Show(std::uint64_t from, std::uint64_t to, const Arguments& options = {}) {
    Arguments arguments{"preview", Folder(), std::to_string(from), std::to_string(to)};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return Run(arguments);
  }

  nlohmann::json Positions(std::uint32_t from, std::uint32_t to, const std::string& count) {
    const ProgramResult result =
        Show(SampleTime(from), SampleTime(to), {"--format", "json", "--count", count});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    return nlohmann::json::parse(result.out)["positions"];
  }

  nlohmann::json Entry(std::size_t file, int entry, std::uint32_t second,
                       bool reached = false) const {
    return {{"file", mTruth.files.at(file).name},
            {"fileNumber", file},
            {"entryNumber", entry},
            {"time", SampleTime(second)},
            {"timeReached", reached}};
  }

  const GroundTruth mTruth = WriteScenario(Folder(), SampleScenario());
};

}  // namespace

TEST_F(Preview, ShowsEachEntryAtItsTime) {
  const nlohmann::json positions = Positions(0, 60, "6");
  ASSERT_EQ(positions.size(), 6U);
  for (int i = 0; i < 6; ++i) {
    const auto second = static_cast<std::uint32_t>(i * 10);
    EXPECT_EQ(positions[i]["time"], SampleTime(second));
    EXPECT_EQ(positions[i]["entry"], Entry(0, i, second));
  }
  EXPECT_EQ(EntryNames(Folder()).size(), 6U) << "the other files are left alone";
}

TEST_F(Preview, ShowsTheNextEntryBetweenTwo) {
  const nlohmann::json positions = Positions(41, 101, "6");
  EXPECT_EQ(positions[0]["entry"], Entry(0, 5, 50));
  EXPECT_EQ(positions[2]["entry"], Entry(1, 0, 90)) << "in a gap";
  EXPECT_EQ(positions[5]["entry"], Entry(1, 1, 100));
}

TEST_F(Preview, TellsWhenTheEntryIsNotBeforeTheEnd) {
  EXPECT_EQ(Positions(61, 90, "1")[0]["entry"], Entry(1, 0, 90, true));
  EXPECT_EQ(Positions(61, 91, "1")[0]["entry"], Entry(1, 0, 90, false));
}

TEST_F(Preview, NothingIsShownAfterTheLastEntryAndBeforeTheFirst) {
  const nlohmann::json after = Positions(180, 220, "4");
  EXPECT_EQ(after[1]["entry"], Entry(2, 4, 190));
  EXPECT_TRUE(after[2]["entry"].is_null());
  const ProgramResult before =
      Show(SampleTime(0) - 10000, SampleTime(10), {"--format", "json", "--count", "2"});
  EXPECT_TRUE(nlohmann::json::parse(before.out)["positions"][0]["entry"].is_null());
}

TEST_F(Preview, TextIsATable) {
  EXPECT_THAT(
      LinesOf(Show(SampleTime(190), SampleTime(210), {"--count", "2"}).out),
      ElementsAre("position                  file                            number  entry  "
                  "entry time                end reached",
                  "2024-05-01T00:03:10.000Z  cam01_2024-05-01_00-02-30.zel3  2       4      "
                  "2024-05-01T00:03:10.000Z  no",
                  "2024-05-01T00:03:20.000Z  none                            none    none   "
                  "none                      none"));
}

TEST_F(Preview, CsvLeavesMissingCellsEmpty) {
  EXPECT_THAT(
      LinesOf(Show(SampleTime(190), SampleTime(210), {"--count", "2", "--format", "csv"}).out),
      ElementsAre("time,file,fileNumber,entryNumber,entryTime,timeReached",
                  std::to_string(SampleTime(190)) + "," + mTruth.files[2].name + ",2,4," +
                      std::to_string(SampleTime(190)) + ",false",
                  std::to_string(SampleTime(200)) + ",,,,,"));
  EXPECT_THAT(
      LinesOf(Show(SampleTime(61), SampleTime(90), {"--count", "1", "--format", "csv"}).out).back(),
      testing::EndsWith(",true"));
}

TEST_F(Preview, TenPositionsAreTheDefaultAndStayWithinTheRange) {
  const ProgramResult result = Show(SampleTime(0), ~std::uint64_t{0}, {"--format", "json"});
  const nlohmann::json positions = nlohmann::json::parse(result.out)["positions"];
  ASSERT_EQ(positions.size(), 10U);
  EXPECT_EQ(positions[0]["entry"], Entry(0, 0, 0));
  for (std::size_t i = 1; i < positions.size(); ++i) {
    EXPECT_GT(positions[i]["time"], positions[i - 1]["time"]);
  }
}

TEST_F(Preview, NothingThereExitsWithFour) {
  const std::uint64_t starts[] = {0, SampleTime(300), ~std::uint64_t{0} - 5};
  for (const std::uint64_t start : starts) {
    SCOPED_TRACE(start);
    const ProgramResult result = Show(start, start + 5);
    EXPECT_EQ(result.exitCode, 4);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "zel3: nothing is recorded there\n");
    EXPECT_EQ(Show(start, start + 5, {"--format", "json"}).out, "{\"positions\":[]}\n");
    EXPECT_EQ(Show(start, start + 5, {"--format", "csv"}).out,
              "time,file,fileNumber,entryNumber,entryTime,timeReached\n");
  }
}

TEST_F(Preview, AFileThatIsNotAnArchiveIsLeftOut) {
  WriteFile(*this / "z.zel3", std::string(1000, 'x'));
  const ProgramResult result = Show(SampleTime(0), SampleTime(60));
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(LinesOf(result.out).size(), 11U);
  EXPECT_THAT(result.err, testing::HasSubstr("z.zel3 is not an archive"));
}

TEST_F(Preview, AnEmptyFileIsAFailure) {
  WriteFile(*this / "empty.zel3", "");
  EXPECT_EQ(Run({"preview", *this / "empty.zel3", "1", "2"}).exitCode, 1);
}

TEST_F(Preview, BadArgumentsAreUsageErrors) {
  EXPECT_EQ(Show(2, 2).exitCode, 2);
  EXPECT_EQ(Show(3, 2).exitCode, 2);
  EXPECT_EQ(Show(1, 2, {"--count", "0"}).exitCode, 2);
  EXPECT_EQ(Show(1, 2, {"--count", "10001"}).exitCode, 2);
  EXPECT_EQ(Run({"preview", Folder(), "1"}).exitCode, 2);
}
