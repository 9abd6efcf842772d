#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/temp_folder.h"

// Contents of cache files, put together byte by byte.

// One entry of an .id3 file that holds nothing but its time and position.
struct EntryBytes {
  std::uint32_t time;
  std::uint32_t offsetLow = 0;
  std::uint16_t offsetHigh = 0;
};
Bytes Id3File(const std::vector<EntryBytes>& entries);
Bytes Id3FileWithTimes(const std::vector<std::uint32_t>& times);
Bytes HdrFile(const std::vector<std::uint64_t>& positions);

// An .evt file, piece by piece.
class EvtFile {
 public:
  EvtFile& Group(std::uint32_t time, std::uint32_t offsetLow, std::uint8_t eventCount);
  EvtFile& Event(std::uint8_t type, const std::string& text);
  EvtFile& UnterminatedEvent(std::uint8_t type, const std::string& text);
  EvtFile& Raw(const Bytes& bytes);

  operator const Bytes&() const { return mBytes; }

 private:
  Bytes mBytes;
};

// The first `size` bytes, zeros beyond the end.
Bytes Cut(Bytes bytes, std::size_t size);
