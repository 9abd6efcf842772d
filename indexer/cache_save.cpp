#include <algorithm>
#include <new>

#include "indexer/temporary_folder.h"
#include "indexer/zel3_indexer.h"

namespace {

template <class Item>
bool WriteItems(PlainFile& file, const QVector<Item>& items) {
  return file.Write(items.constData(), static_cast<std::size_t>(items.size()) * sizeof(Item));
}

template <class Integer>
bool WriteInteger(PlainFile& file, Integer value) {
  return file.Write(&value, sizeof(value));
}

bool WriteEvent(PlainFile& file, const EVT_FILE_EVENT_T& event) {
  return WriteInteger(file, event.eventType) &&
         file.Write(event.text.c_str(), event.text.size() + 1);
}

// The count is written as it is held: it wraps after 255, and then fewer events follow than the
// group has.
bool WriteGroup(PlainFile& file, const EVT_FILE_DATA_T& group) {
  bool written = WriteInteger(file, group.time) && WriteInteger(file, group.offsetLow) &&
                 WriteInteger(file, group.eventCount);
  const int count = std::min<int>(group.eventCount, group.events.size());
  for (int i = 0; written && i < count; ++i) written = WriteEvent(file, group.events.at(i));
  return written;
}

}  // namespace

bool cZel3Indexer::Reopen_for_write() {
  CloseCacheFiles();
  const CacheClaim::Answer answer = ClaimCacheFiles();
  if (answer == CacheClaim::Answer::kGiven) return true;
  const QString temporary = TemporaryFolder();
  if (temporary.isEmpty()) return false;
  // The caches of other archives stay where they are when only this one's is in use.
  if (answer == CacheClaim::Answer::kHeldByAnother || IsDetoured(currentFilePath)) {
    detour = {currentFilePath, temporary};
  } else {
    cacheFolder = temporary;
  }
  NameCacheFiles(currentFilePath);
  return ClaimCacheFiles() == CacheClaim::Answer::kGiven;
}

CacheClaim::Answer cZel3Indexer::ClaimCacheFiles() {
  if (namesRefused) return CacheClaim::Answer::kRefused;
  return claim.Take({hdrFileName, id3FileName, evtFileName}, currentFilePath);
}

void cZel3Indexer::Save_files() {
  if (!Reopen_for_write()) return;
  claim.Save([this](PlainFile& headers, PlainFile& entries, PlainFile& events) {
    try {
      return WriteCurrent(headers, entries, events);
    } catch (const std::bad_alloc&) {
      return false;
    }
  });
}

void cZel3Indexer::End_run() {
  claim.Release();
  detour = Detour();
}

bool cZel3Indexer::WriteCurrent(PlainFile& headers, PlainFile& entries, PlainFile& events) {
  bool written = WriteItems(headers, current.headerPositions);
  if (pendingId3RecValid) {
    current.id3Records.append(pendingId3Rec);
    current.startTime = std::min(current.startTime, pendingId3Rec.time);
    current.endTime = std::max(current.endTime, pendingId3Rec.time);
    pendingId3RecValid = false;
  }
  written = WriteItems(entries, current.id3Records) && written;
  const QList<EVT_FILE_DATA_T>& groups = current.events;
  for (const EVT_FILE_DATA_T& group : groups) written = written && WriteGroup(events, group);
  return written;
}
