#pragma once

#include <cstdint>

#include "blocks/units.h"

// How many steps from one entry to the next are not yet a gap. Cameras skip an entry now and then;
// a change of files takes less time than a gap that people care about.
constexpr std::uint64_t kMostStepsInAFile = 4;
constexpr std::uint64_t kMostStepsToTheNextFile = 2;

// How long an entry lasts when no other follows soon. `step` is the typical one of the file. It is
// 0 when a single entry does not tell it; that one counts for one unit of index time.
constexpr ArchiveTime LastingOf(ArchiveTime step) {
  return step > 0 ? step : kArchiveTimePerIndexTime;
}

// Whether a time without an entry is long enough for a gap.
constexpr bool IsGap(ArchiveTime length, ArchiveTime step, std::uint64_t mostSteps) {
  return length > mostSteps * LastingOf(step);
}
