#pragma once

#include <QList>
#include <cstddef>
#include <cstdint>
#include <string>

#include "blocks/chunk_info.h"
#include "blocks/command_block.h"
#include "blocks/tags.h"
#include "blocks/units.h"

// Notifications: command blocks tagged 'ntfy' whose payload begins with the kind. All times are
// archive times.

#pragma pack(push, 1)

// The start of every notification.
struct TNotifyBase {
  std::uint32_t kind = 0;
};

// 'IRN3': the entry that answers a chunk or preview request.
struct TZEL3ChunkRequestNotify {
  std::uint32_t kind = tag::kChunkAnswer;
  TZEL3ChunkInfo info;
};

// 'rset': playing has started or restarted; the fields echo the play command.
struct TZEL3ResetNotify {
  std::uint32_t kind = tag::kReset;
  IndexId indexId = kNoIndexId;
  ArchiveTime time = 0;
  std::uint32_t mode = 1;
  std::uint8_t forward = 1;
};

// 'Gist': activity over a range. `binCount` level bytes (0-63) follow the record.
struct TActivityGist {
  std::uint32_t kind = tag::kActivityGist;
  ArchiveTime from = 0;
  ArchiveTime to = 0;
  std::int32_t streamId = 0;
  std::int32_t binCount = 0;

  std::uint8_t* Levels() { return reinterpret_cast<std::uint8_t*>(this + 1); }
  const std::uint8_t* Levels() const { return reinterpret_cast<const std::uint8_t*>(this + 1); }
};

// One recorded event.
struct TEventListEntry {
  ArchiveTime time = 0;
  std::uint8_t eventType = 0;
  std::string text;
};

// 'Evt ': all events. The list is shared with the block, not copied into it.
struct TEventList {
  std::uint32_t kind = tag::kEventList;
  QList<TEventListEntry> events;
};

// 'NMsg': a warning, an error or progress.
struct TNotifyMessage {
  std::uint32_t kind = tag::kMessage;
  std::uint32_t sender = 0;  // signature of the sending brick
  std::uint32_t level = 0;   // four-character tag
  std::uint32_t code = 0;    // four-character tag or 0
  std::int32_t value = -1;
  std::string text;
  std::string detail;
};

#pragma pack(pop)

static_assert(sizeof(TNotifyBase) == 4 && sizeof(TZEL3ChunkRequestNotify) == 22);
static_assert(sizeof(TZEL3ResetNotify) == 25 && sizeof(TActivityGist) == 28);
static_assert(offsetof(TActivityGist, streamId) == 20 && offsetof(TActivityGist, binCount) == 24);
static_assert(sizeof(TEventListEntry) == 9 + sizeof(std::string));
static_assert(sizeof(TEventList) == 4 + sizeof(void*));
static_assert(sizeof(TNotifyMessage) == 20 + 2 * sizeof(std::string));
static_assert(sizeof(void*) != 4 || (sizeof(TEventListEntry) == 13 && sizeof(TEventList) == 8));
static_assert(sizeof(void*) != 4 || sizeof(TNotifyMessage) == 28);

using NotifyBlock = cCommandBlock<TNotifyBase, tag::kNotify>;
using ChunkAnswerBlock = cCommandBlock<TZEL3ChunkRequestNotify, tag::kNotify>;
using ResetBlock = cCommandBlock<TZEL3ResetNotify, tag::kNotify>;
using ActivityGistBlock = cCommandBlock<TActivityGist, tag::kNotify>;
using EventListBlock = cCommandBlock<TEventList, tag::kNotify>;
using MessageBlock = cCommandBlock<TNotifyMessage, tag::kNotify>;
