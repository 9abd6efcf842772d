#pragma once

#include <cstddef>
#include <optional>
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
  // The same for bytes that have been read already; null when one has not.
  const unsigned char* Held(FilePosition position, std::size_t size) const;
  // Lets the window hold what it reads from here on, as long as it moves forward in small steps and
  // that is at most kMostKept bytes.
  void KeepFrom(FilePosition position) { mKeptFrom = position; }

  static constexpr std::size_t kMostKept = 512 << 10;

 private:
  static constexpr std::size_t kShortest = 512;
  static constexpr std::size_t kLongest = 65536;
  // Reading this many bytes takes no longer than another call.
  static constexpr std::size_t kNear = 6144;
  // What is kept is moved at each read, so there are fewer of them; and all of it is of use.
  static constexpr std::size_t kLongestWithKept = 128 << 10;
  static constexpr std::size_t kNearWithKept = 64 << 10;

  bool MoveKept();
  void Append(std::size_t size);

  const PlainFile& mFile;
  std::vector<unsigned char> mBytes;
  FilePosition mFrom = 0;
  std::size_t mSize = 0;
  std::size_t mLength = 0;  // of the last read
  std::optional<FilePosition> mKeptFrom;
};
