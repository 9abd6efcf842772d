#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "blocks/chunk_info.h"
#include "blocks/command_block.h"
#include "blocks/tags.h"
#include "blocks/units.h"

// Commands between bricks.

// The kinds of lookup by time.
enum TChunkRequestType : std::uint32_t {
  kAtOrBefore = 1,  // also ends the reader's stopped state
  kNeighbour = 2,   // the entry after (playing backward: before) the one at or before the time
};

#pragma pack(push, 1)

// 'CRq3': which entry holds a time?
struct TCmdRequestChunk {
  ArchiveTime time = 0;
  std::uint32_t type = 0;  // TChunkRequestType; other values find nothing
};

// 'Pla3': start playing.
struct TZEL3Play {
  IndexId indexId = 0;
  ArchiveTime time = 0;
  std::uint32_t mode = 0;
  std::uint8_t forward = 0;  // non-zero: forward
};

// 'His3': how active was a stream from `from` to `to`?
struct TZEL3ActivityRequest {
  ArchiveTime from = 0;
  ArchiveTime to = 0;
  std::int32_t binCount = 0;
  std::int32_t streamId = 0;
};

// 'Prev': which entry to show for a time?
struct TCmdGetPreview {
  ArchiveTime time = 0;
  ArchiveTime endTime = 0;
};

// One archive file in an archive list.
struct TArchiveEntry {
  ArchiveTime startTime = 0;
  ArchiveTime endTime = 0;
  std::uint32_t fileNumber = 0;
  std::uint32_t reserved = 0;
  std::uint8_t streamMap[32] = {};  // bit (n & 7) of byte (n >> 3): stream n is present
};

// 'ArcA': the archive list. `count` entries follow the record.
struct TArchivesInfo {
  std::uint32_t count = 0;
  std::string source;  // folder or file, local 8-bit encoding

  TArchiveEntry* Archives() { return reinterpret_cast<TArchiveEntry*>(this + 1); }
  const TArchiveEntry* Archives() const { return reinterpret_cast<const TArchiveEntry*>(this + 1); }
};

#pragma pack(pop)

static_assert(sizeof(TCmdRequestChunk) == 12 && sizeof(TZEL3Play) == 21);
static_assert(sizeof(TZEL3ActivityRequest) == 24 && sizeof(TCmdGetPreview) == 16);
static_assert(sizeof(TArchiveEntry) == 56 && offsetof(TArchiveEntry, streamMap) == 24);
static_assert(sizeof(TArchivesInfo) == 4 + sizeof(std::string));
static_assert(sizeof(void*) != 4 || sizeof(TArchivesInfo) == 8);

using ChunkRequestBlock = cCommandBlock<TCmdRequestChunk, tag::kChunkRequest>;
using ParserChunkRequestBlock = cCommandBlock<TZEL3ChunkInfo, tag::kParserChunkRequest>;
using PlayBlock = cCommandBlock<TZEL3Play, tag::kPlay>;
using ActivityRequestBlock = cCommandBlock<TZEL3ActivityRequest, tag::kActivityRequest>;
using PreviewRequestBlock = cCommandBlock<TCmdGetPreview, tag::kPreviewRequest>;
using ArchivesRequestBlock = cCommandBlock<char, tag::kArchivesRequest>;
using DataTickBlock = cCommandBlock<char, tag::kDataTick>;
using ArchivesBlock = cCommandBlock<TArchivesInfo, tag::kArchives>;
using KillBlock = cCommandBlock<char, tag::kKill>;
