#pragma once

#include <cstddef>
#include <vector>

#include "blocks/units.h"
#include "client/served_archive.h"
#include "client/timeline.h"

// When something was recorded: a quiet camera and a missing recording look the same in activity
// levels.

// When an entry ends: when the next one of its archive begins. Before a gap, before a clock was set
// back and at the end of the archive it lasts as long as entries typically do, or one unit of
// index time where that is not known.
ArchiveTime EndOfEntry(const OpenedArchive& archive, std::size_t entry);

// A time in which something was recorded all along; `to` is not part of it.
struct RecordedStretch {
  ArchiveTime from = 0;
  ArchiveTime to = 0;
  // The numbers of the archives that it begins and ends in.
  std::size_t firstArchive = 0;
  std::size_t lastArchive = 0;
};

// What the archives of a timeline recorded between two times. A change of archives that takes no
// more than two steps is not a gap. REQUIRES: Timeline::IndexAll.
class RecordedTime {
 public:
  // Borrows the timeline.
  RecordedTime(ArchiveTime from, ArchiveTime to, Timeline* timeline);

  // Adds what one archive recorded. Throws what Timeline::Open throws.
  void Add(std::size_t number);

  // When all have been added: ascending and apart.
  std::vector<RecordedStretch> Stretches() const;

 private:
  bool MayReach(const ServedArchive& archive) const;

  const ArchiveTime mFrom;
  const ArchiveTime mTo;
  Timeline& mTimeline;
  std::vector<RecordedStretch> mStretches;
};
