#include <gmock/gmock.h>

#include <chrono>
#include <nlohmann/json.hpp>
#include <thread>

#include "support/program.h"
#include "support/sample_archive.h"

using testing::ElementsAre;
using testing::MatchesRegex;

namespace {

class Seek : public ProgramTest {
 protected:
  ProgramResult SeekTo(std::uint64_t time, const Arguments& options = {}) {
    Arguments arguments{"seek", Folder(), std::to_string(time), "--format", "json"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return Run(arguments);
  }

  std::string Entry(std::size_t file, std::size_t entry, std::uint64_t time) const {
    return R"({"file":")" + mTruth.files.at(file).name + R"(","fileNumber":)" +
           std::to_string(file) + R"(,"entryNumber":)" + std::to_string(entry) + R"(,"time":)" +
           std::to_string(time) + "}\n";
  }
  std::string EntryAt(std::size_t file, std::size_t entry, std::uint32_t second) const {
    return Entry(file, entry, SampleTime(second));
  }

  const GroundTruth mTruth = WriteScenario(Folder(), SampleScenario());
};

}  // namespace

TEST_F(Seek, FindsEveryEntryThatWasWritten) {
  for (std::size_t file = 0; file < mTruth.files.size(); ++file) {
    const auto& entries = mTruth.files[file].entries;
    for (std::size_t entry = 0; entry < entries.size(); ++entry) {
      const std::uint64_t time = ToArchiveTime(entries[entry].indexTime);
      EXPECT_EQ(SeekTo(time).out, Entry(file, entry, time));
    }
  }
}

TEST_F(Seek, LooksAtBeforeAndAfterATime) {
  const struct {
    std::uint32_t second;
    Arguments options;
    std::string answer;
  } cases[] = {
      {25, {}, EntryAt(0, 2, 20)},
      {25, {"--type", "1"}, EntryAt(0, 2, 20)},
      {25, {"--type", "2"}, EntryAt(0, 3, 30)},
      {25, {"--next"}, EntryAt(0, 3, 30)},
      {25, {"--previous"}, EntryAt(0, 1, 10)},
      {50, {"--next"}, EntryAt(1, 0, 90)},
      {90, {"--previous"}, EntryAt(0, 5, 50)},
      {70, {}, EntryAt(1, 0, 90)},
      {70, {"--next"}, EntryAt(1, 0, 90)},
  };
  ASSERT_EQ(Run({"index", Folder()}).exitCode, 0);
  for (const auto& each : cases) {
    SCOPED_TRACE(each.second);
    const ProgramResult result = SeekTo(SampleTime(each.second), each.options);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, each.answer);
  }
}

TEST_F(Seek, IndexesTheFileThatHoldsTheTime) {
  EXPECT_EQ(SeekTo(SampleTime(100)).out, EntryAt(1, 1, 100));
  const std::string path = SampleFile(Folder(), mTruth, 1);
  EXPECT_TRUE(FileExists(path.substr(0, path.rfind('.')) + ".id3"));
  EXPECT_EQ(EntryNames(Folder()).size(), 6U) << "the other files are left alone";
}

