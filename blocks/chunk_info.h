#pragma once

#include <cstdint>

#include "blocks/units.h"

// Names an index entry: the number of its file in the high 32 bits, its number within that file in
// the low 32.
using IndexId = std::uint64_t;

constexpr IndexId kNoIndexId = ~IndexId{0};

#pragma pack(push, 1)

// One index entry.
struct TZEL3ChunkInfo {
  IndexId indexId = kNoIndexId;
  ArchiveTime time = 0;
  std::uint8_t preview = 0;
  // In the answer to a preview: 1 when the end asked for is not after `time`.
  std::uint8_t timeReached = 0;
};

#pragma pack(pop)

static_assert(sizeof(TZEL3ChunkInfo) == 18);

constexpr IndexId MakeIndexId(std::uint32_t fileNumber, std::uint32_t entryNumber) {
  return IndexId{fileNumber} << 32 | entryNumber;
}
constexpr std::uint32_t FileNumber(IndexId indexId) {
  return static_cast<std::uint32_t>(indexId >> 32);
}
constexpr std::uint32_t EntryNumber(IndexId indexId) {
  return static_cast<std::uint32_t>(indexId);
}
