#pragma once

#include <cstddef>
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

// Measures how active streams were in bins, and how much of each was recorded. REQUIRES:
// Timeline::IndexAll.
class ActivityMeasure {
 public:
  // Borrows the timeline.
  ActivityMeasure(const std::vector<std::uint8_t>& streamIds, const ActivityBins& bins,
                  Timeline* timeline);

  // Adds what one archive says. Throws what Timeline::Open throws.
  void Add(std::size_t number);
  void AddAll();

  // When all have been added.

  // For each of the streams a row of bins. Entries that do not stand at their own time are left
  // out.
  std::vector<std::vector<BinLevels>> Levels() const;
  // How many thousandths of each bin were recorded, rounded down, so that only a bin recorded as a
  // whole has 1000; a bin of which anything was recorded has at least one.
  std::vector<unsigned> RecordedThousandths() const;

 private:
  // What the entries say of one stream in one bin.
  struct Sums {
    unsigned highest = 0;
    std::uint64_t all = 0;
    std::uint32_t entries = 0;  // that begin in the bin
    unsigned lasting = 0;       // the highest level of those that begin before it
  };

  void AddLevels(const OpenedArchive& archive);
  static void AddLevel(unsigned level, bool beginsWithin, std::uint32_t first, std::uint32_t last,
                       std::vector<Sums>* row);

  const std::vector<std::uint8_t> mStreamIds;
  const ActivityBins mBins;
  Timeline& mTimeline;
  RecordedTime mRecorded;
  std::vector<std::vector<Sums>> mSums;  // of each stream
};
