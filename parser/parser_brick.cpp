#include "parser/parser_brick.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "blocks/commands.h"
#include "blocks/contain.h"
#include "blocks/notifications.h"
#include "blocks/scoped_value.h"
#include "blocks/stream_records.h"

namespace {

// This many blocks may wait without new memory. More than one waits only when the parser cannot go
// on.
constexpr std::size_t kRoom = 16;

bool IsForReader(Tag command) {
  switch (command) {
    case tag::kChunkRequest:
    case tag::kPlay:
    case tag::kActivityRequest:
    case tag::kPreviewRequest:
    case tag::kArchivesRequest:
    case tag::kDataTick:
      return true;
    default:
      return false;
  }
}

std::uint32_t SignExtended(std::int16_t word) {
  return static_cast<std::uint32_t>(std::int32_t{word});
}

template <Tag kKind>
cMemBlock NewDataBlock(const DATA_T& head, const unsigned char* payload) {
  auto block =
      cStructBlock<DATA_T, kKind>::New(static_cast<std::uint32_t>(sizeof(head)) + head.length);
  unsigned char* const bytes = block.FreshBytes();
  std::memcpy(bytes, &head, sizeof(head));
  std::memcpy(bytes + sizeof(head), payload, head.length);
  return block;
}

cMemBlock NewDataBlock(Tag kind, const DATA_T& head, const unsigned char* payload) {
  switch (kind) {
    case tag::kVideo:
      return NewDataBlock<tag::kVideo>(head, payload);
    case tag::kSound:
      return NewDataBlock<tag::kSound>(head, payload);
    case tag::kImage:
      return NewDataBlock<tag::kImage>(head, payload);
    case tag::kText:
      return NewDataBlock<tag::kText>(head, payload);
    case tag::kBinary:
      return NewDataBlock<tag::kBinary>(head, payload);
    case tag::kUnknownKind:
      return NewDataBlock<tag::kUnknownKind>(head, payload);
    default:
      return NewDataBlock<tag::kData>(head, payload);
  }
}

}  // namespace

ParserBrick::ParserBrick() : mParser(*this) {
  mWaiting.reserve(kRoom);
}

bool ParserBrick::IsKnownInput(const TContentDescriptor& input) {
  return input.format == tag::kFormatZel3 && input.kind == tag::kRawData;
}

bool ParserBrick::IsKnownOutput(const TContentDescriptor& output) {
  return output.format == tag::kFormatMany && output.kind == tag::kKindMany;
}

// A command that cannot be passed on is dropped; it does not wait for data, which goes the other
// way.
int ParserBrick::onCtrl(cMemBlock& block) {
  GoOn();
  TryAFewTimes([&] { PassCommand(block); });
  return 1;
}

int ParserBrick::onData(const cMemBlock& block) {
  if (block.GetType() == tag::kRawData) Take(block);
  return 1;
}

int ParserBrick::onNotify(const cMemBlock& block) {
  Take(block);
  return 1;
}

void ParserBrick::Take(const cMemBlock& block) {
  // Whatever came after a missing block would be wrong.
  mStuck = mStuck || !Contain([&] { mWaiting.push_back(block); });
  GoOn();
}

// A host may call again from within a send; what comes then waits for its turn.
void ParserBrick::GoOn() {
  if (mGoingOn || mStuck) return;
  const ScopedValue<bool> goingOn(mGoingOn, true);
  TryAFewTimes([this] {
    while (!mWaiting.empty()) {
      const cMemBlock block = mWaiting.front();
      Handle(block);
      mWaiting.erase(mWaiting.begin());
      mStepsDone = 0;
    }
  });
}

void ParserBrick::Handle(const cMemBlock& block) {
  if (block.GetType() == tag::kRawData) {
    ParseAndAskForMore(block);
  } else {
    PassNotification(block);
  }
}

template <class Work>
void ParserBrick::Once(int step, const Work& work) {
  if (mStepsDone >= step) return;
  work();
  mStepsDone = step;
}

void ParserBrick::PassCommand(const cMemBlock& block) {
  const Tag command = block.GetType();
  if (CameFrom() != Side::kUpstream && IsForReader(command)) SendUp(block);
  // The list goes to both sides, since commands have no other way down; a reader ignores the tag.
  if (CameFrom() == Side::kUpstream && command == tag::kArchives) SendCmd(block);
}

void ParserBrick::PassNotification(const cMemBlock& block) {
  const NotifyBlock notification = NotifyBlock::View(block);
  if (!notification.HoldsRecord()) return;
  if (notification.Record().kind != tag::kChunkAnswer) {
    SendData(block);
    return;
  }
  const ChunkAnswerBlock answer = ChunkAnswerBlock::View(block);
  if (!answer.HoldsRecord()) return;
  const TZEL3ChunkInfo& entry = answer.Record().info;
  if (entry.indexId != kNoIndexId) mBlocksAreEntries = true;
  Once(1, [&] { SendData(block); });
  Once(2, [&] {
    ParserChunkRequestBlock request = ParserChunkRequestBlock::New();
    request.Record() = entry;
    SendUp(request);
  });
}

void ParserBrick::ParseAndAskForMore(const cMemBlock& block) {
  const RawDataBlock raw = RawDataBlock::View(block);
  Once(1, [&] {
    if (mBlocksAreEntries) mParser.Restart();
  });
  Once(2, [&] { mParser.Feed(raw.Bytes(), raw.Size()); });
  Once(3, [&] {
    StreamTagBlock finished = StreamTagBlock::New();
    finished.FreshRecord().kind = tag::kBlockFinished;
    SendData(finished);
  });
}

void ParserBrick::OnHeader(FilePosition position, const ArchiveHeader& header) {
  HeaderBlock block = HeaderBlock::New();
  HDR_T& record = block.FreshRecord();
  record.headerWord0 = SignExtended(header.length);
  record.headerWord1 = SignExtended(header.firstIndexDelta);
  record.title = header.title;
  const std::size_t count = std::min(header.streams.size(), std::size(record.streams));
  for (std::size_t i = 0; i < count; ++i) {
    record.streams[i].streamId = header.streams[i].id;
    record.streams[i].streamActive = header.streams[i].active;
    record.streams[i].text1 = header.streams[i].kind;
    record.streams[i].text2 = header.streams[i].name;
    record.streams[i].text3 = header.streams[i].format;
  }
  SendPosition(position);
  SendData(block);
}

void ParserBrick::OnIndex(FilePosition position, const IDX_T& index) {
  IndexBlock block = IndexBlock::New();
  block.FreshRecord() = index;
  SendPosition(position);
  SendData(block);
}

void ParserBrick::OnData(std::uint64_t, const DATA_T& head, const unsigned char* payload,
                         Tag kind) {
  SendData(NewDataBlock(kind, head, payload));
}

// Called again when the record could not be sent after its position.
void ParserBrick::SendPosition(FilePosition position) {
  if (position == mPositionSent) return;
  ParserTagBlock block = ParserTagBlock::New();
  block.FreshRecord().position = position;
  SendData(block);
  mPositionSent = position;
}
