#include <algorithm>

#include "indexer/zel3_indexer.h"

namespace {

// Keeps the largest doubled level of each of the first six streams of an entry.
void AddActivity(ZEL_ID3_REC& entry, std::uint8_t streamId, std::uint8_t level) {
  TActivityPair* const used = entry.activity;
  TActivityPair* const end = used + entry.activityCount;
  TActivityPair* const pair = std::find_if(
      used, end, [streamId](const TActivityPair& other) { return other.streamId == streamId; });
  if (pair != end) {
    pair->level = std::max(pair->level, level);
  } else if (entry.activityCount < kMaxActivityPairs) {
    *pair = TActivityPair{streamId, level};
    ++entry.activityCount;
  }
}

quint64 KeyOf(const EVT_FILE_DATA_T& group) {
  return quint64{group.time} << 32 | group.offsetLow;
}

}  // namespace

void cZel3Indexer::Begin_intake() {
  current.headerPositions = QVector<quint64>();
  current.id3Records = QVector<ZEL_ID3_REC>();
  current.events.clear();
  groupPlaces.clear();
  current.blockPositions = QVector<quint64>();
  current.entriesAscend = current.headersAscend = current.cutsAscend = false;
  current.streamMap = StreamMap{};
  scratchPos = 0;
  pendingId3Rec = ZEL_ID3_REC();
  pendingId3RecValid = false;
}

void cZel3Indexer::Add_header(const HDR_T& header) {
  current.headerPositions.append(scratchPos);
  current.blockPositions.append(scratchPos);
  for (const STREAM_T& stream : header.streams) {
    if (stream.streamActive != 0) AddStream(current.streamMap, stream.streamId);
  }
}

void cZel3Indexer::Add_index(const IDX_T& index) {
  current.partial = false;
  if (pendingId3RecValid) {
    current.id3Records.append(pendingId3Rec);
    const IndexTime time = pendingId3Rec.time;
    if (current.startTime > time) current.startTime = time;
    // The end moves to the newest index point, not to the one appended.
    if (current.endTime < time) current.endTime = index.time;
  } else {
    current.startTime = index.time;
    current.endTime = index.time;
  }
  pendingId3Rec = ZEL_ID3_REC();
  pendingId3RecValid = true;
  current.blockPositions.append(scratchPos);
  pendingId3Rec.offsetLow = static_cast<std::uint32_t>(scratchPos);
  pendingId3Rec.offsetHigh = static_cast<std::uint16_t>(scratchPos >> 32);
  pendingId3Rec.time = index.time;
  if (index.indexFlag != 0) pendingId3Rec.flags = kEntryFlag;
}

void cZel3Indexer::Add_block(const DATA_T& block, const unsigned char* payload,
                             std::size_t payloadSize) {
  // Both count for the pending entry, whether or not there is one yet.
  const int level = block.flags & kActivityMask;
  if (level != 0) AddActivity(pendingId3Rec, block.type, static_cast<std::uint8_t>(2 * level));
  if (!IsEventType(block.type)) return;

  const std::size_t length = std::min<std::size_t>(block.length, payloadSize);
  EVT_FILE_EVENT_T event;
  event.eventType = block.type;
  event.text.assign(reinterpret_cast<const char*>(payload), length);
  EVT_FILE_DATA_T group;
  group.time = pendingId3Rec.time;
  group.offsetLow = pendingId3Rec.offsetLow;
  group.eventCount = 1;
  group.events.append(event);
  Update_current_index_events(group);
}

void cZel3Indexer::Update_current_index_events(const EVT_FILE_DATA_T& group) {
  // A place that found no memory is missing.
  if (groupPlaces.size() != current.events.size()) {
    groupPlaces.clear();
    for (int place = 0; place < current.events.size(); ++place)
      groupPlaces.insert(KeyOf(current.events.at(place)), place);
  }
  const quint64 key = KeyOf(group);
  auto place = groupPlaces.constFind(key);
  if (place != groupPlaces.constEnd()) {
    for (; place != groupPlaces.constEnd() && place.key() == key; ++place) {
      EVT_FILE_DATA_T& other = current.events[*place];
      other.events.append(group.events.first());
      ++other.eventCount;
    }
    return;
  }
  current.events.append(group);
  groupPlaces.insert(key, current.events.size() - 1);
}
