#pragma once

#include <cstddef>
#include <limits>
#include <vector>

#include "blocks/units.h"
#include "client/timeline.h"

// Where bytes of an archive are damaged, entries may be lost, and an answer that rests on two
// entries being neighbours is in doubt; so is what is said of an entry whose time is wrong. These
// functions tell the user, and mark the timeline as not whole. Each place costs a few short reads.
// All throw Failure when the user interrupts.

// How far before its first entry and after its last one damage in an archive may hide others, where
// no other archive sets a limit: a day.
constexpr ArchiveTime kReachOfDoubt = ArchiveTime{24} * 3600 * kArchiveTimePerIndexTime;

// A time about which something is in doubt; `to` is not part of it.
struct DoubtedTime {
  ArchiveTime from = 0;
  ArchiveTime to = 0;
};

constexpr ArchiveTime kNoEndOfDoubt = std::numeric_limits<ArchiveTime>::max();

// Doubts an entry found for a time, where a nearer one may be lost.
void DoubtFound(const FoundEntry& found, ArchiveTime time, Lookup lookup, Timeline* timeline);
// Doubts that an entry is the first from a time on.
void DoubtFirst(const FoundEntry& first, Timeline* timeline);
// Doubts that there is nothing before the first entry, or after the last one.
void DoubtEnds(Timeline* timeline);
// Doubts what was recorded between two times, and what was not: in one archive, or in all of them.
void DoubtRecorded(std::size_t number, ArchiveTime from, ArchiveTime to, Timeline* timeline);
void DoubtRecorded(ArchiveTime from, ArchiveTime to, Timeline* timeline);
// The same for one archive; returns the times in doubt, ascending by entry. Each goes from one unit
// of index time before the end of the entry before the damage to the next entry. Before the first
// entry it begins at 0 and holds one unit of that entry; after the last one it ends at
// kNoEndOfDoubt.
std::vector<DoubtedTime> FindDoubted(std::size_t number, ArchiveTime from, ArchiveTime to,
                                     Timeline* timeline);
// Doubts levels of activity: entries with wrong times do not count.
void DoubtLevels(ArchiveTime from, ArchiveTime to, Timeline* timeline);
