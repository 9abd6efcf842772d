#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "blocks/units.h"
#include "client/timeline.h"

// A time in which nothing was recorded; `to` is not part of it.
struct MissingStretch {
  ArchiveTime from = 0;
  ArchiveTime to = 0;
  // The numbers of the archives in which recording ends before it and goes on after it: one and the
  // same where the gap lies in a file. None: nothing was recorded before it, or after it.
  std::optional<std::size_t> before;
  std::optional<std::size_t> after;

  ArchiveTime Length() const { return to - from; }
};

// What is missing between two times.
struct MissingTime {
  ArchiveTime from = 0;
  ArchiveTime to = 0;                // not part of the range
  ArchiveTime recorded = 0;          // how much of the range
  std::vector<MissingStretch> gaps;  // ascending

  ArchiveTime Longest() const;  // 0 without a gap
};

// What the archives of a timeline have not recorded in a range; by default the range goes from the
// first entry to the end of the last one. Tells the user where damage may hide entries, as
// DoubtRecorded does. Nothing when an end is open and nothing is recorded that could set it. Throws
// what Timeline::Open throws. REQUIRES: Timeline::IndexAll.
std::optional<MissingTime> FindMissingTime(std::optional<ArchiveTime> from,
                                           std::optional<ArchiveTime> to, Timeline* timeline);
