#include "client/answers.h"

#include <algorithm>

#include "archive/stream_map.h"
#include "blocks/commands.h"
#include "blocks/index_record.h"
#include "blocks/notifications.h"
#include "blocks/stream_records.h"

namespace {

bool EndsWithTerminatingMarker(const RawDataBlock& block) {
  if (block.Size() < kIndexRecordSize) return false;
  const auto marker = EncodeIndexRecord(IDX_T());
  return std::equal(marker.begin(), marker.end(), block.Bytes() + block.Size() - kIndexRecordSize);
}

}  // namespace

FoundEntry AsFound(const TZEL3ChunkInfo& info) {
  return {FileNumber(info.indexId), EntryNumber(info.indexId), info.time};
}

std::optional<ArchiveList> ListIn(const cMemBlock& archives) {
  const ArchivesBlock block = ArchivesBlock::View(archives);
  if (!block.HoldsRecord()) return std::nullopt;
  const TArchivesInfo& info = block.Record();
  ArchiveList list;
  list.source = info.source;
  const std::size_t held = block.GetExtraSize() / sizeof(TArchiveEntry);
  for (std::size_t i = 0; i < std::min<std::size_t>(info.count, held); ++i) {
    const TArchiveEntry& archive = info.Archives()[i];
    list.archives.push_back(
        {archive.startTime, archive.endTime, archive.fileNumber, StreamIds(archive)});
  }
  return list;
}

std::optional<TZEL3ChunkInfo> EntryIn(const cMemBlock& chunkAnswer) {
  const ChunkAnswerBlock block = ChunkAnswerBlock::View(chunkAnswer);
  if (!block.HoldsRecord()) return std::nullopt;
  return block.Record().info;
}

std::optional<std::vector<RecordedEvent>> EventsIn(const cMemBlock& eventList) {
  const EventListBlock block = EventListBlock::View(eventList);
  if (!block.HoldsRecord()) return std::nullopt;
  std::vector<RecordedEvent> events;
  for (const TEventListEntry& event : block.Record().events) {
    events.push_back({event.time, event.eventType, event.text});
  }
  return events;
}

std::optional<std::vector<std::uint8_t>> LevelsIn(const cMemBlock& activityGist) {
  const ActivityGistBlock block = ActivityGistBlock::View(activityGist);
  if (!block.HoldsRecord()) return std::nullopt;
  const std::uint8_t* const levels = block.Record().Levels();
  return std::vector<std::uint8_t>(levels, levels + block.GetExtraSize());
}

std::optional<std::vector<unsigned char>> BytesIn(const cMemBlock& rawData) {
  const RawDataBlock block = RawDataBlock::View(rawData);
  if (!EndsWithTerminatingMarker(block)) return std::nullopt;
  return std::vector<unsigned char>(block.Bytes(), block.Bytes() + block.Size() - kIndexRecordSize);
}
