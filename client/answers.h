#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "archive/recorded_event.h"
#include "blocks/chunk_info.h"
#include "blocks/units.h"
#include "sdk/mem_block.h"

// What a reader answers, taken out of its blocks.

struct ListedArchive {
  ArchiveTime startTime = 0;
  ArchiveTime endTime = 0;
  std::uint32_t fileNumber = 0;
  std::vector<unsigned> streamIds;  // ascending
};

struct ArchiveList {
  std::string source;
  std::vector<ListedArchive> archives;
};

struct FoundEntry {
  std::uint32_t fileNumber = 0;
  std::uint32_t entryNumber = 0;
  ArchiveTime time = 0;
};

// What a block holds; nothing when it is not whole. REQUIRES: its tag says that it is of this kind.

std::optional<ArchiveList> ListIn(const cMemBlock& archives);
std::optional<TZEL3ChunkInfo> EntryIn(const cMemBlock& chunkAnswer);
