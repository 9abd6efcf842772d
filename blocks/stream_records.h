#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "blocks/four_cc.h"
#include "blocks/struct_block.h"
#include "blocks/tags.h"
#include "blocks/units.h"

// The records of the archive stream: what a parser finds in an archive and reports, record by
// record.

// Markers in the file, little-endian: B5 B5 05 B5 before a header, 05 B5 B5 B5 before an index
// record.
constexpr std::uint32_t kHeaderMarker = 0xB505B5B5;
constexpr std::uint32_t kIndexMarker = 0xB5B5B505;
constexpr std::size_t kMarkerSize = 4;

#pragma pack(push, 1)

// One stream of an archive.
struct STREAM_T {
  std::uint8_t streamId = 0;
  std::uint8_t streamActive = 0;  // non-zero: the stream is present
  std::string text1;
  std::string text2;
  std::string text3;
};

// One archive header.
struct HDR_T {
  std::uint32_t headerWord0 = 0;  // carried unchanged, like the next
  std::uint32_t headerWord1 = 0;
  std::string title;
  STREAM_T streams[256];
  std::string extraText[9];  // carried unchanged
};

// One index record; the nine bytes that follow an index marker in the file.
struct IDX_T {
  IndexTime time = 0;
  std::uint32_t reserved = 0;
  std::uint8_t indexFlag = 0;  // non-zero marks the entry
};

// One data block. Its `length` payload bytes follow as the extra bytes of the memory block.
struct DATA_T {
  std::uint16_t length = 0;
  std::uint8_t flags = 0;  // bits 0-4: activity level
  std::uint8_t type = 0;   // stream id or event type
};

// The position in the file, in bytes, of the next reported header or index record.
struct TParserTag {
  FilePosition position = 0;
};

// A mark in the stream.
struct TStreamTag {
  std::uint8_t head[16] = {};
  std::uint32_t kind = 0;  // four-character tag
  std::uint32_t value = 0;
  std::uint8_t tail[8] = {};
};

#pragma pack(pop)

static_assert(sizeof(IDX_T) == 9 && sizeof(DATA_T) == 4 && sizeof(TParserTag) == 8);
static_assert(sizeof(TStreamTag) == 32 && offsetof(TStreamTag, kind) == 16);
static_assert(sizeof(STREAM_T) == 2 + 3 * sizeof(std::string));
static_assert(sizeof(HDR_T) == 8 + 10 * sizeof(std::string) + 256 * sizeof(STREAM_T));
static_assert(sizeof(void*) != 4 || (sizeof(STREAM_T) == 14 && sizeof(HDR_T) == 3632));

constexpr std::size_t kIndexRecordSize = kMarkerSize + sizeof(IDX_T);
static_assert(kIndexRecordSize == 13);

constexpr std::uint8_t kActivityMask = 0x1F;  // of DATA_T::flags

// Whether the payload of a data block with this `type` is the text of an event. The set is fixed.
constexpr bool IsEventType(std::uint8_t type) {
  switch (type) {
    case 0x80:
    case 0x81:
    case 0x82:
    case 0x83:
    case 0x90:
    case 0x91:
    case 0xFA:
    case 0xFE:
    case 0xFF:
      return true;
    default:
      return false;
  }
}

using RawDataBlock = cStructBlock<unsigned char, tag::kRawData>;  // the bytes are the payload
using HeaderBlock = cStructBlock<HDR_T, tag::kHeader>;
using IndexBlock = cStructBlock<IDX_T, tag::kIndex>;
using DataBlock = cStructBlock<DATA_T, tag::kData>;
using ParserTagBlock = cStructBlock<TParserTag, tag::kParserTag>;
using StreamTagBlock = cStructBlock<TStreamTag, tag::kStreamTag>;
