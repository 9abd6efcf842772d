#pragma once

#include <cstddef>
#include <vector>

#include "blocks/units.h"
#include "indexer/plain_file.h"

// Short looks into a file, mostly forward: what lies close together comes with one read. The longer
// the looks go on without leaps, the more is read at a time.
class FileWindow {
 public:
  // Borrows the file, which must not change.
  explicit FileWindow(const PlainFile& file) : mFile(file) {}

  // The bytes there, borrowed until the next call; null when the file ends before them, or cannot
  // be read.
  const unsigned char* At(FilePosition position, std::size_t size);

 private:
  static constexpr std::size_t kShortest = 512;
  static constexpr std::size_t kLongest = 65536;
  // Reading this many bytes takes no longer than another call.
  static constexpr std::size_t kNear = 6144;

  const PlainFile& mFile;
  std::vector<unsigned char> mBytes;
  FilePosition mFrom = 0;
  std::size_t mSize = 0;
};
