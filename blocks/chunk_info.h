#pragma once

#include <cstdint>

// Names no index entry.
constexpr std::uint64_t kNoIndexId = ~std::uint64_t{0};

#pragma pack(push, 1)

// One index entry.
struct TZEL3ChunkInfo {
  // Low 32 bits: entry number within its file. High 32 bits: file number. All ones: no entry.
  std::uint64_t indexId = kNoIndexId;
  std::uint64_t time = 0;  // archive time of the entry
  std::uint8_t preview = 0;
  // In the answer to a preview: 1 when the end asked for is not after `time`.
  std::uint8_t timeReached = 0;
};

#pragma pack(pop)

static_assert(sizeof(TZEL3ChunkInfo) == 18);

constexpr std::uint64_t MakeIndexId(std::uint32_t fileNumber, std::uint32_t entryNumber) {
  return std::uint64_t{fileNumber} << 32 | entryNumber;
}
constexpr std::uint32_t FileNumber(std::uint64_t indexId) {
  return static_cast<std::uint32_t>(indexId >> 32);
}
constexpr std::uint32_t EntryNumber(std::uint64_t indexId) {
  return static_cast<std::uint32_t>(indexId);
}
