#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "archive/archive_headers.h"
#include "archive/file_window.h"
#include "archive/sound_stretches.h"
#include "blocks/units.h"
#include "indexer/plain_file.h"

// Takes the bytes of a copy in their order.
struct CopyTarget {
  std::function<void(const unsigned char* bytes, std::size_t size)> write;
  // Takes so many zeros, which the source does not keep on the disk either.
  std::function<void(std::uint64_t size)> skip;
  // These bytes of the source are not copied, because they cannot be read, or are data after an
  // index record that cannot be read. `entries`: how many index records are among them.
  std::function<void(FilePosition position, std::uint64_t size, std::uint64_t entries)> lose;
  // Takes bytes of the source by its handle, so that they are not read here. False when that does
  // not work; then the bytes are written. May be empty.
  std::function<bool(int source, FilePosition position, std::size_t size)> copy = {};
};

// Copies whole records of one file in large pieces. Records that follow each other go out together,
// and so perhaps later: when one comes that does not follow, or by Flush.
class RecordCopy {
 public:
  // Borrows the file and a window on it: what others have just seen there is not read again.
  RecordCopy(const PlainFile& file, FileWindow* window, CopyTarget target);

  // All throw Failure when the user interrupts, and what the target throws.

  // The whole records of a stretch.
  void Add(const SoundStretch& stretch);
  // The same, but only those data records among them that are of these types.
  void AddTypes(const SoundStretch& stretch, const KnownTypes& types);
  // The caller's own bytes.
  void AddBytes(const std::vector<unsigned char>& bytes);
  void Flush();

 private:
  void AddRange(FilePosition from, FilePosition to);
  void AddLong(FilePosition from, FilePosition to);
  bool GoesWithoutReading(std::size_t size);
  void CopyReadableRecords();

  const PlainFile& mFile;
  FileWindow& mWindow;
  const CopyTarget mTarget;
  std::vector<unsigned char> mPiece;
  // Whole records that are still to be copied.
  FilePosition mFrom = 0;
  FilePosition mTo = 0;
  bool mPassesData = false;  // up to the next index record
};

// How many bytes AddTypes would copy.
std::uint64_t SizeOfTypes(const PlainFile& file, const SoundStretch& stretch,
                          const KnownTypes& types);
