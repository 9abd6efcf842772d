#include "output/progress_bar.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>

#include "text/shown_text.h"

namespace {

constexpr unsigned kCells = 40;
constexpr char kEraseLine[] = "\r\x1b[K";

}  // namespace

ProgressBar::ProgressBar() : mOnTerminal(isatty(STDERR_FILENO) == 1) {}

void ProgressBar::Show(const std::string& what, unsigned percent) {
  if (!mOnTerminal) return;
  const unsigned shown = std::min(percent, 100U);
  if (mShown && what == mWhat && shown == mPercent) return;
  mWhat = what;
  mPercent = shown;
  const unsigned filled = kCells * shown / 100;
  fmt::print(stderr, "{}{} [{}{}] {:3}%", kEraseLine, Escaped(what), std::string(filled, '#'),
             std::string(kCells - filled, '.'), shown);
  mShown = true;
}

void ProgressBar::Clear() {
  if (mShown) fmt::print(stderr, "{}", kEraseLine);
  mShown = false;
}
