#include "json/record_json.h"

#include <algorithm>

#include "archive/stream_map.h"
#include "blocks/commands.h"
#include "blocks/notifications.h"
#include "blocks/stream_records.h"

namespace {

Json Labelled(Tag type) {
  Json json;
  json["block"] = FourCcText(type);
  return json;
}

Json Notification(Tag kind) {
  Json json = Labelled(tag::kNotify);
  json["kind"] = FourCcText(kind);
  return json;
}

void AddChunkInfo(Json& json, const TZEL3ChunkInfo& info) {
  json["indexId"] = info.indexId;
  json["time"] = info.time;
  json["preview"] = info.preview;
  json["timeReached"] = info.timeReached;
}

Json ChunkAnswer(const ChunkAnswerBlock& block) {
  Json json = Notification(tag::kChunkAnswer);
  AddChunkInfo(json, block.Record().info);
  return json;
}

Json Reset(const ResetBlock& block) {
  const TZEL3ResetNotify& reset = block.Record();
  Json json = Notification(tag::kReset);
  json["indexId"] = reset.indexId;
  json["time"] = reset.time;
  json["mode"] = reset.mode;
  json["forward"] = reset.forward;
  return json;
}

Json ActivityGist(const ActivityGistBlock& block) {
  const TActivityGist& gist = block.Record();
  Json json = Notification(tag::kActivityGist);
  json["from"] = gist.from;
  json["to"] = gist.to;
  json["streamId"] = gist.streamId;
  json["binCount"] = gist.binCount;
  json["levels"] = Json::array();
  return json;
}

Json EventList(const EventListBlock& block) {
  Json json = Notification(tag::kEventList);
  Json& events = json["events"] = Json::array();
  for (const TEventListEntry& event : block.Record().events) {
    Json entry;
    entry["time"] = event.time;
    entry["eventType"] = event.eventType;
    entry["text"] = event.text;
    events.push_back(std::move(entry));
  }
  return json;
}

Json Message(const MessageBlock& block) {
  const TNotifyMessage& message = block.Record();
  Json json = Notification(tag::kMessage);
  json["sender"] = message.sender;
  json["level"] = FourCcText(message.level);
  json["code"] = FourCcText(message.code);
  json["value"] = message.value;
  json["text"] = message.text;
  json["detail"] = message.detail;
  return json;
}

Json Archives(const ArchivesBlock& block) {
  const TArchivesInfo& info = block.Record();
  Json json = Labelled(tag::kArchives);
  json["count"] = info.count;
  json["source"] = info.source;
  const std::size_t held = block.GetExtraSize() / sizeof(TArchiveEntry);
  Json& archives = json["archives"] = Json::array();
  for (std::size_t i = 0; i < std::min<std::size_t>(info.count, held); ++i) {
    const TArchiveEntry& archive = info.Archives()[i];
    Json entry;
    entry["startTime"] = archive.startTime;
    entry["endTime"] = archive.endTime;
    entry["fileNumber"] = archive.fileNumber;
    entry["reserved"] = archive.reserved;
    entry["streams"] = StreamIds(archive);
    archives.push_back(std::move(entry));
  }
  return json;
}

Json RawData(const RawDataBlock& block) {
  Json json = Labelled(tag::kRawData);
  json["size"] = block.Size();
  json["bytes"] = "";
  return json;
}

Json ChunkRequest(const ChunkRequestBlock& block) {
  Json json = Labelled(tag::kChunkRequest);
  json["time"] = block.Record().time;
  json["type"] = block.Record().type;
  return json;
}

Json ParserChunkRequest(const ParserChunkRequestBlock& block) {
  Json json = Labelled(tag::kParserChunkRequest);
  AddChunkInfo(json, block.Record());
  return json;
}

Json Play(const PlayBlock& block) {
  const TZEL3Play& play = block.Record();
  Json json = Labelled(tag::kPlay);
  json["indexId"] = play.indexId;
  json["time"] = play.time;
  json["mode"] = play.mode;
  json["forward"] = play.forward;
  return json;
}

Json ActivityRequest(const ActivityRequestBlock& block) {
  const TZEL3ActivityRequest& request = block.Record();
  Json json = Labelled(tag::kActivityRequest);
  json["from"] = request.from;
  json["to"] = request.to;
  json["binCount"] = request.binCount;
  json["streamId"] = request.streamId;
  return json;
}

Json PreviewRequest(const PreviewRequestBlock& block) {
  Json json = Labelled(tag::kPreviewRequest);
  json["time"] = block.Record().time;
  json["endTime"] = block.Record().endTime;
  return json;
}

// The record of a block of type Block, unless the block is too small for it.
template <class Block>
std::optional<Json> IfWhole(const cMemBlock& block, Json (*asJson)(const Block&)) {
  const Block view = Block::View(block);
  if (!view.HoldsRecord()) return std::nullopt;
  return asJson(view);
}

std::optional<Json> NotificationAsJson(const cMemBlock& block) {
  const NotifyBlock view = NotifyBlock::View(block);
  if (!view.HoldsRecord()) return std::nullopt;
  const Tag kind = view.Record().kind;
  switch (kind) {
    case tag::kChunkAnswer:
      return IfWhole<ChunkAnswerBlock>(block, ChunkAnswer);
    case tag::kReset:
      return IfWhole<ResetBlock>(block, Reset);
    case tag::kActivityGist:
      return IfWhole<ActivityGistBlock>(block, ActivityGist);
    case tag::kEventList:
      return IfWhole<EventListBlock>(block, EventList);
    case tag::kMessage:
      return IfWhole<MessageBlock>(block, Message);
    default:
      return Notification(kind);
  }
}

}  // namespace

std::optional<Json> RecordJson(const cMemBlock& block) {
  switch (block.GetType()) {
    case tag::kNotify:
      return NotificationAsJson(block);
    case tag::kArchives:
      return IfWhole<ArchivesBlock>(block, Archives);
    case tag::kRawData:
      return RawData(RawDataBlock::View(block));
    case tag::kChunkRequest:
      return IfWhole<ChunkRequestBlock>(block, ChunkRequest);
    case tag::kParserChunkRequest:
      return IfWhole<ParserChunkRequestBlock>(block, ParserChunkRequest);
    case tag::kPlay:
      return IfWhole<PlayBlock>(block, Play);
    case tag::kActivityRequest:
      return IfWhole<ActivityRequestBlock>(block, ActivityRequest);
    case tag::kPreviewRequest:
      return IfWhole<PreviewRequestBlock>(block, PreviewRequest);
    default:
      return Labelled(block.GetType());
  }
}
