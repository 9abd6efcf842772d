#include <algorithm>

#include "indexer/zel3_indexer.h"

namespace {

std::uint64_t EntryTime(const sFile_Index_Store& store, int number) {
  return ToArchiveTime(store.id3Records.at(number).time);
}

// The first entry number i with t(i - 1) <= time < t(i); 0 when there is none. Entry 0 opens no
// interval.
int IntervalOf(const sFile_Index_Store& store, ArchiveTime time) {
  const int count = store.id3Records.size();
  if (store.entriesAscend) {
    // The first entry behind the time is the one that follows it.
    const ZEL_ID3_REC* const first = store.id3Records.constData();
    const auto isBefore = [](std::uint64_t indexTime, const ZEL_ID3_REC& record) {
      return indexTime < record.time;
    };
    const ZEL_ID3_REC* const behind =
        std::upper_bound(first, first + count, time / kArchiveTimePerIndexTime, isBefore);
    return behind == first + count ? 0 : static_cast<int>(behind - first);
  }
  for (int i = 1; i < count; ++i) {
    if (EntryTime(store, i - 1) <= time && time < EntryTime(store, i)) return i;
  }
  return 0;
}

// The first cut that ends a stretch which holds the position; null when there is none.
const quint64* EndOfStretch(const sFile_Index_Store& store, FilePosition position) {
  const quint64* const first = store.blockPositions.constData();
  const quint64* const end = first + store.blockPositions.size();
  if (store.cutsAscend) {
    const quint64* const behind = std::upper_bound(first, end, position);
    return behind == first || behind == end ? nullptr : behind;
  }
  for (const quint64* cut = first; cut != end; ++cut) {
    if (cut != first && cut[-1] <= position && position < *cut) return cut;
  }
  return nullptr;
}

}  // namespace

bool cZel3Indexer::IndexInfoFromTime(ArchiveTime time, std::uint32_t type, bool forward,
                                     TZEL3ChunkInfo* info) {
  info->indexId = kNoIndexId;
  info->time = 0;
  if (type != kAtOrBefore && type != kNeighbour) return false;

  Entry entry = {};
  std::size_t file = 0;
  const bool found = FileAt(time, &file) ? EntryInStore(file, time, type, forward, &entry)
                                         : EntryInGap(time, type, forward, &entry);
  if (!found) return false;

  const sFile_Index_Store& store = files[entry.file];
  fileToIndex = store.partial ? store.fileName : QString();
  info->indexId = MakeIndexId(entry.file, entry.number);
  info->time = entry.time;
  return true;
}

// Of overlapping files the later one wins. A file without entries holds no time.
bool cZel3Indexer::FileAt(ArchiveTime time, std::size_t* file) {
  const std::vector<FileSpan>& all = Spans();
  auto span = all.end();
  if (spansAscend) {
    span = std::upper_bound(all.begin(), span, time, [](std::uint64_t at, const FileSpan& other) {
      return at < ToArchiveTime(other.startTime);
    });
  }
  while (span != all.begin()) {
    --span;
    if (ToArchiveTime(span->latestEnd) < time) return false;
    if (ToArchiveTime(span->startTime) <= time && time <= ToArchiveTime(span->endTime)) {
      *file = span->file;
      return true;
    }
  }
  return false;
}

const std::vector<cZel3Indexer::FileSpan>& cZel3Indexer::Spans() {
  if (spansValid) return spans;
  spans.clear();
  spansAscend = true;
  IndexTime latestEnd = 0;
  for (std::size_t file = 0; file < files.size(); ++file) {
    const sFile_Index_Store& store = files[file];
    if (store.id3Records.isEmpty()) continue;
    spansAscend = spansAscend && (spans.empty() || spans.back().startTime <= store.startTime);
    latestEnd = std::max(latestEnd, store.endTime);
    spans.push_back({store.startTime, store.endTime, latestEnd, static_cast<std::uint32_t>(file)});
  }
  spansValid = true;
  return spans;
}

bool cZel3Indexer::EntryInStore(std::size_t file, ArchiveTime time, std::uint32_t type,
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

bool cZel3Indexer::EntryInGap(ArchiveTime time, std::uint32_t type, bool forward, Entry* entry) {
  if (time > ToArchiveTime(lastTime) || time < ToArchiveTime(firstTime)) return false;
  const std::vector<FileSpan>& all = Spans();
  if (type == kAtOrBefore || forward) {
    const auto startsBefore = [time](const FileSpan& span) {
      return ToArchiveTime(span.startTime) < time;
    };
    const auto next = spansAscend ? std::partition_point(all.begin(), all.end(), startsBefore)
                                  : std::find_if_not(all.begin(), all.end(), startsBefore);
    return next != all.end() && FirstEntryFrom(next->file, entry);
  }
  // Backward, the first file that ends before the time wins, and its first entry is named with the
  // time of its last one: clients rely on this pairing.
  const auto ended = std::find_if(all.begin(), all.end(), [time](const FileSpan& span) {
    return ToArchiveTime(span.endTime) <= time;
  });
  if (ended == all.end()) return false;
  const sFile_Index_Store& store = files[ended->file];
  *entry = Entry{ended->file, 0, EntryTime(store, store.id3Records.size() - 1)};
  return true;
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

const ZEL_ID3_REC* cZel3Indexer::EntryRecord(IndexId indexId) const {
  const std::uint32_t file = FileNumber(indexId);
  const std::uint32_t number = EntryNumber(indexId);
  if (file >= files.size()) return nullptr;
  const QVector<ZEL_ID3_REC>& records = files[file].id3Records;
  if (number >= static_cast<std::uint32_t>(records.size())) return nullptr;
  return &records.at(static_cast<int>(number));
}

bool cZel3Indexer::Index_pos_from_IndexId(IndexId indexId, std::uint64_t* start,
                                          std::uint64_t* end) const {
  const ZEL_ID3_REC* const record = EntryRecord(indexId);
  if (record == nullptr || end == nullptr) return false;
  *start = record->offsetLow;
  *end = Get_read_size(FileNumber(indexId), start);
  return true;
}

std::uint64_t cZel3Indexer::Header_pos_for_index(IndexId indexId) const {
  const ZEL_ID3_REC* const record = EntryRecord(indexId);
  if (record == nullptr) return 0;
  const sFile_Index_Store& store = files[FileNumber(indexId)];
  const QVector<quint64>& positions = store.headerPositions;
  if (store.headersAscend) {
    const auto behind = std::lower_bound(positions.begin(), positions.end(), record->offsetLow);
    return behind == positions.begin() ? 0 : *(behind - 1);
  }
  for (int i = positions.size(); i-- > 0;) {
    if (positions.at(i) < record->offsetLow) return positions.at(i);
  }
  return 0;
}

std::uint64_t cZel3Indexer::Get_read_size(std::uint32_t fileNumber, std::uint64_t* pos) const {
  const quint64* const cut =
      fileNumber < files.size() ? EndOfStretch(files[fileNumber], *pos) : nullptr;
  *pos = cut == nullptr ? 0 : cut[-1];
  return cut == nullptr ? 0 : *cut;
}
