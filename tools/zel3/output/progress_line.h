#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "system/progress.h"

// What a line about a piece of work says, as far as it is known.
struct ProgressFacts {
  WorkState state;
  std::optional<double> rate;  // per second
  std::optional<double> left;  // in seconds
};

// One line, never wider than `width`, with as much as there is room for:
//   2/12 indexing cam01.zel3 [########............]  37%  85 MB/s  0:12 left
// When there is less room, the name is shortened first, and then parts are left out in this order:
// the rate, the name, the bar, the time left, the word for the work, the number of the file, the
// percentage. Where it is not known how much work there is, the amount done replaces the
// percentage.
std::string ProgressLine(const ProgressFacts& facts, std::size_t width);
