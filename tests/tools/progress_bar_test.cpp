#include "output/progress_bar.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <optional>
#include <string>
#include <vector>

#include "support/environment_value.h"
#include "support/terminal.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// On a terminal in place of the standard error, by a clock of its own.
class ProgressBarTest : public testing::Test {
 protected:
  ProgressBarTest() : mError(dup(STDERR_FILENO)) {
    mTerminal.SetWidth(60);
    mTerminal.TakeThePlaceOf(STDERR_FILENO);
    mBar.emplace([this] { return mNow; });
  }
  ~ProgressBarTest() override {
    dup2(mError, STDERR_FILENO);
    close(mError);
  }

  void ShowAt(int milliseconds, std::size_t number, std::uint64_t done) {
    mNow = ProgressBar::Clock::time_point() + std::chrono::milliseconds(milliseconds);
    WorkState state;
    state.what = "indexing";
    state.name = std::string(1, static_cast<char>('a' + number - 1));
    state.number = number;
    state.count = 3;
    state.done = done;
    state.all = 300;
    mBar->Show(state);
  }
  // What has been drawn, one line after the other; an empty one takes the last one back.
  std::vector<std::string> Lines() {
    mBar.reset();
    dup2(mError, STDERR_FILENO);
    std::vector<std::string> lines;
    const std::string erase = "\r\x1b[K";
    const std::string written = mTerminal.Written();
    for (std::size_t at = 0; (at = written.find(erase, at)) != std::string::npos;) {
      at += erase.size();
      lines.push_back(written.substr(at, written.find('\r', at) - at));
    }
    return lines;
  }

 private:
  const EnvironmentValue mDelay{"ZEL3_PROGRESS_DELAY", "500"};
  const Terminal mTerminal;
  const int mError;
  ProgressBar::Clock::time_point mNow;
  std::optional<ProgressBar> mBar;
};

}  // namespace

TEST_F(ProgressBarTest, ShowsEachFile) {
  ShowAt(0, 1, 0);
  ShowAt(500, 1, 50);
  ShowAt(700, 2, 150);
  ShowAt(900, 3, 300);
  EXPECT_THAT(Lines(),
              ElementsAre("1/3 indexing a [######...............................]  16%",
                          "2/3 indexing b [##################...................]  50%",
                          "3/3 indexing c [#####################################] 100%", ""));
}

TEST_F(ProgressBarTest, DrawsTenTimesASecondAtMost) {
  for (int milliseconds = 0; milliseconds <= 1000; ++milliseconds)
    ShowAt(milliseconds, 1, static_cast<std::uint64_t>(milliseconds) / 4);
  EXPECT_EQ(Lines().size(), 7U) << "from half a second on, and the line is taken back";
}

TEST_F(ProgressBarTest, ShowsNothingOfShortWork) {
  ShowAt(0, 1, 0);
  ShowAt(499, 3, 290);
  EXPECT_THAT(Lines(), IsEmpty());
}
