#include "zel3_indexer.h"

namespace {

std::uint64_t EntryTime(const sFile_Index_Store& store, int number) {
  return ArchiveTime(store.id3Records.at(number).time);
}

// The first entry number i with t(i - 1) <= time < t(i); 0 when there is none. Entry 0 opens no
// interval.
int IntervalOf(const sFile_Index_Store& store, std::uint64_t time) {
  const int count = store.id3Records.size();
  for (int i = 1; i < count; ++i) {
    if (EntryTime(store, i - 1) <= time && time < EntryTime(store, i)) return i;
  }
  return 0;
}

}  // namespace

bool cZel3Indexer::IndexInfoFromTime(std::uint64_t time, std::uint32_t type, bool forward,
                                     TZEL3ChunkInfo* info) {
  info->indexId = kNoIndexId;
  info->time = 0;
  if (type != kAtOrBefore && type != kNeighbour) return false;

  Entry entry = {};
  bool found = false;
  bool contained = false;
  // Of overlapping files the later one wins. A file without entries holds no time.
  for (std::size_t file = files.size(); file-- > 0 && !contained;) {
    const sFile_Index_Store& store = files[file];
    contained = ArchiveTime(store.startTime) <= time && time <= ArchiveTime(store.endTime) &&
                !store.id3Records.isEmpty();
    if (contained) found = EntryInStore(file, time, type, forward, &entry);
  }
  if (!contained) found = EntryInGap(time, type, forward, &entry);
  if (!found) return false;

  const sFile_Index_Store& store = files[entry.file];
  fileToIndex = store.partial ? store.fileName : QString();
  info->indexId = MakeIndexId(entry.file, entry.number);
  info->time = entry.time;
  return true;
}

bool cZel3Indexer::EntryInStore(std::size_t file, std::uint64_t time, std::uint32_t type,
                                bool forward, Entry* entry) const {
  const sFile_Index_Store& store = files[file];
  const auto fileNumber = static_cast<std::uint32_t>(file);
  const auto take = [&](int number, int timeOf) {
    *entry = Entry{fileNumber, static_cast<std::uint32_t>(number), EntryTime(store, timeOf)};
    return true;
  };
  const int last = store.id3Records.size() - 1;
  const int interval = IntervalOf(store, time);
  const bool behindLast = interval == 0 && time >= EntryTime(store, last);

  if (type == kAtOrBefore) {
    if (interval > 0) return take(interval - 1, interval - 1);
    return behindLast && take(last, last);
  }
  if (forward) return interval > 0 ? take(interval, interval) : FirstEntryFrom(file + 1, entry);
  if (interval >= 2) return take(interval - 2, interval - 2);
  if (interval == 1) return LastEntryBefore(file, entry);
  // In a file of one entry this names the entry before the first, with the time of the first.
  return behindLast && take(last - 1, last > 0 ? last - 1 : 0);
}

bool cZel3Indexer::EntryInGap(std::uint64_t time, std::uint32_t type, bool forward,
                              Entry* entry) const {
  if (time > ArchiveTime(lastTime) || time < ArchiveTime(firstTime)) return false;
  if (type == kAtOrBefore || forward) {
    for (std::size_t file = 0; file < files.size(); ++file) {
      if (time <= ArchiveTime(files[file].startTime) && !files[file].id3Records.isEmpty()) {
        return FirstEntryFrom(file, entry);
      }
    }
    return false;
  }
  // Backward, the first file that ends before the time wins, and its first entry is named with the
  // time of its last one: clients rely on this pairing.
  for (std::size_t file = 0; file < files.size(); ++file) {
    const sFile_Index_Store& store = files[file];
    if (ArchiveTime(store.endTime) > time || store.id3Records.isEmpty()) continue;
    *entry =
        Entry{static_cast<std::uint32_t>(file), 0, EntryTime(store, store.id3Records.size() - 1)};
    return true;
  }
  return false;
}

bool cZel3Indexer::FirstEntryFrom(std::size_t file, Entry* entry) const {
  for (; file < files.size(); ++file) {
    if (files[file].id3Records.isEmpty()) continue;
    *entry = Entry{static_cast<std::uint32_t>(file), 0, EntryTime(files[file], 0)};
    return true;
  }
  return false;
}

bool cZel3Indexer::LastEntryBefore(std::size_t file, Entry* entry) const {
  while (file-- > 0) {
    const int count = files[file].id3Records.size();
    if (count == 0) continue;
    *entry = Entry{static_cast<std::uint32_t>(file), static_cast<std::uint32_t>(count - 1),
                   EntryTime(files[file], count - 1)};
    return true;
  }
  return false;
}

const ZEL_ID3_REC* cZel3Indexer::EntryRecord(std::uint64_t indexId) const {
  const std::uint32_t file = FileNumber(indexId);
  const std::uint32_t number = EntryNumber(indexId);
  if (file >= files.size()) return nullptr;
  const QVector<ZEL_ID3_REC>& records = files[file].id3Records;
  if (number >= static_cast<std::uint32_t>(records.size())) return nullptr;
  return &records.at(static_cast<int>(number));
}

bool cZel3Indexer::Index_pos_from_IndexId(std::uint64_t indexId, std::uint64_t* start,
                                          std::uint64_t* end) const {
  const ZEL_ID3_REC* const record = EntryRecord(indexId);
  if (record == nullptr || end == nullptr) return false;
  *start = record->offsetLow;
  *end = Get_read_size(FileNumber(indexId), start);
  return true;
}

std::uint64_t cZel3Indexer::Header_pos_for_index(std::uint64_t indexId) const {
  const ZEL_ID3_REC* const record = EntryRecord(indexId);
  if (record == nullptr) return 0;
  const QVector<quint64>& positions = files[FileNumber(indexId)].headerPositions;
  for (int i = positions.size(); i-- > 0;) {
    if (positions.at(i) < record->offsetLow) return positions.at(i);
  }
  return 0;
}

std::uint64_t cZel3Indexer::Get_read_size(std::uint32_t fileNumber, std::uint64_t* pos) const {
  if (fileNumber < files.size()) {
    const std::vector<std::uint64_t>& cuts = files[fileNumber].blockPositions;
    for (std::size_t i = 1; i < cuts.size(); ++i) {
      if (cuts[i - 1] <= *pos && *pos < cuts[i]) {
        *pos = cuts[i - 1];
        return cuts[i];
      }
    }
  }
  *pos = 0;
  return 0;
}
