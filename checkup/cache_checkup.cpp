#include "checkup/cache_checkup.h"

#include <fmt/format.h>

#include <QFile>
#include <QFileInfo>
#include <cstring>
#include <limits>

#include "blocks/byte_cursor.h"
#include "indexer/file_index_store.h"
#include "sources/archive_source.h"

namespace {

// What is read at once.
constexpr std::size_t kRecordsInPortion = 4096;

constexpr char kUnreadable[] = "is no file that can be read";

std::string FileName(const QString& path) {
  return archive_source::FileName(QFile::encodeName(path).constData());
}

struct EventCount {
  std::uint64_t events = 0;
  bool whole = true;
};

FilePosition PositionOf(const ZEL_ID3_REC& record) {
  return FilePosition{record.offsetHigh} << 32 | record.offsetLow;
}

FilePosition PositionOf(FilePosition header) {
  return header;
}

// How many events an .evt file holds, as far as it can be read.
EventCount CountEvents(PlainFile& file) {
  // A reader reads no larger one.
  if (file.Size() >= std::numeric_limits<int>::max()) return {0, false};
  std::vector<char> bytes(static_cast<std::size_t>(file.Size()));
  bytes.resize(file.Read(bytes.data(), bytes.size()));
  ByteCursor cursor(bytes.data(), bytes.size());
  EventCount count;
  while (cursor.Left() > 0) {
    std::uint8_t inGroup = 0;
    count.whole = cursor.Skip(2 * sizeof(std::uint32_t)) && cursor.Read(&inGroup) && inGroup > 0;
    for (int i = 0; i < inGroup && count.whole; ++i) {
      count.whole = cursor.Skip(1) && cursor.Skip(cursor.TextLength() + 1);
      if (count.whole) ++count.events;
    }
    if (!count.whole) break;
  }
  return count;
}

}  // namespace

CacheCheckup::Records::Records(const QString& path, std::size_t size, const Noun& records)
    : name(FileName(path)), recordSize(size), noun(records) {
  file.Open(path, PlainFile::Mode::kRead);
}

bool CacheCheckup::Records::Next(void* record) {
  if (taken == portion.size()) {
    portion.resize(kRecordsInPortion * recordSize);
    const std::size_t got = file.IsOpen() ? file.Read(portion.data(), portion.size()) : 0;
    portion.resize(got / recordSize * recordSize);
    taken = 0;
  }
  if (portion.empty()) return false;
  std::memcpy(record, portion.data() + taken, recordSize);
  taken += recordSize;
  return true;
}

std::uint64_t CacheCheckup::Records::CountLeft() {
  std::vector<char> record(recordSize);
  std::uint64_t count = 0;
  while (Next(record.data())) ++count;
  return count;
}

template <class Record>
void CacheCheckup::Records::Lose(FilePosition begin, FilePosition end) {
  Record record;
  while (mismatch.empty() && Next(&record)) {
    if (PositionOf(record) < begin || PositionOf(record) >= end) {
      taken -= recordSize;
      return;
    }
    ++lost;
  }
}

CacheCheckup::CacheCheckup(const CacheNames& names)
    : mNames(names),
      mEntries(mNames.entries, sizeof(ZEL_ID3_REC), {"entry", "entries"}),
      mHeaders(mNames.headers, sizeof(FilePosition), {"header", "headers"}) {}

void CacheCheckup::OnHeader(FilePosition position) {
  ++mHeaders.inArchive;
  FilePosition kept = 0;
  if (!mHeaders.mismatch.empty() || !mHeaders.Next(&kept)) return;
  Compare(&mHeaders, position, kept == position);
}

void CacheCheckup::OnIndex(FilePosition position, const IDX_T& index) {
  ++mEntries.inArchive;
  ZEL_ID3_REC kept;
  if (!mEntries.mismatch.empty() || !mEntries.Next(&kept)) return;
  Compare(&mEntries, position, PositionOf(kept) == position && kept.time == index.time);
}

void CacheCheckup::OnEvent() {
  ++mEvents;
}

void CacheCheckup::OnLost(FilePosition begin, FilePosition end) {
  mHasLost = true;
  mHeaders.Lose<FilePosition>(begin, end);
  mEntries.Lose<ZEL_ID3_REC>(begin, end);
}

