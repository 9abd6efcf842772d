#pragma once

#include <cstddef>
#include <vector>

#include "blocks/units.h"

// How long entries last: the median of an archive's first steps from one entry to a later one, so
// that neither a gap at its start nor a wrong time counts.
class TypicalStep {
 public:
  // The next step. A step of 0, between entries of the same time, does not count.
  void Add(ArchiveTime step);
  // Further steps no longer change it.
  bool IsSettled() const { return mSteps.size() == kMost; }
  // 0 without any.
  ArchiveTime Get() const;

 private:
  static constexpr std::size_t kMost = 9;

  std::vector<ArchiveTime> mSteps;  // ascending
};
