#include "cache_checkup.h"

#include <fmt/format.h>

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <iterator>

#include "archive_source.h"
#include "byte_cursor.h"
#include "file_index_store.h"

namespace {

std::string Stem(const std::string& archive, const std::string& cacheFolder) {
  std::string name = archive;
  if (!cacheFolder.empty()) {
    const QDateTime modified = QFileInfo(QFile::decodeName(archive.c_str())).lastModified();
    name = cacheFolder + '/' +
           modified.toString(QLatin1String("yy.MM.dd hh-mm-ss ")).toStdString() +
           archive_source::FileName(archive);
  }
  return name.substr(0, name.rfind('.') + 1);
}

bool Exists(const std::string& path) {
  return QFileInfo::exists(QFile::decodeName(path.c_str()));
}

struct EventCount {
  std::uint64_t events = 0;
  bool whole = true;
};

// How many events an .evt file holds, as far as it can be read.
EventCount CountEvents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> bytes((std::istreambuf_iterator<char>(file)),
                                std::istreambuf_iterator<char>());
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

CacheNames::CacheNames(const std::string& archive, const std::string& cacheFolder) {
  const std::string stem = Stem(archive, cacheFolder);
  entries = stem + "id3";
  headers = stem + "hdr";
  events = stem + "evt";
  unfinished = events + ".unfinished.evt";
}

CacheCheckup::Records::Records(const std::string& path, std::size_t size)
    : name(archive_source::FileName(path)), file(path, std::ios::binary), recordSize(size) {}

bool CacheCheckup::Records::Next(void* record) {
  file.read(static_cast<char*>(record), static_cast<std::streamsize>(recordSize));
  const auto got = static_cast<std::size_t>(file.gcount());
  if (got != 0 && got != recordSize) whole = false;
  return got == recordSize;
}

std::uint64_t CacheCheckup::Records::CountLeft() {
  std::vector<char> record(recordSize);
  std::uint64_t count = 0;
  while (Next(record.data())) ++count;
  return count;
}

CacheCheckup::CacheCheckup(const std::string& archive, const std::string& cacheFolder)
    : mNames(archive, cacheFolder),
      mEntries(mNames.entries, sizeof(ZEL_ID3_REC)),
      mHeaders(mNames.headers, sizeof(std::uint64_t)) {}

void CacheCheckup::OnHeader(std::uint64_t position) {
  ++mHeaders.inArchive;
  std::uint64_t kept = 0;
  if (!mHeaders.mismatch.empty() || !mHeaders.Next(&kept)) return;
  Compare(&mHeaders, "header", position, kept == position);
}

void CacheCheckup::OnIndex(std::uint64_t position, const IDX_T& index) {
  ++mEntries.inArchive;
  ZEL_ID3_REC kept;
  if (!mEntries.mismatch.empty() || !mEntries.Next(&kept)) return;
  const std::uint64_t keptPosition = std::uint64_t{kept.offsetHigh} << 32 | kept.offsetLow;
  Compare(&mEntries, "entry", position, keptPosition == position && kept.time == index.time);
}

void CacheCheckup::OnEvent() {
  ++mEvents;
}

void CacheCheckup::Compare(Records* records, const char* what, std::uint64_t position,
                           bool matches) {
  if (matches) {
    ++records->matched;
  } else {
    records->mismatch =
        fmt::format("is not of this archive: {} {} is another one than that at byte {}", what,
                    records->matched, position);
  }
}

CacheState CacheCheckup::Finish(Findings* findings) {
  const bool hasEntries = Exists(mNames.entries);
  const bool hasHeaders = Exists(mNames.headers);
  const bool hasEvents = Exists(mNames.events);
  if (Exists(mNames.unfinished)) {
    Report("cache-leftover", archive_source::FileName(mNames.unfinished),
           "is left over from a save that did not end", findings);
  }
  if (!hasEntries && !hasHeaders && !hasEvents)
    return mSound ? CacheState::kNone : CacheState::kUnsound;

  if (!hasEntries || !hasHeaders || !hasEvents) {
    Report("cache-incomplete", archive_source::FileName(mNames.entries),
           fmt::format("has no {} beside it", !hasEntries  ? ".id3"
                                              : hasHeaders ? ".evt"
                                                           : ".hdr"),
           findings);
  }
  if (hasEntries) FinishRecords(&mEntries, "entries", findings);
  if (hasHeaders) FinishRecords(&mHeaders, "headers", findings);
  if (hasEvents) FinishEvents(findings);
  return mSound ? CacheState::kSound : CacheState::kUnsound;
}

void CacheCheckup::FinishRecords(Records* records, const char* what, Findings* findings) {
  const std::uint64_t left = records->CountLeft();
  if (!records->whole) Report("cache-damaged", records->name, "ends within a record", findings);
  std::string text = records->mismatch;
  const std::uint64_t kept = records->matched + left;
  if (text.empty() && kept != records->inArchive)
    text = fmt::format("holds {} {}, the archive {}", kept, what, records->inArchive);
  if (!text.empty()) Report("cache-mismatch", records->name, text, findings);
}

void CacheCheckup::FinishEvents(Findings* findings) {
  const std::string name = archive_source::FileName(mNames.events);
  const EventCount kept = CountEvents(mNames.events);
  if (!kept.whole) Report("cache-damaged", name, "is cut off or holds what is no event", findings);
  if (kept.events == mEvents) return;
  Report("cache-mismatch", name,
         fmt::format("holds {} events, the archive {}", kept.events, mEvents), findings);
}

void CacheCheckup::Report(const std::string& kind, const std::string& name, const std::string& text,
                          Findings* findings) {
  mSound = false;
  findings->Add({Severity::kWarning, kind, name, text});
}
