#include "archive/kept_index.h"

#include <algorithm>

#include "archive/archive_scan.h"
#include "archive/entry_places.h"
#include "archive/index_collector.h"
#include "archive/typical_step.h"
#include "blocks/stream_records.h"
#include "indexer/headers_file.h"
#include "indexer/plain_file.h"
#include "parser/framing.h"

namespace {

// Each entry has its own record in the archive, and so has each header.
constexpr std::uint64_t kSmallestHeaderSize = kMarkerSize + kShortestHeaderLength + 1;

bool CanBelongTo(const PlainFile& cacheFile, std::uint64_t recordSize, std::uint64_t archiveBytes,
                 std::uint64_t smallestInArchive) {
  return cacheFile.Size() / recordSize <= archiveBytes / smallestInArchive;
}

}  // namespace

std::optional<KeptIndex> KeptIndex::Load(const CacheNames& names, std::uint64_t archiveBytes) {
  PlainFile file;
  if (!file.Open(names.entries, PlainFile::Mode::kRead) ||
      !CanBelongTo(file, sizeof(ZEL_ID3_REC), archiveBytes, kIndexRecordSize)) {
    return std::nullopt;
  }
  KeptIndex index;
  index.mEntries.resize(static_cast<std::size_t>(file.Size() / sizeof(ZEL_ID3_REC)));
  const std::size_t bytes = index.mEntries.size() * sizeof(ZEL_ID3_REC);
  if (bytes == 0 || file.Read(index.mEntries.data(), bytes) < bytes) return std::nullopt;
  index.NoteWhetherTimesAscend();

  PlainFile headersFile;
  if (headersFile.Open(names.headers, PlainFile::Mode::kRead)) {
    if (!CanBelongTo(headersFile, sizeof(FilePosition), archiveBytes, kSmallestHeaderSize))
      return std::nullopt;
    QVector<FilePosition> headers;
    LoadHeaderPositions(headersFile, &headers);
    index.mHeaders.assign(headers.begin(), headers.end());
  }
  return index;
}

std::optional<KeptIndex> KeptIndex::Collect(const std::string& archive) {
  cZel3Indexer indexer;
  indexer.BeginIntake();
  IndexCollector collector(&indexer);
  ScanArchive(archive, collector);
  // An entry is complete when the next one comes.
  indexer.Add_index(IDX_T());
  const sFile_Index_Store& collected = indexer.Current();
  if (collected.id3Records.empty()) return std::nullopt;
  KeptIndex index;
  index.mEntries.assign(collected.id3Records.begin(), collected.id3Records.end());
  index.NoteWhetherTimesAscend();
  index.mHeaders.assign(collected.headerPositions.begin(), collected.headerPositions.end());
  return index;
}

FilePosition KeptIndex::PositionOf(std::size_t entry) const {
  const ZEL_ID3_REC& record = mEntries[entry];
  return FilePosition{record.offsetHigh} << 32 | record.offsetLow;
}

void KeptIndex::NoteWhetherTimesAscend() {
  mTimesAscend = std::is_sorted(
      mEntries.begin(), mEntries.end(),
      [](const ZEL_ID3_REC& one, const ZEL_ID3_REC& other) { return one.time < other.time; });
}

ArchiveTime KeptIndex::PlaceAmongOthers(std::size_t entry) const {
  TimesInARow row;
  row.count = std::min(Count(), row.times.size());
  // Its neighbours come with it.
  const std::size_t first = std::min(entry - std::min<std::size_t>(entry, 1), Count() - row.count);
  for (std::size_t i = 0; i < row.count; ++i) row.times[i] = TimeOf(first + i);
  return PlaceAmong(row, entry - first);
}

unsigned KeptIndex::LevelOf(std::size_t entry, std::uint8_t streamId) const {
  const ZEL_ID3_REC& record = mEntries[entry];
  const int count = std::min(record.activityCount, kMaxActivityPairs);
  for (int i = 0; i < count; ++i) {
    if (record.activity[i].streamId == streamId) return record.activity[i].level & 0x3F;
  }
  return 0;
}

std::optional<FilePosition> KeptIndex::HeaderFor(std::size_t entry) const {
  const auto after = std::lower_bound(mHeaders.begin(), mHeaders.end(), PositionOf(entry));
  if (after == mHeaders.begin()) return std::nullopt;
  return *std::prev(after);
}

IndexedSpan SpanOf(const KeptIndex& index) {
  IndexedSpan span;
  span.entries = index.Count();
  TypicalStep step;
  ArchiveTime before = 0;
  for (std::size_t entry = 0; entry < index.Count(); ++entry) {
    const ArchiveTime place = index.PlaceOf(entry);
    if (entry == 0) {
      span.start = span.end = place;
    } else if (place < before) {
      ++span.backward;
    } else {
      step.Add(place - before);
    }
    if (place != index.TimeOf(entry)) ++span.misplaced;
    span.start = std::min(span.start, place);
    span.end = std::max(span.end, place);
    before = place;
  }
  span.step = step.Get();
  return span;
}
