#include "parser_brick_test.h"

namespace {

std::string Describe(const TZEL3ChunkInfo& entry) {
  const std::string id = entry.indexId == kNoIndexId ? "none" : std::to_string(entry.indexId);
  return " entry " + id + " time " + std::to_string(entry.time) + " preview " +
         std::to_string(entry.preview) + " reached " + std::to_string(entry.timeReached);
}

}  // namespace

std::string Describe(const cMemBlock& block) {
  const Tag type = block.GetType();
  switch (type) {
    case tag::kParserTag:
      return "TagP " + std::to_string(ParserTagBlock::View(block).Record().position);
    case tag::kHeader:
      return "Hdr3 " + HeaderBlock::View(block).Record().title;
    case tag::kIndex:
      return "Idx3 time " + std::to_string(IndexBlock::View(block).Record().time);
    case tag::kStreamTag:
      return "Tag  " + FourCcText(StreamTagBlock::View(block).Record().kind);
    case tag::kParserChunkRequest:
      return "PCR3" + Describe(ParserChunkRequestBlock::View(block).Record());
    case tag::kNotify:
      if (NotifyBlock::View(block).Record().kind != tag::kChunkAnswer) {
        return FourCcText(NotifyBlock::View(block).Record().kind);
      }
      return "IRN3" + Describe(ChunkAnswerBlock::View(block).Record().info);
    case tag::kData:
    case tag::kVideo: {
      const DataBlock data = DataBlock::View(block);
      return FourCcText(type) + " " +
             std::string(reinterpret_cast<const char*>(data.ExtraBytes()), data.GetExtraSize());
    }
    default:
      return FourCcText(type);
  }
}
