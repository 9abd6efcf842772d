#pragma once

#include <chrono>
#include <cstddef>
#include <string>

#include "output/work_pace.h"
#include "system/progress.h"

// One line on the standard error that shows how far a piece of work is. Shown on a terminal only,
// while the program is in its foreground, when the work takes a while; as wide as the terminal is
// at that moment, and taken back at the end. There is one at a time that shows something.
class ProgressBar : public Progress {
 public:
  ProgressBar();
  ~ProgressBar() override { Clear(); }
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  void Show(const WorkState& state) override;
  void Clear() override;

  // Takes back the line that is shown, if one is, so that something else can be written; it comes
  // back when the work goes on.
  static void MakeRoom();

 private:
  using Clock = std::chrono::steady_clock;

  void Draw(const WorkState& state);
  void Erase();

  const bool mOnTerminal;
  const Clock::duration mDelay;
  bool mIsAtWork = false;
  Clock::time_point mStart;
  Clock::time_point mDrawn;
  std::string mWhat;
  WorkPace mPace;
  std::string mLine;         // that is shown
  std::size_t mColumns = 0;  // of the terminal when it was drawn
};
