#include "tiny_parser.h"

#include <cstring>

#include "archive.h"
#include "messages.h"

namespace {

template <class Number>
Number NumberAt(const std::string& bytes, std::size_t place) {
  Number number;
  std::memcpy(&number, bytes.data() + place, sizeof(number));
  return number;
}

}  // namespace

// The reader asks for more.
int TinyParser::onCtrl(cMemBlock& block) {
  if (block.GetType() == Code("CRq3")) SendBack(MakeCommand("PCR3", ChunkInfo{kNowhere, 0, 0, 0}));
  return 1;
}

int TinyParser::onNotify(const cMemBlock& block) {
  SendData(block);
  return 1;
}

int TinyParser::onData(const cMemBlock& block) {
  if (block.GetType() != Code("RDat")) return 1;
  mBytes.append(reinterpret_cast<const char*>(PayloadOf<DataNode>(block)), block.Node()->size);
  while (const std::size_t length = RecordLength()) {
    Report();
    mBytes.erase(0, length);
    mPosition += length;
  }
  Mark usedUp = {};
  usedUp.kind = Code("TagF");
  SendData(MakeBlock<DataNode>(Code("Tag "), usedUp));
  return 1;
}

std::size_t TinyParser::RecordLength() const {
  std::size_t length = 4;
  if (mBytes.size() < length) return 0;
  const auto marker = NumberAt<std::uint32_t>(mBytes, 0);
  if (marker == kIndexMarker) {
    length = 13;
  } else if (marker != kHeaderMarker) {
    length += NumberAt<std::uint16_t>(mBytes, 0);
  } else if (mBytes.size() < 8) {
    return 0;
  } else {
    length += NumberAt<std::uint16_t>(mBytes, 4) + std::size_t{1};
  }
  return length <= mBytes.size() ? length : 0;
}

void TinyParser::Report() {
  const auto marker = NumberAt<std::uint32_t>(mBytes, 0);
  if (marker == kHeaderMarker) {
    SendPosition();
    SendHeader();
  } else if (marker == kIndexMarker) {
    SendPosition();
    SendData(MakeBlock<DataNode>(Code("Idx3"), NumberAt<IndexPoint>(mBytes, 4)));
  } else {
    const auto head = NumberAt<DataHead>(mBytes, 0);
    const unsigned tag = head.type == kVideoStream ? Code("vid3") : Code("Dat3");
    const cMemBlock block = MakeBlock<DataNode>(tag, head, head.length);
    std::memcpy(PayloadOf<DataNode>(block) + sizeof(head), mBytes.data() + sizeof(head),
                head.length);
    SendData(block);
  }
}

void TinyParser::SendPosition() {
  SendData(MakeBlock<DataNode>(Code("TagP"), Position{mPosition}));
}

void TinyParser::SendHeader() {
  Header header;
  header.streams[0].id = kVideoStream;
  header.streams[0].active = 1;
  SendData(MakeBlock<DataNode>(Code("Hdr3"), header));
}
