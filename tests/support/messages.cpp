#include "support/messages.h"

#include <algorithm>
#include <stdexcept>

ChunkRequestBlock ChunkRequest(std::uint64_t time, std::uint32_t type) {
  ChunkRequestBlock block = ChunkRequestBlock::New();
  block.Record().time = time;
  block.Record().type = type;
  return block;
}

ParserChunkRequestBlock BytesRequest(std::uint64_t indexId, std::uint64_t time,
                                     std::uint8_t preview) {
  ParserChunkRequestBlock block = ParserChunkRequestBlock::New();
  block.Record().indexId = indexId;
  block.Record().time = time;
  block.Record().preview = preview;
  return block;
}

PlayBlock Play(std::uint8_t forward) {
  PlayBlock block = PlayBlock::New();
  block.Record().forward = forward;
  return block;
}

ActivityRequestBlock ActivityRequest(std::uint64_t from, std::uint64_t to, std::int32_t binCount,
                                     std::int32_t streamId) {
  ActivityRequestBlock block = ActivityRequestBlock::New();
  block.Record().from = from;
  block.Record().to = to;
  block.Record().binCount = binCount;
  block.Record().streamId = streamId;
  return block;
}

PreviewRequestBlock PreviewRequest(std::uint64_t time, std::uint64_t endTime) {
  PreviewRequestBlock block = PreviewRequestBlock::New();
  block.Record().time = time;
  block.Record().endTime = endTime;
  return block;
}

ArchivesRequestBlock ArchivesRequest() {
  return ArchivesRequestBlock::New(0);
}

DataTickBlock DataTick() {
  return DataTickBlock::New(0);
}

cMemBlock ParsedPlace(std::uint64_t position) {
  ParserTagBlock block = ParserTagBlock::New();
  block.WritableRecord().position = position;
  return block;
}

cMemBlock ParsedIndex(std::uint32_t indexTime, std::uint8_t indexFlag) {
  IndexBlock block = IndexBlock::New();
  block.WritableRecord().time = indexTime;
  block.WritableRecord().indexFlag = indexFlag;
  return block;
}

namespace {

template <Tag kTag>
cMemBlock DataOfKind(const DATA_T& head, const std::string& payload) {
  using Block = cStructBlock<DATA_T, kTag>;
  Block block = Block::New(static_cast<std::uint32_t>(sizeof(DATA_T) + payload.size()));
  block.WritableRecord() = head;
  std::copy(payload.begin(), payload.end(), block.WritableBytes() + sizeof(DATA_T));
  return block;
}

}  // namespace

cMemBlock ParsedData(const DATA_T& head, const std::string& payload, Tag kind) {
  switch (kind) {
    case tag::kData:
      return DataOfKind<tag::kData>(head, payload);
    case tag::kVideo:
      return DataOfKind<tag::kVideo>(head, payload);
    case tag::kSound:
      return DataOfKind<tag::kSound>(head, payload);
    case tag::kImage:
      return DataOfKind<tag::kImage>(head, payload);
    case tag::kText:
      return DataOfKind<tag::kText>(head, payload);
    case tag::kBinary:
      return DataOfKind<tag::kBinary>(head, payload);
    case tag::kUnknownKind:
      return DataOfKind<tag::kUnknownKind>(head, payload);
    default:
      throw std::invalid_argument("no kind of data: " + FourCcText(kind));
  }
}

cMemBlock StreamMark(Tag kind) {
  StreamTagBlock block = StreamTagBlock::New();
  block.WritableRecord().kind = kind;
  return block;
}

cMemBlock Message(Tag level, Tag code) {
  MessageBlock block = MessageBlock::New();
  block.Record().level = level;
  block.Record().code = code;
  return block;
}
