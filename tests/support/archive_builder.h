#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "blocks/stream_records.h"
#include "support/temp_folder.h"

// What a parser reports once it has read the first `end` bytes of an archive.
struct ParsedRecord {
  std::size_t end;
  cMemBlock block;
};

// A small archive and what a parser finds in it.
struct SmallArchive {
  Bytes bytes;
  std::vector<ParsedRecord> records;
};

// Writes an archive byte by byte: header, index and data records back to back.
class ArchiveBuilder {
 public:
  struct Stream {
    std::uint8_t id;
    bool active = true;
  };

  explicit ArchiveBuilder(const std::string& title) : mTitle(title) {}

  // `firstIndexDelta` says where the first index record is; 5 is right after a header at the file's
  // start. `extraLength` falsifies the header's own length.
  ArchiveBuilder& Header(const std::vector<Stream>& streams, std::int16_t firstIndexDelta = 5,
                         std::int16_t extraLength = 0);
  ArchiveBuilder& Index(std::uint32_t indexTime, std::uint8_t indexFlag = 0);
  // `type` is a stream id or an event type; `kind` the tag of the block that a parser sends.
  ArchiveBuilder& Data(std::uint8_t type, std::uint8_t flags, const std::string& payload,
                       Tag kind = tag::kData);
  // Bytes that are not a record.
  ArchiveBuilder& Filler(std::size_t count, unsigned char value = 0x11);

  std::size_t Size() const { return mArchive.bytes.size(); }
  const SmallArchive& Archive() const { return mArchive; }
  const Bytes& Content() const { return mArchive.bytes; }

 private:
  template <class Integer>
  void Append(Integer value);
  void AppendText(const std::string& text);
  void Report(const cMemBlock& block);

  std::string mTitle;
  SmallArchive mArchive;
};

// An archive with a header (streams 1 and 2 active) and an index record with a data block for each
// of the index times.
SmallArchive ArchiveOf(const std::string& title, const std::vector<std::uint32_t>& indexTimes);

// `count` bytes that tell their place: 0, 1, … 250, 0, 1, …
Bytes NumberedBytes(std::size_t count);
