#pragma once

#include <string>

#include "system/progress.h"

// One line on the standard error that shows how far a piece of work is. Shown on a terminal only,
// and taken back at the end.
class ProgressBar : public Progress {
 public:
  ProgressBar();
  ~ProgressBar() override { Clear(); }
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  void Show(const std::string& what, unsigned percent) override;
  void Clear() override;

 private:
  const bool mOnTerminal;
  bool mShown = false;
  std::string mWhat;
  unsigned mPercent = 0;
};
