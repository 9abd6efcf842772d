#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "blocks/units.h"
#include "checkup/archive_checkup.h"

struct ReportFile {
  ArchiveFacts facts;
  bool indexed = false;

  bool HoldsEntries() const { return facts.entries > 0; }
};

enum class BinState { kRecorded, kMissing, kNotIndexed };

// When a stream is in the files: a file may lack a stream that others have. All times are archive
// times.
class StreamPlaces {
 public:
  // `files` are sorted by start time, those without entries last.
  StreamPlaces(const std::vector<ReportFile>& files, std::uint8_t id);

  // The state of the stream from `from` up to `to`. `recorded`: the reader has something of any
  // stream there.
  BinState StateOf(ArchiveTime from, ArchiveTime to, bool recorded) const;

 private:
  // The first and last time of each stretch; sorted and disjoint once joined.
  using Stretches = std::vector<std::pair<ArchiveTime, ArchiveTime>>;

  static Stretches Joined(Stretches stretches);
  static bool Meet(const Stretches& stretches, ArchiveTime from, ArchiveTime to);

  Stretches mIndexed;
  Stretches mNotIndexed;
};
