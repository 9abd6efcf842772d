#include <gmock/gmock.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <set>
#include <system_error>

#include "support/program.h"
#include "support/sample_archive.h"
#include "support/terminal.h"

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

class IndexJobs : public ProgramTest {
 protected:
  // Archives that take some time each.
  void MakeLargeArchives() {
    ASSERT_EQ(Run({"make", archives, "--length", "8h", "--files", "8", "--interval", "1s",
                   "--payload", "2000"})
                  .exitCode,
              0);
  }

  // The workers of the program, once there are this many.
  std::vector<pid_t> WaitForWorkers(std::size_t count) {
    std::vector<pid_t> workers;
    while (workers.size() < count && !HasEnded()) workers = Children();
    return workers;
  }

  static std::multiset<std::string> States(const std::string& output) {
    std::multiset<std::string> states;
    const auto json = nlohmann::json::parse(output);
    for (const auto& file : json["files"]) states.insert(file["state"]);
    return states;
  }

  const std::string archives = *this / "archives";
};

TEST_F(IndexJobs, GiveTheSameInTheSameOrderAsOneProcess) {
  const std::string one = *this / "one";
  fs::create_directory(one);
  const GroundTruth truth = WriteScenario(one, SampleScenario());
  WriteFile(one + "/a_empty.zel3", "");
  WriteFile(one + "/b_without_markers.zel3", std::string(70000, 'x'));
  WriteFile(one + "/old.zel", ReadFile(SampleFile(one, truth, 2)));
  const std::string damaged = SampleFile(one, truth, 1);
  WriteFile(damaged, Between(ReadFile(damaged), 0, truth.files[1].entries[3].position + 5));
  std::vector<std::string> others;
  for (const std::string jobs : {"2", "3", "100"}) {
    others.push_back(*this / ("by" + jobs));
    fs::copy(one, others.back());
  }
  for (const std::string format : {"json", "text"}) {
    const auto index = [&](const std::string& folder, const std::string& jobs) {
      ProgramResult result = Run({"index", folder, "-j", jobs, "--refresh", "--format", format});
      const std::size_t name = result.out.find(folder);
      if (name != std::string::npos) result.out.erase(name, folder.size());
      return result;
    };
    const ProgramResult alone = index(one, "1");
    EXPECT_EQ(alone.exitCode, 3);
    EXPECT_THAT(alone.out, HasSubstr("indexed"));
    std::vector<std::string> notices = LinesOf(alone.err);
    std::sort(notices.begin(), notices.end());
    for (const std::string& other : others) {
      SCOPED_TRACE(other);
      const ProgramResult result = index(other, other.substr(other.rfind("by") + 2));
      EXPECT_EQ(result.exitCode, alone.exitCode);
      EXPECT_EQ(result.out, alone.out);
      std::vector<std::string> told = LinesOf(result.err);
      std::sort(told.begin(), told.end());
      EXPECT_EQ(told, notices);
    }
  }
  for (const std::string& name : EntryNames(one)) {
    for (const std::string& other : others)
      EXPECT_EQ(ReadFile(other + "/" + name), ReadFile(one + "/" + name)) << name;
  }
  EXPECT_EQ(EntryNames(others[0]), EntryNames(one));
}

TEST_F(IndexJobs, AreAtLeastOne) {
  WriteScenario(Folder(), SampleScenario());
  for (const std::string jobs : {"0", "-1", "two", "", "1.5", "2x", "99999999999999999999999"}) {
    const ProgramResult result = Run({"index", Folder(), "--jobs", jobs});
    EXPECT_EQ(result.exitCode, 2) << jobs;
    EXPECT_THAT(result.err, HasSubstr("--jobs")) << jobs;
  }
  EXPECT_THAT(EntryNames(Folder()), SizeIs(3)) << "nothing has been indexed";
}

TEST_F(IndexJobs, ShowTheirProgressAsOne) {
  WriteScenario(Folder(), SampleScenario());
  const Terminal terminal;
  Start({"index", Folder(), "-j2"}, [&terminal] {
    setenv("ZEL3_PROGRESS_DELAY", "0", 1);
    terminal.TakeThePlaceOf(STDERR_FILENO);
  });
  EXPECT_EQ(Finish().exitCode, 0);
  const std::string shown = terminal.Written();
  EXPECT_THAT(shown, testing::ContainsRegex("[0-3]/3 indexing \\[#*\\.+\\] +[0-9]+%"));
  EXPECT_THAT(shown, Not(HasSubstr("indexing cam01")));
  EXPECT_THAT(shown, EndsWith("\r\x1b[K")) << "the bar is taken back";
}

