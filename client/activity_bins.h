#pragma once

#include <cstdint>
#include <vector>

#include "blocks/units.h"
#include "client/indexed_source.h"

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

// How active a stream was in each bin, 0-63. Throws what the client throws.
std::vector<std::uint8_t> ActivityLevels(const ActivityBins& bins, std::uint8_t streamId,
                                         ArchiveClient* client);

// Whether anything was recorded in each bin. Throws what the client throws.
std::vector<bool> RecordedBins(const ActivityBins& bins, IndexedSource* source);
