#pragma once

#include <cstdint>

#include "blocks/units.h"

// How many steps from one entry to the next are not a gap yet. Cameras skip an entry now and then;
// a change of files takes less time than a gap that people care about.
constexpr std::uint64_t kMostStepsInAFile = 4;
constexpr std::uint64_t kMostStepsToTheNextFile = 2;

// Whether a time without an entry is long enough for a gap. `step` is the typical one of the file;
// 0: there is none to compare with.
constexpr bool IsGap(ArchiveTime length, ArchiveTime step, std::uint64_t mostSteps) {
  return step > 0 && length > mostSteps * step;
}
