#pragma once

#include <algorithm>

#include "blocks/units.h"

// The time range of a file, from its index times as they are met one after the other.
struct TimeRange {
  TimeRange() = default;
  // The first time.
  explicit TimeRange(IndexTime time) : startTime(time), lastIndexTime(time) {}

  // The next time.
  void Add(IndexTime time) {
    if (time > lastIndexTime) {
      minIndexStep = std::min(minIndexStep, time - lastIndexTime);
      lastIndexTime = time;
    } else if (time < startTime) {
      minIndexStep = std::min(minIndexStep, startTime - time);
      startTime = time;
    }
  }

  // The file lasts a little longer than to its last index time.
  IndexTime EndTime() const { return lastIndexTime + std::max(minIndexStep, kShortestStep); }

  static constexpr IndexTime kLongestStep = 6;
  static constexpr IndexTime kShortestStep = 3;

  IndexTime startTime = 0;
  IndexTime lastIndexTime = 0;
  IndexTime minIndexStep = kLongestStep;  // by which the range has grown
};
