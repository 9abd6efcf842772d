#include "client/entry_walk.h"

EntryWalk::End EntryWalk::Visit(ArchiveTime from, ArchiveTime to) {
  std::optional<FoundEntry> before;
  std::optional<FoundEntry> entry = First(from);
  while (entry && entry->time < to) {
    if (before && entry->time <= before->time) return End::kOutOfOrder;
    if (!VisitEntriesOfOneTime(*entry, before)) return End::kStopped;
    before = entry;
    entry = mClient->Find(entry->time, Lookup::kNext);
  }
  return End::kReached;
}

std::optional<FoundEntry> EntryWalk::First(ArchiveTime from) {
  // The reader finds nothing for a time before the archive.
  const std::optional<ArchiveList> list = mClient->List();
  const bool listed = list && !list->archives.empty();
  const ArchiveTime start = listed ? list->archives.front().startTime : 0;
  if (from < start) from = start;

  const std::optional<FoundEntry> holding = mClient->Find(from, Lookup::kAtOrBefore);
  if (!holding || holding->time != from) return holding;
  // Of several entries with this time the reader names the last one; the walk begins with the
  // first.
  if (listed && from == start) return FoundEntry{list->archives.front().fileNumber, 0, from};
  const std::optional<FoundEntry> first =
      from == 0 ? holding : mClient->Find(from - 1, Lookup::kNext);
  return first && first->time == from ? first : holding;
}

bool EntryWalk::VisitEntriesOfOneTime(const FoundEntry& first,
                                      const std::optional<FoundEntry>& before) {
  const FoundEntry last = mClient->Find(first.time, Lookup::kAtOrBefore).value_or(first);
  std::uint32_t next = first.entryNumber;
  if (last.fileNumber != first.fileNumber) {
    // A later file begins at the very time at which this one ends. Asked by that time the reader
    // would read from the later file, so the entry is asked for by the time of the one before.
    const bool sameFile = before && before->fileNumber == first.fileNumber;
    if (!mOnEntry(first.fileNumber, first.entryNumber, sameFile ? before->time : first.time))
      return false;
    next = 0;
  }
  for (; next < last.entryNumber; ++next) {
    if (!mOnEntry(last.fileNumber, next, first.time)) return false;
  }
  return mOnEntry(last.fileNumber, last.entryNumber, first.time);
}
