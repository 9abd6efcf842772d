#include "support/block_text.h"

#include "blocks/commands.h"
#include "blocks/notifications.h"
#include "blocks/stream_records.h"

namespace {

std::string Word(const std::string& text) {
  return text.empty() ? text : " " + text;
}

std::string CodeWord(Tag code) {
  std::string text = FourCcText(code);
  while (!text.empty() && text.back() == ' ') text.pop_back();
  return text;
}

std::string AnswerText(const TZEL3ChunkInfo& info) {
  const std::string entry = info.indexId == kNoIndexId
                                ? "none"
                                : std::to_string(FileNumber(info.indexId)) + "/" +
                                      std::to_string(EntryNumber(info.indexId));
  return "IRN3 " + entry + " at " + std::to_string(info.time) + (info.preview ? " preview" : "") +
         (info.timeReached ? " reached" : "");
}

std::string NotificationText(const cMemBlock& block) {
  switch (NotifyBlock::View(block).Record().kind) {
    case tag::kChunkAnswer:
      return AnswerText(ChunkAnswerBlock::View(block).Record().info);
    case tag::kMessage: {
      const MessageBlock view = MessageBlock::View(block);
      const TNotifyMessage& message = view.Record();
      return CodeWord(message.level) + Word(CodeWord(message.code)) + Word(message.text) +
             Word(message.detail);
    }
    case tag::kEventList:
      return "Evt " + std::to_string(EventListBlock::View(block).Record().events.size());
    default:
      const NotifyBlock view = NotifyBlock::View(block);
      return FourCcText(view.Record().kind) + " " + std::to_string(view.Size());
  }
}

}  // namespace

std::string BlockText(const cMemBlock& block) {
  switch (block.GetType()) {
    case tag::kNotify:
      return NotificationText(block);
    case tag::kRawData:
      return "RDat " + std::to_string(RawDataBlock::View(block).Size());
    case tag::kArchives: {
      const ArchivesBlock view = ArchivesBlock::View(block);
      return "ArcA " + std::to_string(view.Record().count) + " " + view.Record().source;
    }
    case tag::kChunkRequest: {
      const ChunkRequestBlock view = ChunkRequestBlock::View(block);
      return "CRq3 " + std::to_string(view.Record().time) + " type " +
             std::to_string(view.Record().type);
    }
    case tag::kKill: {
      const KillBlock view = KillBlock::View(block);
      const char* const bytes = &view.Record();
      std::string text = "Kill";
      for (std::uint32_t i = 0; i < view.Size(); ++i) text += " " + std::to_string(bytes[i]);
      return text;
    }
    default:
      return FourCcText(block.GetType());
  }
}
