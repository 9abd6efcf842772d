#pragma once

#include <cstdint>
#include <vector>

#include "blocks/units.h"
#include "client/recorded_time.h"
#include "client/timeline.h"

// The first archive time that no index entry can hold.
constexpr ArchiveTime kEndOfTimes = ToArchiveTime(0xFFFFFFFF) + kArchiveTimePerIndexTime;

// A range of time cut into parts of the same width; the last one may be shorter.
struct ActivityBins {
  ArchiveTime from;
  ArchiveTime to;  // not part of the range
  ArchiveTime width;
  std::uint32_t count;  // of the parts

  ArchiveTime Start(std::uint32_t bin) const { return from + bin * width; }
  ArchiveTime End(std::uint32_t bin) const;
};

// At most `mostBins` bins of whole units of time: a short range has fewer of them. REQUIRES: `from`
// is below `to`, `mostBins` is not 0.
ActivityBins CutIntoBins(ArchiveTime from, ArchiveTime to, std::uint32_t mostBins);

// How active a stream was in a bin, by the entries that begin in it; where none does, by the one
// that lasts until then.
struct BinLevels {
  unsigned highest = 0;  // 0-63
  double mean = 0;
};

// For each of the streams a row of bins. Entries that do not stand at their own time are left out.
// REQUIRES: Timeline::IndexAll. Throws what Timeline::Open throws.
std::vector<std::vector<BinLevels>> LevelsOf(const std::vector<std::uint8_t>& streamIds,
                                             const ActivityBins& bins, Timeline* timeline);

// How many thousandths of each bin were recorded, cut off, so that only a whole bin has 1000; one
// of which anything was recorded has at least one. REQUIRES: Timeline::IndexAll. Throws what
// Timeline::Open throws.
std::vector<unsigned> RecordedThousandths(const ActivityBins& bins, Timeline* timeline);