TEST_F(IndexJobs, OneThatIsKilledCostsItsFileOnly) {
  MakeLargeArchives();
  Start({"index", archives, "-j", "2", "--format", "json"});
  const std::vector<pid_t> workers = WaitForWorkers(2);
  ASSERT_THAT(workers, SizeIs(2));
  // This worker stays at one file while the other indexes all the rest.
  kill(workers[0], SIGSTOP);
  const auto indexes = [this] {
    const std::vector<std::string> names = EntryNames(archives);
    return std::count_if(names.begin(), names.end(), [this](const std::string& name) {
      std::error_code renamedMeanwhile;
      return name.find("unfinished") == std::string::npos && fs::path(name).extension() == ".id3" &&
             fs::file_size(archives + "/" + name, renamedMeanwhile) > 0 && !renamedMeanwhile;
    });
  };
  while (indexes() < 7 && !HasEnded()) usleep(10000);
  kill(workers[0], SIGKILL);
  const ProgramResult result = Finish();
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_THAT(result.err, HasSubstr("cannot be indexed: the process at work on it was ended by "
                                    "signal 9; it is left out\n"));
  EXPECT_THAT(LinesOf(result.err), SizeIs(1));
  EXPECT_EQ(States(result.out).count("failed"), 1U);
  EXPECT_EQ(States(result.out).count("indexed"), 7U);
  const ProgramResult again = Run({"index", archives, "-j", "2", "--format", "json"});
  EXPECT_EQ(again.exitCode, 0);
  EXPECT_EQ(States(again.out).count("indexed"), 1U);
  EXPECT_EQ(EntryNames(archives).size(), 4 * 8U) << "nothing is left of the killed run";
}

TEST_F(IndexJobs, EndWithTheProgramAndLeaveNothingHalf) {
  MakeLargeArchives();
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGKILL}) {
    SCOPED_TRACE(signal);
    Start({"index", archives, "-j", "3", "--refresh"});
    const std::vector<pid_t> workers = WaitForWorkers(3);
    ASSERT_THAT(workers, SizeIs(3));
    // So that the worker is not done before the signal comes.
    kill(workers[0], SIGSTOP);
    usleep(20000);
    SendSignal(signal);
    if (signal == SIGKILL) kill(workers[0], SIGCONT);
    const ProgramResult result = Finish();
    EXPECT_EQ(result.exitCode, signal == SIGKILL ? 128 + SIGKILL : 130);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, signal == SIGKILL ? "" : "zel3: interrupted\n");
    for (const pid_t worker : workers) {
      // The workers of a killed program end by themselves.
      for (int i = 0; signal == SIGKILL && i < 500 && kill(worker, 0) == 0; ++i) usleep(10000);
      EXPECT_EQ(kill(worker, 0), -1);
    }
    EXPECT_THAT(EntryNames(archives), Each(Not(HasSubstr("unfinished"))));
    EXPECT_EQ(Run({"index", archives}).exitCode, 0);
    EXPECT_EQ(EntryNames(archives).size(), 4 * 8U);
  }
  EXPECT_EQ(Run({"doctor", archives}).exitCode, 0);
}

TEST_F(IndexJobs, FailAsOneProcessWithoutAPlugIn) {
  WriteScenario(archives, SampleScenario());
  const std::string broken = *this / "broken";
  fs::create_directory(broken);
  WriteFile(broken + "/zel3reader.so", "not a library");
  const ProgramResult one = Run({"index", archives, "--plugin-folder", broken});
  EXPECT_EQ(one.exitCode, 1);
  EXPECT_THAT(LinesOf(one.err), SizeIs(1));
  const ProgramResult two = Run({"index", archives, "--plugin-folder", broken, "-j", "2"});
  EXPECT_EQ(two.exitCode, 1);
  EXPECT_EQ(two.err, one.err);
  EXPECT_EQ(two.out, one.out);
}

// The readers do not: each would look through the folder for its archive.
TEST_F(IndexJobs, KeepTheLimitOfAFolderOfIndexes) {
  WriteScenario(archives, SampleScenario());
  const std::string caches = *this / "caches";
  fs::create_directory(caches);
  fs::create_directory(*this / "settings");
  WriteFile(*this / "settings/zel3index_cache", "ID3_HDR_EVT_total_MB=1\n");
  const std::string old = caches + "/24.01.01 00-00-00 old.id3";
  for (const std::string jobs : {"1", "2"}) {
    WriteFile(old, Bytes(24 << 16, 0));
    fs::last_write_time(old, fs::file_time_type::clock::now() - std::chrono::hours(1));
    const ProgramResult result = Run({"index", archives, "--cache-folder", caches, "--refresh",
                                      "--settings-folder", *this / "settings", "-j", jobs});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_FALSE(FileExists(old));
    EXPECT_THAT(EntryNames(caches), SizeIs(9));
  }
}

}  // namespace
