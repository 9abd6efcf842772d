#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "system/progress.h"

// What a line about a piece of work says, as far as it is known.
struct ProgressFacts {
  WorkState state;
  std::optional<double> rate;  // in a second
  std::optional<double> left;  // in seconds
};

// One line, never wider than that, as far as there is room:
//   2/12 indexing cam01.zel3 [########............]  37%  85 MB/s  0:12 left
// In a narrower one the name is shortened; then these go, in this order: the rate, the name, the
// bar, the time that is left, the word for the work, the number of the file, the percentage. Where
// it is not known how much work there is, what is done stands for the percentage.
std::string ProgressLine(const ProgressFacts& facts, std::size_t width);
