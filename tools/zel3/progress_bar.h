#pragma once

#include <string>

// One line on the standard error that shows how far a piece of work is. Shown on a terminal only,
// and taken back at the end.
class ProgressBar {
 public:
  ProgressBar();
  ~ProgressBar() { Clear(); }
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  // `what` must be fit for a terminal. A percent above 100 is shown as 100.
  void Show(const std::string& what, unsigned percent);
  void Clear();

 private:
  const bool mOnTerminal;
  bool mShown = false;
  std::string mWhat;
  unsigned mPercent = 0;
};
