#pragma once

#include <cstdint>

// From how many steps on, from one entry to the next, there is a gap. Cameras skip an entry now and
// then; a change of files takes less time than a gap that people care about.
constexpr std::uint64_t kMostStepsInAFile = 4;
constexpr std::uint64_t kMostStepsToTheNextFile = 2;