void CacheCheckup::Compare(Records* records, FilePosition position, bool matches) {
  if (matches) {
    ++records->matched;
  } else {
    records->mismatch =
        fmt::format("is not of this archive: {} {} is another one than that at byte {}",
                    records->noun.one, records->matched + records->lost, position);
  }
}

CacheState CacheCheckup::Finish(Findings* findings) {
  const bool hasEntries = QFileInfo::exists(mNames.entries);
  const bool hasHeaders = QFileInfo::exists(mNames.headers);
  const bool hasEvents = QFileInfo::exists(mNames.events);
  for (const QString& name : {mNames.entries, mNames.headers, mNames.events}) {
    const QString unfinished = UnfinishedName(name);
    if (!QFileInfo::exists(unfinished)) continue;
    Report(FindingKind::kCacheLeftover, FileName(unfinished),
           "is left over from a save that did not end", findings);
  }
  if (!hasEntries && !hasHeaders && !hasEvents)
    return mSound ? CacheState::kNone : CacheState::kUnsound;

  if (!hasEntries || !hasHeaders || !hasEvents) {
    Report(FindingKind::kCacheIncomplete, mEntries.name,
           fmt::format("has no {} beside it", !hasEntries  ? ".id3"
                                              : hasHeaders ? ".evt"
                                                           : ".hdr"),
           findings);
  }
  if (hasEntries) FinishRecords(&mEntries, findings);
  if (hasHeaders) FinishRecords(&mHeaders, findings);
  if (hasEvents) FinishEvents(findings);
  ReportLost(findings);
  return mSound ? CacheState::kSound : CacheState::kUnsound;
}

void CacheCheckup::FinishRecords(Records* records, Findings* findings) {
  if (!records->file.IsOpen()) {
    Report(FindingKind::kCacheDamaged, records->name, kUnreadable, findings);
    return;
  }
  if (records->file.Size() % records->recordSize != 0)
    Report(FindingKind::kCacheDamaged, records->name, "ends within a record", findings);
  std::string text = records->mismatch;
  const std::uint64_t kept = records->matched + records->lost + records->CountLeft();
  if (text.empty() && kept != records->inArchive + records->lost)
    text = fmt::format("holds {} {}, the archive {}", kept, records->noun.many, records->inArchive);
  if (text.empty()) {
    AddLost(records->lost, records->noun, records->name);
    return;
  }
  records->isWrong = true;
  Report(FindingKind::kCacheMismatch, records->name, text, findings);
}

void CacheCheckup::FinishEvents(Findings* findings) {
  const std::string name = FileName(mNames.events);
  PlainFile file;
  if (!file.Open(mNames.events, PlainFile::Mode::kRead)) {
    Report(FindingKind::kCacheDamaged, name, kUnreadable, findings);
    return;
  }
  const EventCount kept = CountEvents(file);
  if (!kept.whole)
    Report(FindingKind::kCacheDamaged, name, "is cut off or holds what is no event", findings);
  if (kept.events == mEvents) return;
  // Events are counted only: what the archive has lost explains that some are missing there.
  const bool isExplained = mHasLost && kept.whole && kept.events > mEvents;
  if (isExplained && !mEntries.isWrong && !mHeaders.isWrong) {
    AddLost(kept.events - mEvents, {"event", "events"}, name);
    return;
  }
  Report(FindingKind::kCacheMismatch, name,
         fmt::format("holds {} events, the archive {}", kept.events, mEvents), findings);
}

void CacheCheckup::AddLost(std::uint64_t count, const Noun& noun, const std::string& name) {
  if (count == 0) return;
  if (mLost.empty()) mLostIn = name;
  mLost.push_back(fmt::format("{} {}", count, count == 1 ? noun.one : noun.many));
}

void CacheCheckup::ReportLost(Findings* findings) {
  if (mLost.empty()) return;
  Report(FindingKind::kCacheMismatch, mLostIn,
         fmt::format("holds more than the damaged archive: {}", fmt::join(mLost, ", ")), findings);
}

void CacheCheckup::Report(FindingKind kind, const std::string& name, const std::string& text,
                          Findings* findings) {
  mSound = false;
  findings->Add({kind, name, text});
}
