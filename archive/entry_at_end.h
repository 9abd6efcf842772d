#pragma once

#include <optional>
#include <vector>

#include "archive/file_scan.h"
#include "blocks/units.h"
#include "indexer/plain_file.h"

// Where following an archive may begin: at an entry, with the header in force. Where the file has
// no entry, the beginning of the file.
struct EntryStart {
  FilePosition position = 0;          // of the index record
  std::vector<unsigned char> header;  // the record; empty: there is none
  FilePosition headerPosition = 0;
  // The earliest and the latest time of the entries before `end`.
  std::optional<ArchiveTime> earliest;
  std::optional<ArchiveTime> latest;
};

// The last entry that begins before the position `end`; with `time`, the last such entry at that
// time or before it, or the first one when there is none. Reads the file up to `end`. Throws
// Failure when the user interrupts.
EntryStart LastEntry(
    const PlainFile& file, FilePosition end, std::optional<ArchiveTime> time = std::nullopt,
    const OnBytesRead& onBytesRead = [](std::uint64_t) {});
