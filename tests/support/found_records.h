#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "parser/framing.h"
#include "support/temp_folder.h"

// Archives put together record by record, good or bad, and what a parser finds in them, as lines of
// text.

class ArchiveBytes {
 public:
  ArchiveBytes& Header(const std::vector<StreamDescriptor>& streams,
                       const std::string& title = "Day");
  ArchiveBytes& Index(std::uint32_t time, std::uint8_t flag = 0);
  ArchiveBytes& Data(std::uint8_t type, const std::string& payload, std::uint8_t flags = 0);
  ArchiveBytes& Raw(const Bytes& bytes);

  std::size_t Size() const { return mBytes.size(); }
  operator const Bytes&() const { return mBytes; }

 private:
  Bytes mBytes;
};

StreamDescriptor Video(std::uint8_t id);
StreamDescriptor Inactive(std::uint8_t id);

using Lines = std::vector<std::string>;

// What is found when the parser is fed `pieceSize` bytes at a time, and then told that the stream
// has ended:
//
//   header@0 length 31 delta 5 "Day" 1+video/Camera/h264 2-...
//   index@36 time 100 flag 0
//   vid3@49 type 1 flags 3 "payload"
//   damage@60 7 bytes
//   cut@67 3 bytes
Lines FoundInPieces(const Bytes& archive, std::size_t pieceSize);

// The same from the whole archive at once. Fails the running test when feeding it byte by byte, or
// in pieces of other sizes, finds anything else, even when the sink throws whenever something is
// found for the first time and the piece is fed again.
Lines Found(const Bytes& archive);

// Bytes and the zeros that follow them.
struct BytesAndZeros {
  Bytes bytes;
  std::uint64_t zeros = 0;
};

enum class ZerosAre { kBytes, kCounted };

// The same from such parts, one after the other, where the zeros are fed as bytes or as a number.
Lines FoundAmongZeros(const std::vector<BytesAndZeros>& parts, ZerosAre zerosAre);
