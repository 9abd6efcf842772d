#include <gmock/gmock.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <map>
#include <set>

#include "support/temp_folder.h"
#include "system/failure.h"
#include "system/interruption.h"
#include "system/worker_processes.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

class WorkerProcesses : public testing::Test {
 protected:
  WorkerProcesses() {
    calls.work = [](std::size_t piece, const WorkerCalls::Tell&) { return std::to_string(piece); };
    calls.endWorker = [] {};
    calls.onTold = [this](std::size_t piece, const std::string& message) {
      told.emplace_back(piece, message);
    };
    calls.onDone = [this](std::size_t piece, const std::string& result) {
      done.emplace(piece, result);
    };
    calls.onFailed = [this](std::size_t piece, const std::string& why) {
      failed.emplace(piece, why);
    };
  }
  ~WorkerProcesses() override { EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "none is left"; }

  WorkerCalls calls;
  std::vector<std::pair<std::size_t, std::string>> told;
  std::multimap<std::size_t, std::string> done;
  std::multimap<std::size_t, std::string> failed;
};

TEST_F(WorkerProcesses, DoEachPieceOnceWhateverTheirNumber) {
  for (const std::size_t workers : {1, 2, 7}) {
    for (const std::size_t pieces : {0, 1, 6, 50}) {
      SCOPED_TRACE(testing::Message() << workers << " workers, " << pieces << " pieces");
      done.clear();
      RunInWorkers(workers, pieces, calls);
      std::multimap<std::size_t, std::string> all;
      for (std::size_t piece = 0; piece < pieces; ++piece)
        all.emplace(piece, std::to_string(piece));
      EXPECT_EQ(done, all);
      EXPECT_THAT(failed, IsEmpty());
    }
  }
}

TEST_F(WorkerProcesses, AreOtherProcessesAndNoMoreThanPieces) {
  calls.work = [](std::size_t, const WorkerCalls::Tell&) {
    usleep(20000);
    return std::to_string(getpid());
  };
  RunInWorkers(5, 3, calls);
  std::set<std::string> processes{std::to_string(getpid())};
  for (const auto& [piece, process] : done) processes.insert(process);
  EXPECT_THAT(processes, SizeIs(4));
}

TEST_F(WorkerProcesses, ALongPieceDoesNotHoldUpTheOthers) {
  const TempFolder folder;
  const std::string othersAreDone = folder / "done";
  calls.work = [&](std::size_t piece, const WorkerCalls::Tell&) {
    for (int i = 0; piece == 0 && i < 1000 && !FileExists(othersAreDone); ++i) usleep(10000);
    return std::string(FileExists(othersAreDone) ? "last" : "early");
  };
  const auto onDone = calls.onDone;
  calls.onDone = [&](std::size_t piece, const std::string& result) {
    onDone(piece, result);
    if (done.size() == 9) WriteFile(othersAreDone, std::string());
  };
  RunInWorkers(2, 10, calls);
  EXPECT_THAT(done, SizeIs(10));
  EXPECT_EQ(done.find(0)->second, "last");
}

TEST_F(WorkerProcesses, TellBeforeTheResultAndInOrder) {
  calls.work = [](std::size_t piece, const WorkerCalls::Tell& tell) {
    tell("");
    tell(std::string(60000, 'x'));
    return std::string("a\0b", piece == 0 ? 3 : 0);
  };
  RunInWorkers(1, 2, calls);
  EXPECT_THAT(told, ElementsAre(Pair(0, ""), Pair(0, std::string(60000, 'x')), Pair(1, ""),
                                Pair(1, std::string(60000, 'x'))));
  EXPECT_THAT(done, ElementsAre(Pair(0, std::string("a\0b", 3)), Pair(1, "")));
}

TEST_F(WorkerProcesses, AnExceptionMakesThePieceFailAndNoOther) {
  calls.work = [](std::size_t piece, const WorkerCalls::Tell&) -> std::string {
    if (piece == 1) throw std::runtime_error("no parser");
    if (piece == 2) throw std::bad_alloc();
    return "";
  };
  RunInWorkers(2, 4, calls);
  EXPECT_THAT(failed, ElementsAre(Pair(1, "no parser"), Pair(2, "not enough memory")));
  EXPECT_THAT(done, ElementsAre(Pair(0, ""), Pair(3, "")));
}

TEST_F(WorkerProcesses, AFailureEndsAllOfTheWork) {
  calls.work = [](std::size_t piece, const WorkerCalls::Tell&) -> std::string {
    if (piece == 1) throw Failure("no plug-in", kExitUsage);
    return "";
  };
  try {
    RunInWorkers(2, 1000, calls);
    ADD_FAILURE() << "nothing was thrown";
  } catch (const Failure& failure) {
    EXPECT_STREQ(failure.what(), "no plug-in");
    EXPECT_EQ(failure.Code(), kExitUsage);
  }
  EXPECT_THAT(failed, IsEmpty());
  EXPECT_LT(done.size(), 999U);
}

TEST_F(WorkerProcesses, EndAlsoWhenTheyAreStopped) {
  calls.work = [](std::size_t piece, const WorkerCalls::Tell&) -> std::string {
    if (piece == 0) throw Failure("that is all");
    raise(SIGSTOP);
    return "";
  };
  EXPECT_THROW(RunInWorkers(2, 2, calls), Failure);
}

// Even when every process that begins a piece dies.
TEST_F(WorkerProcesses, AreReplacedWhenTheyAreKilledOrEnd) {
  calls.work = [](std::size_t piece, const WorkerCalls::Tell&) -> std::string {
    if (piece % 2 == 0) raise(SIGKILL);
    _exit(7);
  };
  RunInWorkers(2, 6, calls);
  EXPECT_THAT(done, IsEmpty());
  ASSERT_THAT(failed, SizeIs(6));
  EXPECT_EQ(failed.find(0)->second, "the process at work on it was ended by signal 9");
  EXPECT_EQ(failed.find(1)->second, "the process at work on it has ended");
}

TEST_F(WorkerProcesses, CleanUpAtTheirEnds) {
  const TempFolder folder;
  calls.endWorker = [&folder] { WriteFile(folder / std::to_string(getpid()), std::string()); };
  RunInWorkers(3, 9, calls);
  EXPECT_THAT(EntryNames(folder.Path()), SizeIs(3));
}

TEST_F(WorkerProcesses, EndWhenThisProcessGivesUp) {
  const TempFolder folder;
  interruption::Watch();
  calls.work = [](std::size_t piece, const WorkerCalls::Tell&) {
    for (int i = 0; piece > 0 && i < 1000; ++i) {
      usleep(10000);
      interruption::Check();
    }
    return std::string();
  };
  calls.endWorker = [&folder] { WriteFile(folder / std::to_string(getpid()), std::string()); };
  calls.onDone = [](std::size_t, const std::string&) { throw Failure("given up"); };
  EXPECT_THROW(RunInWorkers(3, 9, calls), Failure);
  EXPECT_THAT(EntryNames(folder.Path()), SizeIs(3)) << "also of those that were at work";
}

}  // namespace
