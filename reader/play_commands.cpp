#include "reader/zel3_file_reader.h"

namespace {

// The entry at the time, or the next one when that entry is earlier.
bool FindPreview(cZel3Indexer& indexer, ArchiveTime time, TZEL3ChunkInfo* info) {
  if (!indexer.IndexInfoFromTime(time, kAtOrBefore, true, info)) {
    return indexer.IndexInfoFromTime(time, kNeighbour, true, info);
  }
  if (info->time >= time) return true;
  // From the time found, not from the one asked for.
  return indexer.IndexInfoFromTime(info->time, kNeighbour, true, info);
}

}  // namespace

void CZel3FileReader::OnPlayCmd(const PlayBlock& command) {
  if (!playing.eventsSent) {
    playing.eventsSent = true;
    try {
      Send_all_events_notify();
    } catch (...) {
      playing.eventsSent = false;
      throw;
    }
  }
  // The next bytes sent begin with the stream header again.
  playing.lastChunk = TZEL3ChunkInfo();
  const TZEL3Play& play = command.Record();
  playing.playForward = play.forward != 0;

  auto reset = ResetBlock::New();
  reset.Record().indexId = play.indexId;
  reset.Record().time = play.time;
  reset.Record().mode = play.mode;
  reset.Record().forward = play.forward;
  const std::weak_ptr<const void> watch = life.Watch();
  SendData(reset);
  // Even if the receiver has asked for a start during the send.
  if (!watch.expired()) playing.streamStopped = true;
}

void CZel3FileReader::OnCmdGetActivity(const ActivityRequestBlock& request) {
  const TZEL3ActivityRequest wanted = request.Record();
  const std::uint32_t binCount =
      wanted.binCount > 0 ? static_cast<std::uint32_t>(wanted.binCount) : 0;
  auto gist = ActivityGistBlock::New(static_cast<std::uint32_t>(sizeof(TActivityGist)) + binCount);
  indexer.Fill_activity(wanted, &gist.Record());
  SendData(gist);
}

void CZel3FileReader::OnCmdGetPreview(const PreviewRequestBlock& request) {
  if (playing.streamStopped || run.IsOn()) return;
  const TCmdGetPreview wanted = request.Record();
  TZEL3ChunkInfo info;
  if (!FindPreview(indexer, wanted.time, &info)) return;
  // No run is started for a preview.
  if (!indexer.fileToIndex.isEmpty()) return;
  info.preview = 1;
  info.timeReached = wanted.endTime <= info.time ? 1 : 0;
  SendChunkAnswer(info);
}

void CZel3FileReader::Send_all_events_notify() {
  auto events = EventListBlock::New();
  QList<TEventListEntry> list;
  if (!indexer.Put_events_to_vector(&list)) return;
  events.Record().events = list;
  SendData(events);
}
