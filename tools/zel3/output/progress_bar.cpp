#include "output/progress_bar.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <utility>

#include "output/progress_line.h"
#include "output/terminal_width.h"

namespace {

using std::chrono::milliseconds;

constexpr char kEraseLine[] = "\r\x1b[K";
// Erases all lines that a terminal, now narrower, has wrapped the line into.
constexpr char kEraseBelow[] = "\r\x1b[J";

// For a terminal that does not say how wide it is.
constexpr std::size_t kUsualColumns = 80;

constexpr milliseconds kBetweenDrawings(100);

// Shorter work shows nothing.
milliseconds Delay() {
  constexpr milliseconds kUsual(500);
  constexpr long kLongest = 3600 * 1000;
  const char* const asked = std::getenv("ZEL3_PROGRESS_DELAY");
  if (asked == nullptr || *asked == '\0') return kUsual;
  char* end = nullptr;
  const long delay = std::strtol(asked, &end, 10);
  return *end == '\0' && 0 <= delay && delay <= kLongest ? milliseconds(delay) : kUsual;
}

// Whether the program is in the foreground of its terminal.
bool IsInForeground() {
  const pid_t group = tcgetpgrp(STDERR_FILENO);
  return group < 0 || group == getpgrp();
}

// A terminal that is gone is not a reason to stop.
void Write(const std::string& text) {
  std::fputs(text.c_str(), stderr);
}

// The one that shows something.
ProgressBar* shownBar = nullptr;

}  // namespace

ProgressBar::ProgressBar(std::function<Clock::time_point()> now)
    : mNow(std::move(now)), mOnTerminal(isatty(STDERR_FILENO) == 1), mDelay(Delay()) {}

void ProgressBar::Show(const WorkState& state) {
  if (!mOnTerminal) return;
  const Clock::time_point now = mNow();
  if (!mIsAtWork) mStart = now;
  if (!mIsAtWork || mWhat != state.what) mPace = WorkPace();
  mIsAtWork = true;
  mWhat = state.what;
  mPace.Note(std::chrono::duration<double>(now.time_since_epoch()).count(), state.done);
  const bool isDue = now - mStart >= mDelay && (mLine.empty() || now - mDrawn >= kBetweenDrawings);
  if (!isDue || !IsInForeground()) return;
  mDrawn = now;
  Draw(state);
}

void ProgressBar::Draw(const WorkState& state) {
  const std::size_t columns = TerminalWidth(STDERR_FILENO).value_or(kUsualColumns);
  // On some terminals, a line that fills the last column would begin the next one.
  const std::string line = ProgressLine({state, mPace.Rate(), mPace.Left(state.all)}, columns - 1);
  if (line == mLine && columns == mColumns) return;
  if (columns < mColumns) Erase();
  // The cursor stays at the start of the line, so that it is still there when a terminal that
  // rewraps lines gets narrower.
  if (!mLine.empty() || !line.empty()) Write(kEraseLine + line + '\r');
  mLine = line;
  mColumns = columns;
  shownBar = this;
}

void ProgressBar::Erase() {
  if (mLine.empty()) return;
  const std::size_t columns = TerminalWidth(STDERR_FILENO).value_or(kUsualColumns);
  Write(columns < mColumns ? kEraseBelow : kEraseLine);
  mLine.clear();
}

void ProgressBar::Clear() {
  Erase();
  mIsAtWork = false;
  if (shownBar == this) shownBar = nullptr;
}

void ProgressBar::MakeRoom() {
  if (shownBar != nullptr) shownBar->Erase();
}
