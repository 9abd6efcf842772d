#pragma once

#include <optional>

#include "blocks/units.h"
#include "indexer/plain_file.h"

// What a parser finds in an archive from one place on.
struct FollowedFraming {
  // The first index record from that place on; nothing when there is none.
  std::optional<FilePosition> index;
  // Otherwise: where the last whole record ends, and whether all bytes up to there make sense. A
  // record cut off by the end comes after that.
  FilePosition wholeUpTo = 0;
  bool isDamaged = false;
};

// Follows the framing from the record at `from` up to `end`, by the header at `header`; without
// one, no data is known. Only the heads of records are read; where the place is lost, all bytes up
// to the next marker are. Throws Failure when the user interrupts.
FollowedFraming FollowFraming(const PlainFile& file, FilePosition from, FilePosition end,
                              std::optional<FilePosition> header);

// Whether bytes from `from` up to `end` look like the start of a header or an index record.
bool HoldsMarker(const PlainFile& file, FilePosition from, FilePosition end);
