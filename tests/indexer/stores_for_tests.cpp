#include "stores_for_tests.h"

#include <algorithm>
#include <sstream>

QString Path(const std::string& path) {
  return QString::fromLocal8Bit(path.c_str());
}

std::string Text(const QString& text) {
  return text.toLocal8Bit().constData();
}

IDX_T IndexAt(std::uint32_t time, std::uint8_t flag) {
  IDX_T index;
  index.time = time;
  index.indexFlag = flag;
  return index;
}

ZEL_ID3_REC EntryAt(std::uint32_t time, std::uint64_t position) {
  ZEL_ID3_REC record;
  record.time = time;
  record.offsetLow = static_cast<std::uint32_t>(position);
  record.offsetHigh = static_cast<std::uint16_t>(position >> 32);
  return record;
}

sFile_Index_Store FileOf(const std::string& name, const std::vector<std::uint32_t>& times) {
  sFile_Index_Store store;
  store.fileName = Path(name);
  for (const std::uint32_t time : times) {
    store.id3Records.append(EntryAt(time));
    store.startTime = std::min(store.startTime, time);
    store.endTime = std::max(store.endTime, time);
  }
  return store;
}

sFile_Index_Store FileOf(const std::string& name, const std::vector<std::uint32_t>& times,
                         std::uint32_t endTime) {
  sFile_Index_Store store = FileOf(name, times);
  store.endTime = endTime;
  return store;
}

sFile_Index_Store Partial(sFile_Index_Store store) {
  store.partial = true;
  return store;
}

void CollectBareEntries(cZel3Indexer& index, const std::string& name,
                        const std::vector<std::uint32_t>& times) {
  index.Open_file_draft(Path(name));
  for (const std::uint32_t time : times) index.Add_last_index(IndexAt(time));
}

void FileAll(cZel3Indexer& index, const std::vector<sFile_Index_Store>& stores) {
  for (const sFile_Index_Store& store : stores) index.Add_file_index(store);
}

std::vector<std::string> FileNames(const cZel3Indexer& index) {
  std::vector<std::string> names;
  for (const sFile_Index_Store& store : index.Files()) names.push_back(Text(store.fileName));
  return names;
}

std::string Shown(const ZEL_ID3_REC& record) {
  std::ostringstream text;
  text << record.time << '@' << (std::uint64_t{record.offsetHigh} << 32 | record.offsetLow);
  if (record.flags != 0) text << " flags " << std::hex << int{record.flags} << std::dec;
  for (int i = 0; i < record.activityCount && i < kMaxActivityPairs; ++i) {
    text << ' ' << int{record.activity[i].streamId} << ':' << int{record.activity[i].level};
  }
  return text.str();
}

Texts Shown(const QVector<ZEL_ID3_REC>& records) {
  Texts texts;
  for (const ZEL_ID3_REC& record : records) texts.push_back(Shown(record));
  return texts;
}

std::string Shown(const EVT_FILE_DATA_T& group) {
  std::ostringstream text;
  text << group.time << '@' << group.offsetLow << " x" << int{group.eventCount};
  for (const EVT_FILE_EVENT_T& event : group.events) {
    text << ' ' << std::hex << int{event.eventType} << std::dec << '\'' << event.text << '\'';
  }
  return text.str();
}

Texts Shown(const QList<EVT_FILE_DATA_T>& groups) {
  Texts texts;
  for (const EVT_FILE_DATA_T& group : groups) texts.push_back(Shown(group));
  return texts;
}

std::vector<std::uint64_t> Positions(const QVector<FilePosition>& positions) {
  return std::vector<std::uint64_t>(positions.begin(), positions.end());
}

QVector<FilePosition> AsPositions(const std::vector<std::uint64_t>& positions) {
  QVector<FilePosition> copy;
  for (const std::uint64_t position : positions) copy.append(position);
  return copy;
}
