#include "client/entry_ranges.h"

#include "client/recorded_time.h"

std::vector<EntryRange> EntriesWithin(const OpenedArchive& archive, ArchiveTime from,
                                      ArchiveTime to) {
  std::vector<EntryRange> ranges;
  for (std::size_t entry = 0; entry < archive.Index().Count(); ++entry) {
    const ArchiveTime place = archive.Index().PlaceOf(entry);
    if (place >= to || (place < from && EndOfEntry(archive, entry) <= from)) continue;
    if (ranges.empty() || ranges.back().end != entry) ranges.push_back({entry, entry});
    ranges.back().end = entry + 1;
  }
  return ranges;
}
