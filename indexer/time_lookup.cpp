#include <algorithm>

#include "indexer/file_cuts.h"
#include "indexer/zel3_indexer.h"

namespace {

using Stores = StoreList::Stores;

// An entry as an answer names it, or none: the time may be that of another one.
struct Entry {
  IndexId indexId = kNoIndexId;
  ArchiveTime time = 0;
};

constexpr Entry kNoEntry;

ArchiveTime EntryTime(const FiledStore& store, int entryNumber) {
  return ToArchiveTime(store.id3Records.at(entryNumber).time);
}

// The first entry number i with t(i - 1) <= time < t(i); 0 when there is none. Entry 0 opens no
// interval. REQUIRES: the file lasts until the time or longer.
int IntervalOf(const FiledStore& store, ArchiveTime time) {
  const int count = store.id3Records.size();
  if (store.order.entriesAscend) {
    // The first entry after the time is the one that follows it.
    const ZEL_ID3_REC* const first = store.id3Records.constData();
    const auto isBefore = [](IndexTime indexTime, const ZEL_ID3_REC& record) {
      return indexTime < record.time;
    };
    const auto indexTime = static_cast<IndexTime>(time / kArchiveTimePerIndexTime);
    const ZEL_ID3_REC* const after = std::upper_bound(first, first + count, indexTime, isBefore);
    return after == first + count ? 0 : static_cast<int>(after - first);
  }
  for (int i = 1; i < count; ++i) {
    if (EntryTime(store, i - 1) <= time && time < EntryTime(store, i)) return i;
  }
  return 0;
}

// The first entry of the files from `fileNumber` on.
Entry FirstEntryFrom(const Stores& files, std::uint32_t fileNumber) {
  for (; fileNumber < files.size(); ++fileNumber) {
    if (files[fileNumber].id3Records.isEmpty()) continue;
    return {MakeIndexId(fileNumber, 0), EntryTime(files[fileNumber], 0)};
  }
  return kNoEntry;
}

// The last entry of the files before `fileNumber`.
Entry LastEntryBefore(const Stores& files, std::uint32_t fileNumber) {
  while (fileNumber-- > 0) {
    const int count = files[fileNumber].id3Records.size();
    if (count == 0) continue;
    return {MakeIndexId(fileNumber, static_cast<std::uint32_t>(count - 1)),
            EntryTime(files[fileNumber], count - 1)};
  }
  return kNoEntry;
}

// REQUIRES: the file has entries.
Entry EntryInFile(const Stores& files, std::uint32_t fileNumber, ArchiveTime time,
                  std::uint32_t type, bool forward) {
  const FiledStore& store = files[fileNumber];
  const auto entry = [&](int entryNumber, int timeOf) {
    return Entry{MakeIndexId(fileNumber, static_cast<std::uint32_t>(entryNumber)),
                 EntryTime(store, timeOf)};
  };
  const int last = store.id3Records.size() - 1;
  const int interval = IntervalOf(store, time);
  const bool afterLast = interval == 0 && time >= EntryTime(store, last);

  if (type == kAtOrBefore) {
    if (interval > 0) return entry(interval - 1, interval - 1);
    return afterLast ? entry(last, last) : kNoEntry;
  }
  if (forward)
    return interval > 0 ? entry(interval, interval) : FirstEntryFrom(files, fileNumber + 1);
  if (interval >= 2) return entry(interval - 2, interval - 2);
  if (interval == 1) return LastEntryBefore(files, fileNumber);
  // In a file of one entry this names the entry before the first, with the time of the first.
  return afterLast ? entry(last - 1, last > 0 ? last - 1 : 0) : kNoEntry;
}

Entry EntryInGap(const StoreList& stores, ArchiveTime time, std::uint32_t type, bool forward) {
  if (time > ToArchiveTime(stores.LastTime()) || time < ToArchiveTime(stores.FirstTime()))
    return kNoEntry;
  if (type == kAtOrBefore || forward) {
    const auto next = stores.Spans().FirstFrom(time);
    return next ? FirstEntryFrom(stores.Files(), *next) : kNoEntry;
  }
  // Backward, the first file that ends before the time wins, and its first entry is named with the
  // time of its last one: clients rely on this pairing.
  const auto ended = stores.Spans().FirstEndedBy(time);
  if (!ended) return kNoEntry;
  const FiledStore& store = stores.Files()[*ended];
  return {MakeIndexId(*ended, 0), EntryTime(store, store.id3Records.size() - 1)};
}

// Null when there is no such entry.
const ZEL_ID3_REC* EntryRecord(const Stores& files, IndexId indexId) {
  const std::uint32_t fileNumber = FileNumber(indexId);
  const std::uint32_t entryNumber = EntryNumber(indexId);
  if (fileNumber >= files.size()) return nullptr;
  const QVector<ZEL_ID3_REC>& records = files[fileNumber].id3Records;
  if (entryNumber >= static_cast<std::uint32_t>(records.size())) return nullptr;
  return &records.at(static_cast<int>(entryNumber));
}

}  // namespace

bool cZel3Indexer::IndexInfoFromTime(ArchiveTime time, std::uint32_t type, bool forward,
                                     TZEL3ChunkInfo* info) {
  Entry entry;
  if (type == kAtOrBefore || type == kNeighbour) {
    const auto fileNumber = stores.Spans().FileAt(time);
    entry = fileNumber ? EntryInFile(Files(), *fileNumber, time, type, forward)
                       : EntryInGap(stores, time, type, forward);
  }
  info->indexId = entry.indexId;
  info->time = entry.time;
  if (entry.indexId == kNoIndexId) return false;

  const FiledStore& store = Files()[FileNumber(entry.indexId)];
  fileToIndex = store.partial ? store.fileName : QString();
  return true;
}

bool cZel3Indexer::Index_pos_from_IndexId(IndexId indexId, FilePosition* start,
                                          FilePosition* end) const {
  const ZEL_ID3_REC* const record = EntryRecord(Files(), indexId);
  if (record == nullptr || end == nullptr) return false;
  *start = record->offsetLow;
  *end = Get_read_size(FileNumber(indexId), start);
  return true;
}

FilePosition cZel3Indexer::Header_pos_for_index(IndexId indexId) const {
  const ZEL_ID3_REC* const record = EntryRecord(Files(), indexId);
  if (record == nullptr) return 0;
  const FiledStore& store = Files()[FileNumber(indexId)];
  const QVector<FilePosition>& positions = store.headerPositions;
  if (store.order.headersAscend) {
    const auto after = std::lower_bound(positions.begin(), positions.end(), record->offsetLow);
    return after == positions.begin() ? 0 : *(after - 1);
  }
  for (int i = positions.size(); i-- > 0;) {
    if (positions.at(i) < record->offsetLow) return positions.at(i);
  }
  return 0;
}

FilePosition cZel3Indexer::Get_read_size(std::uint32_t fileNumber, FilePosition* pos) const {
  FileStretch stretch;
  if (fileNumber < Files().size()) {
    const FiledStore& store = Files()[fileNumber];
    stretch = StretchAt(store, store.order.cutsAscend, *pos);
  }
  *pos = stretch.start;
  return stretch.end;
}
