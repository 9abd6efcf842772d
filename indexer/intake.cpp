#include "indexer/intake.h"

#include <algorithm>
#include <utility>

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

GroupKey KeyOf(const EVT_FILE_DATA_T& group) {
  return GroupKey{group.time} << 32 | group.offsetLow;
}

}  // namespace

ZEL_ID3_REC NewEntry(FilePosition position, const IDX_T& index) {
  ZEL_ID3_REC entry;
  entry.offsetLow = static_cast<std::uint32_t>(position);
  entry.offsetHigh = static_cast<std::uint16_t>(position >> 32);
  entry.time = index.time;
  if (index.indexFlag != 0) entry.flags = kEntryFlag;
  return entry;
}

void CountActivity(const DATA_T& block, ZEL_ID3_REC* entry) {
  const int level = block.flags & kActivityMask;
  if (level != 0) AddActivity(*entry, block.type, static_cast<std::uint8_t>(2 * level));
}

void Intake::ResetForDraft() {
  sFile_Index_Store empty;
  empty.fileName = current.fileName;
  empty.id3Path = current.id3Path;
  empty.lastIndexTime = current.lastIndexTime;
  empty.partial = current.partial;
  current = std::move(empty);
  groupPlaces.clear();
  // Data that comes before the first index point of a run is keyed on zeros.
  pendingId3Rec = ZEL_ID3_REC();
}

void Intake::Reset() {
  ResetForDraft();
  scratchPos = 0;
  pendingId3RecValid = false;
}

void Intake::AppendPending() {
  if (!pendingId3RecValid) return;
  current.id3Records.append(pendingId3Rec);
  current.startTime = std::min(current.startTime, pendingId3Rec.time);
  current.endTime = std::max(current.endTime, pendingId3Rec.time);
  pendingId3RecValid = false;
}

void cZel3Indexer::BeginIntake() {
  intake.Reset();
}

void cZel3Indexer::SetRecordPosition(FilePosition position) {
  intake.scratchPos = position;
}

void cZel3Indexer::Add_header(const HDR_T& header) {
  sFile_Index_Store& current = intake.current;
  current.headerPositions.append(intake.scratchPos);
  current.blockPositions.append(intake.scratchPos);
  for (const STREAM_T& stream : header.streams) {
    if (stream.streamActive != 0) AddStream(current.streamMap, stream.streamId);
  }
}

void cZel3Indexer::Add_index(const IDX_T& index) {
  sFile_Index_Store& current = intake.current;
  ZEL_ID3_REC& pending = intake.pendingId3Rec;
  current.partial = false;
  if (intake.pendingId3RecValid) {
    current.id3Records.append(pending);
    if (current.startTime > pending.time) current.startTime = pending.time;
    // The end moves to the newest index point, not to the one appended.
    if (current.endTime < pending.time) current.endTime = index.time;
  } else {
    current.startTime = index.time;
    current.endTime = index.time;
  }
  pending = ZEL_ID3_REC();
  intake.pendingId3RecValid = true;
  current.blockPositions.append(intake.scratchPos);
  pending = NewEntry(intake.scratchPos, index);
}

void cZel3Indexer::Add_block(const DATA_T& block, const unsigned char* payload,
                             std::size_t payloadSize) {
  // Level and event count for the pending entry, whether or not there is one yet.
  ZEL_ID3_REC& pending = intake.pendingId3Rec;
  CountActivity(block, &pending);
  if (!IsEventType(block.type)) return;

  const std::size_t length = std::min<std::size_t>(block.length, payloadSize);
  EVT_FILE_EVENT_T event;
  event.eventType = block.type;
  event.text.assign(reinterpret_cast<const char*>(payload), length);
  EVT_FILE_DATA_T group;
  group.time = pending.time;
  group.offsetLow = pending.offsetLow;
  group.eventCount = 1;
  group.events.append(event);
  Update_current_index_events(group);
}

void cZel3Indexer::Update_current_index_events(const EVT_FILE_DATA_T& group) {
  QList<EVT_FILE_DATA_T>& groups = intake.current.events;
  QMultiMap<GroupKey, int>& places = intake.groupPlaces;
  // A place that could not be allocated is missing, and loaded groups have none yet.
  if (places.size() != groups.size()) {
    places.clear();
    for (int place = 0; place < groups.size(); ++place)
      places.insert(KeyOf(groups.at(place)), place);
  }
  const GroupKey key = KeyOf(group);
  auto place = places.constFind(key);
  if (place != places.constEnd()) {
    for (; place != places.constEnd() && place.key() == key; ++place) {
      EVT_FILE_DATA_T& other = groups[*place];
      other.events.append(group.events.first());
      ++other.eventCount;
    }
    return;
  }
  groups.append(group);
  places.insert(key, groups.size() - 1);
}

void cZel3Indexer::CloseLastStretch(FilePosition endPosition) {
  intake.current.blockPositions.append(endPosition);
}
