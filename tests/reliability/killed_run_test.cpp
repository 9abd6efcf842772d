#include <chrono>
#include <csignal>
#include <filesystem>
#include <random>
#include <thread>

#include "support/figure.h"
#include "support/long_form.h"
#include "support/program.h"

namespace {

namespace fs = std::filesystem;

// The program is killed at random moments while it indexes a folder of two archives.
class KilledRun : public ProgramTest {
 protected:
  std::vector<std::string> Files(const std::string& extension) const {
    std::vector<std::string> paths;
    for (const std::string& name : EntryNames(archives)) {
      if (fs::path(name).extension() == extension) paths.push_back(archives + "/" + name);
    }
    return paths;
  }
  std::vector<Bytes> Contents(const std::string& extension) const {
    std::vector<Bytes> contents;
    for (const std::string& path : Files(extension)) contents.push_back(ReadFile(path));
    return contents;
  }
  void RemoveCaches() const {
    for (const char* const extension : {".id3", ".hdr", ".evt"}) {
      for (const std::string& path : Files(extension)) fs::remove(path);
    }
  }

  const std::string archives = *this / "archives";
};

TEST_F(KilledRun, LeavesTheArchivesAndTheNextStartAnswersRight) {
  ASSERT_EQ(Run({"make", archives, "--length", "6h", "--files", "2", "--interval", "1s",
                 "--payload", "100", "--start", "2024-05-01"})
                .exitCode,
            0);
  const std::vector<Bytes> written = Contents(".zel3");
  const Stopwatch watch;
  ASSERT_EQ(Run({"index", archives}).exitCode, 0);
  double latestMoment = watch.Seconds();
  const Arguments seek{"seek", archives, "2024-05-01T04:00:00Z"};
  const ProgramResult answer = Run(seek);
  ASSERT_EQ(answer.exitCode, 0);
  const std::vector<Bytes> id3 = Contents(".id3");
  const std::vector<Bytes> hdr = Contents(".hdr");
  const std::vector<Bytes> evt = Contents(".evt");
  ASSERT_EQ(id3.size(), 2u);

  std::mt19937 random(1);
  int killed = 0;
  const int wanted = Scaled(8, 200);
  for (int start = 0; killed < wanted; ++start) {
    SCOPED_TRACE(start);
    ASSERT_LT(start, 10 * wanted);
    RemoveCaches();
    Start({"index", archives});
    const double moment = std::uniform_real_distribution<double>(0, latestMoment)(random);
    std::this_thread::sleep_for(std::chrono::duration<double>(moment));
    SendSignal(SIGKILL);
    if (Finish().exitCode == 128 + SIGKILL) {
      ++killed;
    } else {
      latestMoment = moment;
    }
    ASSERT_EQ(Contents(".zel3"), written);

    const ProgramResult again = Run(seek);
    EXPECT_EQ(again.exitCode, 0) << again.err;
    EXPECT_EQ(again.out, answer.out);
    ASSERT_EQ(Run({"index", archives}).exitCode, 0);
    EXPECT_EQ(Contents(".id3"), id3);
    EXPECT_EQ(Contents(".hdr"), hdr);
    EXPECT_EQ(Contents(".evt"), evt);
  }
  ReportFigure("runs killed", killed);
}

}  // namespace
