#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "blocks/four_cc.h"
#include "blocks/stream_records.h"

// How an archive is put together, for those who write archives and those who parse them:
//
//   archive    := record*                            back to back, no filler
//   record     := header | index | data
//   header     := header marker, body                bytes B5 B5 05 B5, then the body
//   body       := i16 length, i16 firstIndexDelta, title NUL, descriptor*
//   descriptor := u8 id, u8 active, kind NUL, name NUL, format NUL
//   index      := index marker, IDX_T                bytes 05 B5 B5 B5, then nine bytes
//   data       := DATA_T, payload                    four bytes, then as many as they say
//
// All integers are little-endian. At the start of a record four bytes that equal a marker are that
// marker; anything else is the head of a data block.

// One stream that a header declares. Its texts hold no NUL.
struct StreamDescriptor {
  std::uint8_t id = 0;
  std::uint8_t active = 0;  // non-zero: the stream has data
  std::string kind;         // video, sound, image, text or binary; others are allowed
  std::string name;         // for people
  std::string format;
};

// What archives are written with: added to the length of a header, it gives the place of the index
// record after a header that starts the file. It accounts for the marker and the last NUL.
constexpr std::int16_t kFirstIndexDelta = 5;

struct ArchiveHeader {
  std::int16_t length = 0;  // as decoded, of the body without its last NUL; encoding computes it
  std::int16_t firstIndexDelta = kFirstIndexDelta;
  std::string title;  // holds no NUL
  std::vector<StreamDescriptor> streams;
};

constexpr std::size_t kLargestPayload = 65535;
constexpr std::size_t kLargestRecordSize = sizeof(DATA_T) + kLargestPayload;
// Where the title begins in a header body, after the two words.
constexpr std::size_t kTitleOffset = 4;
// The length of a header with an empty title and no streams.
constexpr std::int16_t kShortestHeaderLength = kTitleOffset;

// Whether archives may be written with a stream of this id. Event types are taken, and a data head
// of type 0xB5 might equal a marker; no other can, because both markers end in that byte.
constexpr bool IsWritableStreamId(std::uint8_t id) {
  static_assert(kHeaderMarker >> 24 == 0xB5 && kIndexMarker >> 24 == 0xB5);
  return id != 0xB5 && !IsEventType(id);
}

// The tag of the blocks of a stream of this kind: 'vid3' for video and so on, 'unk3' for an unknown
// kind.
Tag KindTag(const std::string& kind);

// The size of the record of a decoded header, marker included.
constexpr std::size_t SizeOfHeaderRecord(std::int16_t length) {
  return kMarkerSize + static_cast<std::size_t>(length) + 1;
}

// A whole header record, marker first. None when a text holds a NUL or the body is too long for its
// length field.
std::optional<std::vector<unsigned char>> EncodeHeaderRecord(const ArchiveHeader& header);

// The header whose body is the `size` bytes at `body`. None when its length does not name the last
// of these bytes, or its texts do not end exactly there.
std::optional<ArchiveHeader> DecodeHeaderBody(const unsigned char* body, std::size_t size);

std::array<unsigned char, sizeof(DATA_T)> EncodeDataHead(const DATA_T& head);
// REQUIRES: four bytes.
DATA_T DecodeDataHead(const unsigned char* bytes);
