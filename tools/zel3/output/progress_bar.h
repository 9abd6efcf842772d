#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>

#include "output/work_pace.h"
#include "system/progress.h"

// One line on the standard error that shows the progress of a piece of work. Shown only on a
// terminal, while the program is in its foreground, and when the work takes a while; as wide as the
// terminal currently is, and erased at the end. Only one at a time shows something.
class ProgressBar : public Progress {
 public:
  using Clock = std::chrono::steady_clock;

  // `now` says what time it is.
  explicit ProgressBar(std::function<Clock::time_point()> now = Clock::now);
  ~ProgressBar() override { Clear(); }
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  void Show(const WorkState& state) override;
  void Clear() override;

  // Erases the line, if one is shown, so that something else can be written; it comes back when the
  // work goes on.
  static void MakeRoom();

 private:
  void Draw(const WorkState& state);
  void Erase();

  const std::function<Clock::time_point()> mNow;
  const bool mOnTerminal;
  const Clock::duration mDelay;
  bool mIsAtWork = false;
  Clock::time_point mStart;
  Clock::time_point mDrawn;
  std::string mWhat;
  WorkPace mPace;
  std::string mLine;         // as shown
  std::size_t mColumns = 0;  // of the terminal when the line was drawn
};
