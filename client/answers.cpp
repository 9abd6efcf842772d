#include "client/answers.h"

#include <algorithm>

#include "archive/stream_map.h"
#include "blocks/commands.h"
#include "blocks/index_record.h"
#include "blocks/notifications.h"
#include "blocks/stream_records.h"

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
