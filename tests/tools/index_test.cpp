#include <gmock/gmock.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <nlohmann/json.hpp>
#include <thread>

#include "support/program.h"
#include "support/sample_archive.h"
#include "support/terminal.h"

using testing::ElementsAre;

namespace {

class Index : public ProgramTest {
 protected:
  // The states of the files in the order of their names.
  std::vector<std::string> States(int exitCode = 0, const Arguments& options = {}) {
    Arguments arguments{"index", Folder(), "--format", "json"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const ProgramResult result = Run(arguments);
    EXPECT_EQ(result.exitCode, exitCode) << result.err;
    std::vector<std::string> states;
    const auto json = nlohmann::json::parse(result.out);
    for (const auto& file : json["files"]) states.push_back(file["state"]);
    return states;
  }
};

}  // namespace

TEST_F(Index, BuildsEachMissingIndexOnce) {
  const GroundTruth truth = WriteScenario(Folder(), SampleScenario());
  EXPECT_THAT(States(), ElementsAre("indexed", "indexed", "indexed"));
  EXPECT_THAT(States(), ElementsAre("cached", "cached", "cached"));
  const std::string path = SampleFile(Folder(), truth, 1);
  const std::string withoutExtension = path.substr(0, path.rfind('.'));
  for (const char* const extension : {".id3", ".hdr", ".evt"}) {
    EXPECT_TRUE(FileExists(withoutExtension + extension));
  }
}

TEST_F(Index, AFileWhoseCacheIsGoneIsIndexedAgain) {
  const GroundTruth truth = WriteScenario(Folder(), SampleScenario());
  States();
  const std::string path = SampleFile(Folder(), truth, 1);
  ASSERT_EQ(std::remove((path.substr(0, path.rfind('.')) + ".evt").c_str()), 0);
  EXPECT_THAT(States(), ElementsAre("cached", "indexed", "cached"));
}

TEST_F(Index, ShowsNamesAndTimes) {
  const GroundTruth truth = WriteScenario(Folder(), SampleScenario());
  const std::vector<std::string> lines =
      LinesOf(Run({"index", SampleFile(Folder(), truth, 0)}).out);
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_THAT(lines[0], testing::MatchesRegex("file +state +start +end +entries"));
  EXPECT_THAT(lines[1], testing::MatchesRegex(
                            "cam01_2024-05-01_00-00-00.zel3  indexed  2024-05-01T00:00:00.000Z  "
                            "2024-05-01T00:00:50.000Z  6"));
}

TEST_F(Index, TheCacheFolderIsUsedInsteadOfTheArchives) {
  const TempFolder caches;
  WriteScenario(Folder(), SampleScenario());
  const Arguments options{"--cache-folder", caches.Path()};
  EXPECT_THAT(States(0, options), ElementsAre("indexed", "indexed", "indexed"));
  EXPECT_EQ(EntryNames(Folder()).size(), 3U);
  EXPECT_THAT(States(0, options), ElementsAre("cached", "cached", "cached"));
}

TEST_F(Index, FilesThatAreNotArchivesFailAndTheRestIsDone) {
  WriteScenario(Folder(), SampleScenario());
  WriteFile(*this / "a_empty.zel3", "");
  WriteFile(*this / "b_short.zel3", std::string(40, '\xb5'));
  WriteFile(*this / "c_without_markers.zel3", std::string(70000, 'x'));
  ASSERT_EQ(mkfifo((*this / "d_pipe.zel3").c_str(), 0600), 0);
  WriteFile(*this / "e_older.zel", std::string(100, 'x'));
  EXPECT_THAT(States(3),
              ElementsAre("failed", "failed", "failed", "indexed", "indexed", "indexed", "failed"));
}

TEST_F(Index, TellsWhyAFileFailed) {
  WriteScenario(Folder(), SampleScenario());
  WriteFile(*this / "a.zel3", "");
  WriteFile(*this / "b.zel3", std::string(40, 'x'));
  const GroundTruth truth = WriteScenario(*this / "others", SampleScenario());
  const std::string other = SampleFile(*this / "others", truth, 0);
  WriteFile(*this / "old.zel", ReadFile(other));
  const ProgramResult result = Run({"index", Folder(), "--format", "json"});
  EXPECT_EQ(result.exitCode, 3);
  std::vector<std::string> reasons;
  const auto json = nlohmann::json::parse(result.out);
  for (const auto& file : json["files"]) {
    EXPECT_EQ(file.contains("why"), file["state"] == "failed");
    if (file.contains("why")) reasons.push_back(file["why"]);
  }
  EXPECT_THAT(
      reasons,
      ElementsAre("is not an archive: it is empty",
                  "is not an archive: it has no header near its start, and no index record near "
                  "its ends",
                  "cannot be indexed, or its index cannot be written"));
  const std::vector<std::string> lines = LinesOf(Run({"index", Folder()}).out);
  EXPECT_THAT(lines[0], testing::EndsWith("  why"));
  EXPECT_THAT(lines[1],
              testing::MatchesRegex("a.zel3 +failed +- +- +- +is not an archive: it is empty"));
}

TEST_F(Index, ATerminalShowsTheProgressOfEachFile) {
  const GroundTruth truth = WriteScenario(Folder(), SampleScenario());
  const Terminal terminal;
  Start({"index", Folder()}, [&terminal] {
    setenv("ZEL3_PROGRESS_DELAY", "0", 1);
    terminal.TakeThePlaceOf(STDERR_FILENO);
  });
  EXPECT_EQ(Finish().exitCode, 0);
  const std::string shown = terminal.Written();
  EXPECT_THAT(shown, testing::ContainsRegex("looking at " + truth.files[0].name));
  EXPECT_THAT(shown, testing::ContainsRegex("1/3 indexing " + truth.files[0].name +
                                            " \\[#*\\.+\\] +[0-9]+%"));
  EXPECT_THAT(shown, testing::EndsWith("\r\x1b[K")) << "the bar is taken back";
}

TEST_F(Index, OnlyFailuresAreAFailure) {
  WriteFile(*this / "a.zel3", std::string(1000, 'x'));
  EXPECT_THAT(States(1), ElementsAre("failed"));
  const GroundTruth truth = WriteScenario(*this / "others", SampleScenario());
  WriteFile(*this / "b.zel", ReadFile(SampleFile(*this / "others", truth, 0)));
  EXPECT_THAT(States(1), ElementsAre("failed", "failed"));
}

TEST_F(Index, APathMayBeLong) {
  const GroundTruth truth = WriteScenario(*this / "others", SampleScenario());
  WriteFile(*this / (std::string(240, 'x') + ".zel3"),
            ReadFile(SampleFile(*this / "others", truth, 0)));
  EXPECT_THAT(States(), ElementsAre("indexed"));
  EXPECT_THAT(States(), ElementsAre("cached"));
}

// The parser does not know the older suffix. Where nothing can be written, an archive is served
// without keeping its index.
TEST_F(Index, AnArchiveThatCannotBeIndexedIsNotCalledNone) {
  const GroundTruth truth = WriteScenario(Folder(), SampleScenario());
  const std::string path = SampleFile(Folder(), truth, 0);
  ASSERT_EQ(std::rename(SampleFile(Folder(), truth, 1).c_str(), (*this / "old.zel").c_str()), 0);
  const std::string why = " cannot be indexed, or its index cannot be written\n";
  // Whether it begins and ends around the time asked for is known without an index.
  for (const std::string verb : {"activity", "seek", "preview"}) {
    SCOPED_TRACE(verb);
    const auto on = [&verb](const std::string& source, std::uint32_t second) {
      Arguments arguments{verb, source};
      if (verb == "activity") return Arguments{verb, source, "--stream", "1"};
      arguments.push_back(std::to_string(SampleTime(second)));
      if (verb == "preview") arguments.push_back(std::to_string(SampleTime(second + 1)));
      return arguments;
    };
    const ProgramResult old = Run(on(*this / "old.zel", 100));
    EXPECT_EQ(old.err, "zel3: old.zel" + why);
    EXPECT_EQ(old.exitCode, 1);
    Start(on(path, 20), [] {
      signal(SIGXFSZ, SIG_IGN);
      constexpr rlim_t kLessThanTheIndex = 100;
      const rlimit limit{kLessThanTheIndex, kLessThanTheIndex};
      setrlimit(RLIMIT_FSIZE, &limit);
    });
    const ProgramResult result = Finish();
    EXPECT_THAT(result.err, testing::StartsWith("zel3: " + truth.files[0].name +
                                                " has an index that cannot be kept\n"));
    EXPECT_THAT(result.out, Not(testing::IsEmpty()));
  }
}

TEST_F(Index, ATruncatedFileIsIndexedAsFarAsItGoes) {
  const GroundTruth truth = WriteScenario(Folder(), SampleScenario());
  const std::string path = SampleFile(Folder(), truth, 0);
  WriteFile(path, Between(ReadFile(path), 0, truth.files[0].entries[3].position + 5));
  EXPECT_THAT(States(3), ElementsAre("indexed", "indexed", "indexed"));
  EXPECT_THAT(States(), ElementsAre("cached", "cached", "cached"));
}

TEST_F(Index, TellsWhatAnIndexLacks) {
  const GroundTruth truth = WriteScenario(Folder(), SampleScenario());
  const std::string path = SampleFile(Folder(), truth, 0);
  const std::string name = truth.files[0].name;
  Bytes bytes = ReadFile(path);
  // The type of the first block of the second entry, which then leads nowhere.
  bytes[truth.files[0].entries[1].position + 13 + 3] = 0x77;
  bytes.resize(bytes.size() - 1);
  WriteFile(path, bytes);
  const ProgramResult result = Run({"index", path, "--format", "json"});
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_THAT(result.err,
              AllOf(testing::HasSubstr("zel3: " + name + " has "),
                    testing::HasSubstr(" damaged bytes; what they held is not in its"),
                    testing::HasSubstr("zel3: " + name + " ends within a record; its ")));
  const auto file = nlohmann::json::parse(result.out)["files"][0];
  EXPECT_GT(file["damagedBytes"], 0);
  EXPECT_GT(file["cutOffBytes"], 0);
  const ProgramResult again = Run({"index", path, "--format", "json"});
  EXPECT_TRUE(nlohmann::json::parse(again.out)["files"][0]["damagedBytes"].is_null());
}

TEST_F(Index, FileNamesAreShownWithoutControlCharacters) {
  const GroundTruth truth = WriteScenario(Folder(), SampleScenario());
  const std::string path = *this / "a\x1b[2J.zel3";
  ASSERT_EQ(std::rename(SampleFile(Folder(), truth, 0).c_str(), path.c_str()), 0);
  EXPECT_THAT(Run({"index", path}).out, testing::HasSubstr("a\\u001b[2J.zel3"));
}

TEST_F(Index, RefreshBuildsAgainWhatIsRemembered) {
  WriteScenario(Folder(), SampleScenario());
  States();
  // After this time without changes, files are remembered by the next look.
  std::this_thread::sleep_for(std::chrono::milliseconds(2100));
  States();
  EXPECT_THAT(States(0, {"--refresh"}), ElementsAre("indexed", "indexed", "indexed"));
  EXPECT_EQ(EntryNames(Folder()).size(), 4 * 3U) << "each archive has its three files";
}
