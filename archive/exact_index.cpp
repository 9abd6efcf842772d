#include "archive/exact_index.h"

#include <algorithm>
#include <vector>

#include "archive/archive_scan.h"
#include "archive/index_collector.h"
#include "blocks/byte_cursor.h"
#include "system/failure.h"

namespace {

using Bytes = std::vector<char>;

template <class Record>
void Append(const Record& record, Bytes* bytes) {
  bytes->resize(bytes->size() + sizeof(record));
  StoreLittleEndian(bytes->data() + bytes->size() - sizeof(record), record);
}

template <class Record>
Bytes BytesOf(const QVector<Record>& records) {
  Bytes bytes;
  for (const Record& record : records) Append(record, &bytes);
  return bytes;
}

Bytes BytesOf(const QList<EVT_FILE_DATA_T>& groups) {
  Bytes bytes;
  for (const EVT_FILE_DATA_T& group : groups) {
    Append(group.time, &bytes);
    Append(group.offsetLow, &bytes);
    Append(group.eventCount, &bytes);
    // The count wraps after 255, and only as many events as it says are written.
    for (int i = 0; i < std::min<int>(group.eventCount, group.events.size()); ++i) {
      const EVT_FILE_EVENT_T& event = group.events.at(i);
      Append(event.eventType, &bytes);
      bytes.insert(bytes.end(), event.text.begin(), event.text.end());
      bytes.push_back('\0');
    }
  }
  return bytes;
}

bool Holds(const QString& path, const Bytes& expected) {
  PlainFile file;
  if (!file.Open(path, PlainFile::Mode::kRead) || file.Size() != expected.size()) return false;
  Bytes bytes(expected.size());
  return file.Read(bytes.data(), bytes.size()) == bytes.size() && bytes == expected;
}

}  // namespace

bool IsExactIndex(const CacheNames& names, const std::string& archive) {
  cZel3Indexer indexer;
  indexer.BeginIntake();
  IndexCollector collector(&indexer);
  try {
    ScanArchive(archive, collector);
  } catch (const Failure& error) {
    if (error.Code() == kExitInterrupted) throw;
    return false;
  }
  // An entry is complete when the next one comes.
  indexer.Add_index(IDX_T());
  const sFile_Index_Store& index = indexer.Current();
  return Holds(names.entries, BytesOf(index.id3Records)) &&
         Holds(names.headers, BytesOf(index.headerPositions)) &&
         Holds(names.events, BytesOf(index.events));
}
