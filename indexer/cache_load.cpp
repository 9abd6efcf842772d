#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <new>
#include <vector>

#include "blocks/byte_cursor.h"
#include "indexer/header_cuts.h"
#include "indexer/zel3_indexer.h"

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

// So many entries are read at a time that the processor keeps them near until they are looked at.
constexpr int kPortion = 1024;

// Reads on until there is a portion of entries more, or `most` in all. The number of entries added.
// Throws std::bad_alloc.
int ReadPortion(PlainFile& file, int most, QVector<ZEL_ID3_REC>* records) {
  const int before = records->size();
  const int wanted = std::min(kPortion, most - before);
  if (wanted < 1) return 0;
  records->resize(before + wanted);
  const std::size_t got =
      file.Read(records->data() + before, static_cast<std::size_t>(wanted) * sizeof(ZEL_ID3_REC));
  const int added = static_cast<int>(got / sizeof(ZEL_ID3_REC));
  records->resize(before + added);
  return added;
}

// Memory used for the first time costs more than reading a file into it; by large pages, far less.
template <class Item>
void ReserveLargePages(QVector<Item>* items, int count) {
  items->reserve(count);
  constexpr std::uintptr_t kLargePage = 2 << 20;
  const auto begin = reinterpret_cast<std::uintptr_t>(items->data());
  const std::uintptr_t end = begin + static_cast<std::size_t>(count) * sizeof(Item);
  const std::uintptr_t first = (begin + kLargePage - 1) & ~(kLargePage - 1);
  const std::uintptr_t last = end & ~(kLargePage - 1);
  // It is no more than advice: where it is not taken the pages are small ones.
  if (first < last) madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
}

// What the entries of a file say when they are met one after the other.
class EntryScan {
 public:
  // Takes entries; gives the low 32 bits of their positions.
  void Add(const ZEL_ID3_REC* entries, int count, quint64* positions) {
    if (count == 0) return;
    if (!mAny) first = last = entries->time;
    mAny = true;
    IndexTime time = last;
    std::uint32_t position = mPosition;
    // Kept less 1, so that two equal times are a huge step, which does not count.
    std::uint32_t smallest = smallestStep - 1;
    bool ascend = timesAscend;
    for (int i = 0; i < count; ++i) {
      ascend = ascend & (time <= entries[i].time);
      smallest = std::min(smallest, entries[i].time - time - 1);
      time = entries[i].time;
      positionsAscend = positionsAscend & (position <= entries[i].offsetLow);
      position = entries[i].offsetLow;
      positions[i] = position;
    }
    mPosition = position;
    timesAscend = ascend;
    if (ascend) {
      smallestStep = smallest + 1;
      last = time;
    } else {
      // What has been found out above holds for times that ascend only.
      for (int i = 0; i < count; ++i) AddTime(entries[i].time);
    }
  }

  // The smallest and the greatest time.
  std::uint32_t first = 0;
  std::uint32_t last = 0;
  // Between a time and the smallest or greatest before it.
  std::uint32_t smallestStep = kStartMinIndexStep;
  bool timesAscend = true;
  bool positionsAscend = true;

 private:
  void AddTime(IndexTime time) {
    if (time < first) {
      smallestStep = std::min(smallestStep, first - time);
      first = time;
    }
    if (time > last) {
      smallestStep = std::min(smallestStep, time - last);
      last = time;
    }
  }

  bool mAny = false;
  std::uint32_t mPosition = 0;  // of the entry before
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
  ReserveLargePages(&records, static_cast<int>(count));
  // One more for the end position.
  ReserveLargePages(&cuts, static_cast<int>(count) + current.headerPositions.size() + 1);

  HeaderCuts headers(current.headerPositions);
  EntryScan scan;
  quint64 positions[kPortion];
  int added = 0;
  do {
    added = ReadPortion(id3File, static_cast<int>(count), &records);
    // Positions from 4 GiB on wrap: the high bits are kept in the entry only.
    scan.Add(records.constData() + records.size() - added, added, positions);
    headers.AddCuts(positions, added, &cuts);
    // Behind a read that comes up short a record might begin anywhere.
  } while (added == kPortion);
  if (records.isEmpty()) return false;

  current.indexInterval = TypicalInterval(records);
  current.entriesAscend = scan.timesAscend;
  current.cutsAscend = scan.positionsAscend;
  current.startTime = scan.first;
  current.lastIndexTime = scan.last;
  minIndexStep = std::max(scan.smallestStep, kFloorMinIndexStep);
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
