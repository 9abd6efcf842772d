#include "indexer/events_file.h"

#include <algorithm>
#include <limits>
#include <new>

#include "blocks/byte_cursor.h"

namespace {

constexpr qint64 kEventGroupHead = 9;
// A file of just one group with one empty text is never read.
constexpr std::uint64_t kSmallestReadEventFile = 12;
constexpr qint64 kSmallestNextGroup = 12;
constexpr qint64 kSmallestEvent = 3;

// The events of one group, as far as the file holds them. `left` counts the bytes of the file not
// yet taken; an unterminated last text lets it fall below zero.
QVector<EVT_FILE_EVENT_T> ReadEvents(ByteCursor& cursor, std::uint8_t wanted, qint64& left) {
  QVector<EVT_FILE_EVENT_T> events;
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

bool LoadEvents(PlainFile& file, QList<EVT_FILE_DATA_T>* groups) {
  const std::uint64_t size = file.Size();
  if (size < kSmallestReadEventFile || size >= std::numeric_limits<int>::max()) return false;
  try {
    QByteArray bytes;
    bytes.resize(static_cast<int>(size));
    const std::size_t got = file.Read(bytes.data(), static_cast<std::size_t>(size));
    *groups = ReadEventGroups(bytes.constData(), static_cast<qint64>(got));
  } catch (const std::bad_alloc&) {
    *groups = QList<EVT_FILE_DATA_T>();
  }
  return !groups->isEmpty();
}

bool WriteEvents(PlainFile& file, const QList<EVT_FILE_DATA_T>& groups) {
  return std::all_of(groups.begin(), groups.end(),
                     [&file](const EVT_FILE_DATA_T& group) { return WriteGroup(file, group); });
}
