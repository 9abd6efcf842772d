#include "checkup/cache_checkup.h"

#include <fmt/format.h>

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <cstring>

#include "blocks/byte_cursor.h"
#include "indexer/intake.h"
#include "parser/framing.h"
#include "sources/archive_source.h"

namespace {

constexpr char kUnreadable[] = "is not a file that can be read";
constexpr char kDiffers[] = "differs from";

constexpr RecordKind kEntryRecords{"entry", "entries", sizeof(ZEL_ID3_REC), [](const char* record) {
                                     ZEL_ID3_REC entry;
                                     std::memcpy(&entry, record, sizeof(entry));
                                     return FilePosition{entry.offsetHigh} << 32 | entry.offsetLow;
                                   }};
constexpr RecordKind kHeaderRecords{
    "header", "headers", sizeof(FilePosition),
    [](const char* record) { return LoadLittleEndian<FilePosition>(record); }};

// How many records of at least so many bytes an archive can hold. A marker is never in a hole.
std::uint64_t MostRecords(const ArchiveSize& archive, std::uint64_t smallest) {
  return std::min(archive.all / smallest, archive.data / kMarkerSize);
}

std::string FileName(const QString& path) {
  return archive_source::FileName(QFile::encodeName(path).constData());
}

bool HaveSameActivity(const ZEL_ID3_REC& one, const ZEL_ID3_REC& other) {
  return one.activityCount == other.activityCount &&
         std::memcmp(one.activity, other.activity, sizeof(one.activity)) == 0;
}

}  // namespace

CacheCheckup::CacheCheckup(const CacheNames& names, const ArchiveSize& archive)
    : mNames(names),
      mEntries(mNames.entries, kEntryRecords, MostRecords(archive, kIndexRecordSize)),
      mHeaders(mNames.headers, kHeaderRecords,
               MostRecords(archive, kMarkerSize + kShortestHeaderLength + 1)),
      mEvents(mNames.events, archive.all) {}

void CacheCheckup::OnHeader(FilePosition position) {
  const char* const kept = mHeaders.Expect();
  if (kept != nullptr && LoadLittleEndian<FilePosition>(kept) != position)
    mHeaders.NoteDifference(kDiffers, position);
}

void CacheCheckup::OnIndex(FilePosition position, const IDX_T& index) {
  EndEntry();
  mEvents.OnIndex(position, index.time);
  mEntry = NewEntry(position, index);
  const char* const kept = mEntries.Expect();
  if (kept == nullptr) return;
  std::memcpy(&mKeptEntry, kept, sizeof(mKeptEntry));
  if (kEntryRecords.positionOf(kept) != position || mKeptEntry.time != mEntry.time) {
    mEntries.NoteDifference(kDiffers, position);
  } else if (mKeptEntry.flags != mEntry.flags) {
    mEntries.NoteDifference("has a different flag from", position);
  } else {
    mComparesEntry = true;
  }
}

void CacheCheckup::OnData(const DATA_T& head, const unsigned char* payload) {
  CountActivity(head, &mEntry);
  if (IsEventType(head.type)) mEvents.OnEvent(head, payload);
}

void CacheCheckup::OnLost(FilePosition begin, FilePosition end) {
  // The index may know levels of blocks that are lost.
  mComparesEntry = false;
  mHeaders.OnLost(begin, end);
  mEntries.OnLost(begin, end);
  mEvents.OnLost();
}

void CacheCheckup::EndEntry() {
  if (mComparesEntry && !HaveSameActivity(mKeptEntry, mEntry)) {
    const auto* const record = reinterpret_cast<const char*>(&mEntry);
    mEntries.NoteDifference("has different levels from", kEntryRecords.positionOf(record));
  }
  mComparesEntry = false;
}

CacheState CacheCheckup::Finish(Findings* findings) {
  EndEntry();
  mEvents.OnEnd();
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
    Report(FindingKind::kCacheIncomplete, FileName(mNames.entries),
           fmt::format("has no {} beside it", !hasEntries  ? ".id3"
                                              : hasHeaders ? ".evt"
                                                           : ".hdr"),
           findings);
  }
  if (hasEntries) FinishRecords(mEntries, kEntryRecords, mNames.entries, findings);
  if (hasHeaders) FinishRecords(mHeaders, kHeaderRecords, mNames.headers, findings);
  if (hasEvents) FinishEvents(findings);
  ReportLost(findings);
  return mSound ? CacheState::kSound : CacheState::kUnsound;
}

void CacheCheckup::FinishRecords(const KeptRecords& records, const RecordKind& kind,
                                 const QString& path, Findings* findings) {
  const std::string name = FileName(path);
  if (!records.IsOpen() || records.HasFailed()) {
    Report(FindingKind::kCacheDamaged, name, kUnreadable, findings);
    return;
  }
  if (records.EndsWithinARecord())
    Report(FindingKind::kCacheDamaged, name, "ends within a record", findings);
  const std::string mismatch = records.Mismatch();
  if (mismatch.empty()) {
    AddLost(records.Lost(), kind.one, kind.many, name);
    return;
  }
  mIsWrong = true;
  Report(FindingKind::kCacheMismatch, name, mismatch, findings);
}

void CacheCheckup::FinishEvents(Findings* findings) {
  const std::string name = FileName(mNames.events);
  if (!mEvents.IsOpen()) {
    Report(FindingKind::kCacheDamaged, name, kUnreadable, findings);
    return;
  }
  if (mEvents.IsBroken())
    Report(FindingKind::kCacheDamaged, name, "is cut off, or holds something that is not an event",
           findings);
  if (!mEvents.Mismatch().empty()) {
    Report(FindingKind::kCacheMismatch, name, mEvents.Mismatch(), findings);
  } else if (!mIsWrong) {
    AddLost(mEvents.Lost(), "event", "events", name);
  }
}

void CacheCheckup::AddLost(std::uint64_t count, const char* one, const char* many,
                           const std::string& name) {
  if (count == 0) return;
  if (mLost.empty()) mLostIn = name;
  mLost.push_back(fmt::format("{} {}", count, count == 1 ? one : many));
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