TEST_F(Seek, TextIsATable) {
  const ProgramResult result = Run({"seek", Folder(), "2024-05-01T00:01:45Z"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(LinesOf(result.out),
              ElementsAre("file                            number  entry  time",
                          mTruth.files[1].name + "  1       1      2024-05-01T00:01:40.000Z"));
}

TEST_F(Seek, ExplainsByWhichRuleAnEntryAnswers) {
  const struct {
    std::uint32_t second;
    Arguments options;
    const char* rule;
    std::size_t file;
    std::size_t entry;
  } cases[] = {
      {20, {}, "at", 0, 2},           {25, {}, "before", 0, 2},
      {70, {}, "gap", 1, 0},          {25, {"--next"}, "next", 0, 3},
      {70, {"--next"}, "next", 1, 0}, {25, {"--previous"}, "previous", 0, 1},
  };
  ASSERT_EQ(Run({"index", Folder()}).exitCode, 0);
  for (const auto& row : cases) {
    SCOPED_TRACE(row.rule);
    Arguments options = row.options;
    options.push_back("--explain");
    const nlohmann::json answer =
        nlohmann::json::parse(SeekTo(SampleTime(row.second), options).out);
    EXPECT_EQ(answer["rule"], row.rule);
    EXPECT_EQ(answer["fileNumber"], row.file);
    EXPECT_EQ(answer["entryNumber"], row.entry);
    EXPECT_EQ(answer["fileBeforeGap"],
              answer["rule"] == "gap" ? nlohmann::json(0) : nlohmann::json(nullptr));
  }
}

TEST_F(Seek, ExplainsWhereTheBytesAreAndWhatTheAnswerCost) {
  const auto& entries = mTruth.files[1].entries;
  const std::string name = mTruth.files[1].name;
  const auto explain = [this] {
    return nlohmann::json::parse(SeekTo(SampleTime(105), {"--explain"}).out);
  };
  const nlohmann::json built = explain();
  EXPECT_EQ(built["index"], "built");
  EXPECT_EQ(built["file"], name);
  const nlohmann::json cached = explain();
  EXPECT_EQ(cached["index"], "cached");
  for (const nlohmann::json& answer : {built, cached}) {
    EXPECT_EQ(answer["byteRange"].dump(), R"({"from":)" + std::to_string(entries[1].position) +
                                              R"(,"to":)" + std::to_string(entries[2].position) +
                                              "}");
    EXPECT_EQ(answer["headerRange"].dump(),
              R"({"from":0,"to":)" + std::to_string(entries[0].position) + "}");
  }
  EXPECT_LT(cached["filesOpened"], built["filesOpened"]);
  const std::uint64_t bytes = ReadFile(SampleFile(Folder(), mTruth, 1)).size();
  EXPECT_GT(built["bytesRead"], bytes) << "all of the file has been indexed";
  EXPECT_LT(cached["bytesRead"], built["bytesRead"]);
}

TEST_F(Seek, WhatWasLookedAtCostsNoSecondLook) {
  ASSERT_EQ(Run({"index", Folder()}).exitCode, 0);
  // After this time without changes, files may be remembered.
  std::this_thread::sleep_for(std::chrono::milliseconds(2100));
  const auto explain = [this] {
    return nlohmann::json::parse(SeekTo(SampleTime(105), {"--explain"}).out);
  };
  const nlohmann::json first = explain();
  const nlohmann::json second = explain();
  EXPECT_GT(first["filesOpened"], second["filesOpened"]);
  EXPECT_EQ(second["filesOpened"], 3 + 4)
      << "the archive, its entries and headers; by the reader the archive and its index";
}

TEST_F(Seek, ExplainsWhyNothingIsThere) {
  EXPECT_EQ(Run({"seek", Folder(), "2024-04-30", "--explain"}).err,
            "zel3: nothing is recorded there: the first entry is at 2024-05-01T00:00:00.000Z\n");
  const ProgramResult after = Run({"seek", Folder(), "2024-05-02", "--explain"});
  EXPECT_EQ(after.err,
            "zel3: nothing is recorded there: the last entry is at 2024-05-01T00:03:10.000Z\n");
  EXPECT_EQ(after.out, "");
  EXPECT_EQ(after.exitCode, 4);
}

TEST_F(Seek, ExplainsInWords) {
  ASSERT_EQ(Run({"index", Folder()}).exitCode, 0);
  const std::vector<std::string> lines =
      LinesOf(Run({"seek", Folder(), "2024-05-01T00:01:10Z", "--explain"}).out);
  ASSERT_EQ(lines.size(), 8U);
  EXPECT_EQ(lines[0], "file    " + mTruth.files[1].name + ", number 1");
  EXPECT_EQ(lines[1], "entry   0");
  EXPECT_EQ(lines[2], "time    2024-05-01T00:01:30.000Z");
  EXPECT_EQ(lines[3], "rule    in the gap between files 0 and 1: the entry after it");
  EXPECT_EQ(lines[6], "index   cached");
  EXPECT_THAT(lines[7], MatchesRegex("cost    [0-9]+ files opened, [0-9]+ bytes read"));
}

TEST_F(Seek, NothingThereExitsWithFour) {
  const std::uint64_t times[] = {0, SampleTime(0) - 1, SampleTime(300), ~std::uint64_t{0}};
  for (const std::uint64_t time : times) {
    SCOPED_TRACE(time);
    const ProgramResult result = SeekTo(time);
    EXPECT_EQ(result.exitCode, 4);
    EXPECT_EQ(result.out, R"({"file":null,"fileNumber":null,"entryNumber":null,"time":null})"
                          "\n");
    EXPECT_EQ(result.err,
              "zel3: nothing is recorded there: the " +
                  (time < SampleTime(0) ? "first entry is at " + std::to_string(SampleTime(0))
                                        : "last entry is at " + std::to_string(SampleTime(190))) +
                  "\n");
  }
}

TEST_F(Seek, ExplainsNothingWithEveryKey) {
  const auto keysAt = [this](std::uint32_t second) {
    std::vector<std::string> keys;
    const auto answer = nlohmann::json::parse(SeekTo(SampleTime(second), {"--explain"}).out);
    for (const auto& item : answer.items()) keys.push_back(item.key());
    return keys;
  };
  EXPECT_EQ(keysAt(300), keysAt(10));
}

TEST_F(Seek, NothingStandsBeforeTheFirstEntry) {
  ASSERT_EQ(Run({"index", Folder()}).exitCode, 0);
  EXPECT_EQ(SeekTo(SampleTime(5), {"--previous"}).exitCode, 4);
}

TEST_F(Seek, AFileThatIsNotAnArchiveIsAFailure) {
  WriteFile(*this / "x.zel3", std::string(500, 'x'));
  EXPECT_EQ(Run({"seek", *this / "x.zel3", "1"}).exitCode, 1);
}
