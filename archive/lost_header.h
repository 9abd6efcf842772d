#pragma once

#include <optional>

#include "archive/archive_headers.h"
#include "blocks/units.h"
#include "indexer/plain_file.h"

// The stream header for entries that stand before the first whole one of their archive.
struct FoundHeader {
  ArchiveHeader header;
  // Where it stands later in the archive; nothing when it is what is left at the start of the file,
  // put together again.
  std::optional<FilePosition> later;
};

// Finds it when index records stand before the first whole header: what is left of the header at
// the start, or else the next whole one. It counts only when it declares the data of the entries up
// to there: for every twenty that hold only data that it declares, no more than one may hold other
// data. Throws Failure when the user interrupts.
std::optional<FoundHeader> FindLostHeader(const PlainFile& file, FilePosition firstIndex,
                                          std::optional<FilePosition> nextHeader);
