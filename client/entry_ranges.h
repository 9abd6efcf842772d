#pragma once

#include <cstddef>
#include <vector>

#include "blocks/units.h"
#include "client/served_archive.h"

// Entries of one archive that follow each other by number, up to `end`, which is not one of them.
struct EntryRange {
  std::size_t first = 0;
  std::size_t end = 0;
};

// The entries of an archive that belong to the time from `from` up to `to`, by their places: those
// that stand there, and one that begins earlier but lasts until then. An entry lasts until the next
// one, or as long as entries typically do where a gap follows. Ranges ascend by number; there is at
// most one, except where a clock was set back.
std::vector<EntryRange> EntriesWithin(const OpenedArchive& archive, ArchiveTime from,
                                      ArchiveTime to);
