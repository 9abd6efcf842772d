#pragma once

#include <QList>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <string>

#include "sdk/brick.h"

// The blocks that this host exchanges with the reader, laid out by hand.

constexpr unsigned Code(const char (&text)[5]) {
  unsigned code = 0;
  for (int i = 3; i >= 0; --i) code = code << 8 | static_cast<unsigned char>(text[i]);
  return code;
}
constexpr unsigned kKill = Code("Kill");
constexpr unsigned kNotify = Code("ntfy");
constexpr std::uint64_t kNowhere = ~std::uint64_t{0};

#pragma pack(push, 1)
struct ChunkRequest {
  std::uint64_t time;
  std::uint32_t type;
};
struct ChunkInfo {
  std::uint64_t indexId;
  std::uint64_t time;
  std::uint8_t preview;
  std::uint8_t timeReached;
};
struct Play {
  std::uint64_t indexId;
  std::uint64_t time;
  std::uint32_t mode;
  std::uint8_t forward;
};
struct ActivityRequest {
  std::uint64_t from;
  std::uint64_t to;
  std::int32_t binCount;
  std::int32_t streamId;
};
struct PreviewRequest {
  std::uint64_t time;
  std::uint64_t endTime;
};
struct ArchiveList {
  std::uint32_t count;
  std::string source;
};
struct ListedArchive {
  std::uint64_t startTime;
  std::uint64_t endTime;
  std::uint32_t fileNumber;
  std::uint32_t reserved;
  std::uint8_t streamMap[32];
};
struct ChunkAnswer {
  std::uint32_t kind;
  ChunkInfo info;
};
struct PlayAnswer {
  std::uint32_t kind;
  Play play;
};
struct Activity {
  std::uint32_t kind;
  std::uint64_t from;
  std::uint64_t to;
  std::int32_t streamId;
  std::int32_t binCount;
};
struct Event {
  std::uint64_t time;
  std::uint8_t type;
  std::string text;
};
struct EventList {
  std::uint32_t kind;
  QList<Event> events;
};
struct Message {
  std::uint32_t kind, sender, level, code;
  std::int32_t value;
  std::string text, detail;
};
struct Stream {
  std::uint8_t id = 0, active = 0;
  std::string text[3];
};
struct Header {
  std::uint32_t words[2] = {};
  std::string title;
  Stream streams[256];
  std::string extra[9];
};
struct IndexPoint {
  std::uint32_t time, reserved;
  std::uint8_t flag;
};
struct DataHead {
  std::uint16_t length;
  std::uint8_t flags, type;
};
struct Position {
  std::uint64_t position;
};
struct Mark {
  std::uint8_t head[16];
  std::uint32_t kind, value;
  std::uint8_t tail[8];
};
#pragma pack(pop)
static_assert(sizeof(void*) == 8 || (sizeof(Header) == 3632 && sizeof(Message) == 28), "packed");

// How the node of a data block begins, and that of a command.
struct DataNode : cMemBlock::node {
  void unref() override;
};
struct CommandNode : cMemBlock::node {
  void unref() override;

  CBrick** route = new CBrick*[10];
  unsigned routeCount = 0;
  unsigned routeCapacity = 10;
  CCriticalSection routeLock;
};
static_assert(sizeof(DataNode) == (sizeof(void*) == 4 ? 40 : 64), "the payload follows");
static_assert(sizeof(CommandNode) == (sizeof(void*) == 4 ? 76 : 120), "the payload follows");

// Where the payload is.
template <class Node>
unsigned char* PayloadOf(const cMemBlock& block) {
  return reinterpret_cast<unsigned char*>(block.Node()) + sizeof(Node);
}
template <class Record>
Record& CommandIn(const cMemBlock& block) {
  return *reinterpret_cast<Record*>(PayloadOf<CommandNode>(block));
}
template <class Record>
Record& DataIn(const cMemBlock& block) {
  return *reinterpret_cast<Record*>(PayloadOf<DataNode>(block));
}

// A block with `Record` and `extra` zero bytes after it. The record is never destroyed by these
// nodes, so one that owns texts leaves them empty.
template <class Node, class Record>
cMemBlock MakeBlock(unsigned tag, const Record& record, std::size_t extra = 0) {
  const std::size_t size = sizeof(Record) + extra;
  Node* const node = new (std::calloc(1, sizeof(Node) + size)) Node();
  node->type = tag;
  node->size = static_cast<unsigned>(size);
  const cMemBlock block(node);
  new (PayloadOf<Node>(block)) Record(record);
  return block;
}
template <class Record>
cMemBlock MakeCommand(const char (&tag)[5], const Record& record) {
  return MakeBlock<CommandNode>(Code(tag), record);
}

// The kind of a notification; otherwise the block's tag.
inline unsigned KindOf(const cMemBlock& block) {
  return block.GetType() == kNotify ? CommandIn<std::uint32_t>(block) : block.GetType();
}
