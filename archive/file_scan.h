#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "blocks/units.h"
#include "indexer/archive_stream.h"
#include "indexer/plain_file.h"
#include "parser/framing_parser.h"

// Gets the number of bytes dealt with since the last call. Holes that are skipped do not count.
using OnBytesRead = std::function<void(std::uint64_t)>;

// Feeds a file to a parser, each byte once, part by part. Holes of the file are zeros and cost next
// to nothing; so are bytes that cannot be read.
class FileScan {
 public:
  // Borrows the file and the parser. Begins at `position`.
  FileScan(const PlainFile& file, FramingParser& parser, FilePosition position = 0);

  // Goes on up to `end`, or to where the file ends now. Throws Failure when the user interrupts,
  // and what the parser's sink throws.
  void UpTo(FilePosition end, const OnBytesRead& onBytesRead);

  // The place of the next byte.
  FilePosition Position() const { return mPosition; }
  // How many bytes could not be read so far.
  std::uint64_t Unreadable() const { return mStream.PassedOver(); }

 private:
  void PassHole(FilePosition end);
  bool ReadData(FilePosition end, const OnBytesRead& onBytesRead);

  const PlainFile& mFile;
  FramingParser& mParser;
  ArchiveStream mStream;
  std::vector<unsigned char> mBlock;
  FilePosition mPosition;
};
