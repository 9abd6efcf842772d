#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

#include "blocks/commands.h"
#include "blocks/units.h"

// What a request for activity asks for. All arithmetic is unsigned and 64 bits wide, and may wrap;
// a range that ends before it begins is a huge one.
struct ActivityRange {
  explicit ActivityRange(const TZEL3ActivityRequest& request)
      : from(request.from),
        to(request.to),
        binCount(static_cast<std::uint64_t>(request.binCount)),
        streamId(request.streamId) {}

  std::uint64_t Span() const { return to - from; }
  // Whether no bin is longer than a unit of index time.
  bool IsFine() const { return to <= from + binCount * kArchiveTimePerIndexTime; }

  // The bin that a time lies in. REQUIRES: Span() is not 0.
  std::uint32_t BinAt(ArchiveTime time) const {
    return static_cast<std::uint32_t>(std::min(binCount * (time - from) / Span(), binCount - 1));
  }

  // Whether BinAt never wraps for times from the start of the range to the end of any entry in it.
  bool FitsIn64Bits() const {
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
    constexpr std::uint64_t kLongest =
        ToArchiveTime(std::numeric_limits<IndexTime>::max()) + kArchiveTimePerIndexTime;
    const std::uint64_t furthest = kMost / binCount;
    return from < to && furthest > kLongest && Span() <= furthest - kLongest;
  }

  ArchiveTime from;
  ArchiveTime to;
  std::uint64_t binCount;
  std::int32_t streamId;
};
