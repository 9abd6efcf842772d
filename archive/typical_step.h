#pragma once

#include <cstddef>
#include <vector>

#include "blocks/units.h"

// How long entries last: the median of the first steps of an archive from one entry to a later one,
// so that neither a gap at its start nor a wrong time counts.
class TypicalStep {
 public:
  // The next step; nothing for entries of the same time.
  void Add(ArchiveTime step);
  // What follows does not change it any more.
  bool IsSettled() const { return mSteps.size() == kMost; }
  // 0 without any.
  ArchiveTime Get() const;

 private:
  static constexpr std::size_t kMost = 9;

  std::vector<ArchiveTime> mSteps;  // ascending
};
