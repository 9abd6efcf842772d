#include <algorithm>
#include <limits>
#include <new>

#include "byte_cursor.h"
#include "header_cuts.h"
#include "zel3_indexer.h"

namespace {

constexpr std::uint32_t kStartMinIndexStep = 6;
constexpr std::uint32_t kFloorMinIndexStep = 3;
constexpr std::uint32_t kIntervalWithoutSteps = 3000;
constexpr int kStepsForInterval = 5;

constexpr qint64 kEventGroupHead = 9;
// A file of just one group with one empty text is never read.
constexpr std::uint64_t kSmallestReadEventFile = 12;
constexpr qint64 kSmallestNextGroup = 12;
constexpr qint64 kSmallestEvent = 3;

// Reads the whole items of a file into `items`. False when there is none, and when the file is
// larger than the container or the memory.
template <class Item>
bool ReadItems(PlainFile& file, QVector<Item>* items) {
  const std::uint64_t count = file.Size() / sizeof(Item);
  if (count < 1 || count > std::numeric_limits<int>::max() / sizeof(Item)) return false;
  try {
    items->resize(static_cast<int>(count));
  } catch (const std::bad_alloc&) {
    *items = QVector<Item>();
    return false;
  }
  const std::size_t got = file.Read(items->data(), static_cast<std::size_t>(count) * sizeof(Item));
  items->resize(static_cast<int>(got / sizeof(Item)));
  return !items->isEmpty();
}

// The upper median of the first steps between entries; they may wrap where times run backwards.
std::uint32_t TypicalInterval(const QVector<ZEL_ID3_REC>& records) {
  std::vector<std::uint32_t> steps;
  for (int i = 1; i < records.size() && i <= kStepsForInterval; ++i) {
    steps.push_back(records.at(i).time - records.at(i - 1).time);
  }
  if (steps.empty()) return kIntervalWithoutSteps;
  std::sort(steps.begin(), steps.end());
  return steps[steps.size() / 2];
}

// The events of one group, as far as the file holds them. `left` counts the bytes of the file not
// yet taken; an unterminated last text lets it fall below zero.
QList<EVT_FILE_EVENT_T> ReadEvents(ByteCursor& cursor, std::uint8_t wanted, qint64& left) {
  QList<EVT_FILE_EVENT_T> events;
  while (events.size() < wanted && left >= kSmallestEvent) {
    EVT_FILE_EVENT_T event;
    if (!cursor.Read(&event.eventType)) break;
    const std::size_t length = cursor.TextLength();
    event.text.assign(reinterpret_cast<const char*>(cursor.Next()), length);
    if (!cursor.Skip(length) || !cursor.Skip(std::min<std::size_t>(1, cursor.Left()))) break;
    events.append(event);
    left -= static_cast<qint64>(length) + 2;
  }
  return events;
}

bool ReadGroupHead(ByteCursor& cursor, EVT_FILE_DATA_T* group) {
  return cursor.Read(&group->time) && cursor.Read(&group->offsetLow) &&
         cursor.Read(&group->eventCount) && group->eventCount != 0;
}

QList<EVT_FILE_DATA_T> ReadEventGroups(const char* bytes, qint64 size) {
  QList<EVT_FILE_DATA_T> groups;
  ByteCursor cursor(bytes, static_cast<std::size_t>(size));
  qint64 left = size;
  EVT_FILE_DATA_T group;
  while (ReadGroupHead(cursor, &group)) {
    left -= kEventGroupHead;
    group.events = ReadEvents(cursor, group.eventCount, left);
    group.eventCount = static_cast<std::uint8_t>(group.events.size());
    if (group.events.isEmpty()) break;
    groups.append(group);
    if (left < kSmallestNextGroup) break;
  }
  return groups;
}

}  // namespace

bool cZel3Indexer::Load_ID3() {
  if (!ReadItems(id3File, &current.id3Records)) return false;
  const QVector<ZEL_ID3_REC>& records = current.id3Records;
  try {
    // One more for the end position.
    current.blockPositions.reserve(static_cast<std::size_t>(records.size()) + 1);
  } catch (const std::bad_alloc&) {
    current.id3Records = QVector<ZEL_ID3_REC>();
    return false;
  }

  minIndexStep = kStartMinIndexStep;
  current.startTime = current.lastIndexTime = records.at(0).time;
  for (const ZEL_ID3_REC& record : records) {
    // Positions from 4 GiB on wrap: the high bits are kept in the entry only.
    current.blockPositions.push_back(record.offsetLow);
    if (record.time < current.startTime) {
      minIndexStep = std::min(minIndexStep, current.startTime - record.time);
      current.startTime = record.time;
    }
    if (record.time > current.lastIndexTime) {
      minIndexStep = std::min(minIndexStep, record.time - current.lastIndexTime);
      current.lastIndexTime = record.time;
    }
  }
  current.indexInterval = TypicalInterval(records);
  minIndexStep = std::max(minIndexStep, kFloorMinIndexStep);
  current.endTime = current.lastIndexTime + minIndexStep;
  return true;
}

bool cZel3Indexer::Load_EVT() {
  const std::uint64_t size = evtFile.Size();
  if (size < kSmallestReadEventFile || size >= std::numeric_limits<int>::max()) return false;
  try {
    QByteArray bytes(static_cast<int>(size), Qt::Uninitialized);
    const std::size_t got = evtFile.Read(bytes.data(), static_cast<std::size_t>(size));
    current.events = ReadEventGroups(bytes.constData(), static_cast<qint64>(got));
  } catch (const std::bad_alloc&) {
    current.events = QList<EVT_FILE_DATA_T>();
  }
  return !current.events.isEmpty();
}

bool cZel3Indexer::Load_HDR() {
  if (!ReadItems(hdrFile, &current.headerPositions)) return false;
  try {
    InsertHeaderCuts(current.headerPositions, &current.blockPositions);
  } catch (const std::bad_alloc&) {
    current.headerPositions = QVector<quint64>();
    return false;
  }
  return true;
}

bool cZel3Indexer::Set_empty_HDR() {
  current.headerPositions = QVector<quint64>(1, 0);
  if (!current.blockPositions.empty())
    InsertHeaderCuts(current.headerPositions, &current.blockPositions);
  return true;
}
