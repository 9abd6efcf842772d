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

// Reads on until `items` has so many more items that the processor keeps them near, or as many as
// `most` in all. The number of items added. Throws std::bad_alloc.
template <class Item>
int ReadPortion(PlainFile& file, int most, QVector<Item>* items) {
  constexpr int kPortion = 65536 / sizeof(Item);
  const int before = items->size();
  const int wanted = std::min(kPortion, most - before);
  if (wanted < 1) return 0;
  items->resize(before + wanted);
  const std::size_t got =
      file.Read(items->data() + before, static_cast<std::size_t>(wanted) * sizeof(Item));
  const int added = static_cast<int>(got / sizeof(Item));
  items->resize(before + added);
  return added;
}

// What the times of a file's entries say when they are met one after the other.
struct EntryTimes {
  std::uint32_t first = 0;  // the smallest
  std::uint32_t last = 0;   // the greatest
  // Between a time and the smallest or greatest before it.
  std::uint32_t smallestStep = kStartMinIndexStep;
  bool ascend = true;
  std::uint32_t previous = 0;
  bool any = false;

  void Add(std::uint32_t time) {
    if (!any) {
      first = last = time;
      any = true;
    }
    ascend = ascend && previous <= time;
    previous = time;
    if (time < first) {
      smallestStep = std::min(smallestStep, first - time);
      first = time;
    }
    if (time > last) {
      smallestStep = std::min(smallestStep, time - last);
      last = time;
    }
  }
};

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
  try {
    if (LoadEntries()) return true;
  } catch (const std::bad_alloc&) {
    // As good as not there.
  }
  current.id3Records = QVector<ZEL_ID3_REC>();
  current.blockPositions = QVector<quint64>();
  return false;
}

bool cZel3Indexer::LoadEntries() {
  const std::uint64_t count = id3File.Size() / sizeof(ZEL_ID3_REC);
  if (count < 1 || count > std::numeric_limits<int>::max() / sizeof(ZEL_ID3_REC)) return false;
  QVector<ZEL_ID3_REC>& records = current.id3Records;
  QVector<quint64>& cuts = current.blockPositions;
  records.reserve(static_cast<int>(count));
  // One more for the end position.
  cuts.reserve(static_cast<int>(count) + current.headerPositions.size() + 1);

  HeaderCuts headers(current.headerPositions);
  EntryTimes times;
  bool cutsAscend = true;
  // Memory is filled portion by portion: what has just been read is looked at while it is still
  // near.
  while (const int added = ReadPortion(id3File, static_cast<int>(count), &records)) {
    const ZEL_ID3_REC* const end = records.constData() + records.size();
    for (const ZEL_ID3_REC* record = end - added; record != end; ++record) {
      // Positions from 4 GiB on wrap: the high bits are kept in the entry only.
      cutsAscend = cutsAscend && (cuts.isEmpty() || cuts.constLast() <= record->offsetLow);
      headers.AddCut(record->offsetLow, &cuts);
      times.Add(record->time);
    }
  }
  if (records.isEmpty()) return false;

  current.entriesAscend = times.ascend;
  current.cutsAscend = cutsAscend;
  current.startTime = times.first;
  current.lastIndexTime = times.last;
  current.indexInterval = TypicalInterval(records);
  minIndexStep = std::max(times.smallestStep, kFloorMinIndexStep);
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
  const QVector<quint64>& positions = current.headerPositions;
  current.headersAscend = std::is_sorted(positions.begin(), positions.end());
  return true;
}

// Without a .hdr file the file's start counts as a header.
bool cZel3Indexer::Set_empty_HDR() {
  current.headerPositions = QVector<quint64>(1, 0);
  return true;
}
