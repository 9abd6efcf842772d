#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "blocks/units.h"
#include "indexer/plain_file.h"

// A file as one stream of bytes from its first to its last. What cannot be read is passed over, and
// zeros stand in its place, so that everything after it keeps its position.
//
// Where reading fails, the next 4 KiB page of the file is tried; each further failure doubles the
// step, up to 1 MiB. The last 4 KiB are tried page by page.
//
// All calls take the same file, which the stream does not keep. Allocates nothing.
class ArchiveStream {
 public:
  // Takes up to `size` of the next bytes and returns how many. Fewer come only at the end of the
  // file as it is now: it may grow or be cut.
  std::size_t Read(const PlainFile& file, unsigned char* bytes, std::size_t size);

  // Passes over the next bytes, which are known to be zeros.
  void SkipZeros(std::uint64_t size) { mPosition += size; }

  // Tries the places that failed once more, until one can be read. After a great many failures,
  // some places that were read are tried, too.
  bool CanBeReadNow(const PlainFile& file) const;

  // How many bytes have been passed over so far.
  std::uint64_t PassedOver() const { return mPassedOver; }

  // At the end: whether reading reached the end of the file, or came so near that no more than the
  // last sixteenth is missing; a sixteenth counts as at least 4 KiB and at most 1 MiB.
  bool ReachesTheEnd(const PlainFile& file) const;

 private:
  // Bytes passed over, beginning at a place where reading failed.
  struct Stretch {
    FilePosition from;
    FilePosition to;
  };

  static constexpr std::uint64_t kPage = 4096;

  // The place to try after a failure at `position` of a file of `size` bytes; lengthens the step.
  static FilePosition PlaceAfter(FilePosition position, std::uint64_t size, std::uint64_t* step);
  // These two give the number of bytes; 0 at the end of the file.
  std::size_t PassOver(const PlainFile& file, unsigned char* bytes, std::size_t size);
  std::size_t TryToRead(const PlainFile& file, unsigned char* bytes, std::size_t size);
  void Note(const Stretch& skipped);

  FilePosition mPosition = 0;   // of the next byte
  FilePosition mNextPlace = 0;  // nothing before it is tried
  std::uint64_t mStep = kPage;  // how far the next failure skips
  bool mInDoubt = false;        // the last read has failed, perhaps after some bytes
  FilePosition mReadUpTo = 0;   // the end of the bytes that were read
  FilePosition mFailedAt = 0;   // the last place that failed, if any did
  std::uint64_t mPassedOver = 0;
  // In file order; when there is no room for one more, the last one grows to cover it.
  std::array<Stretch, 64> mSkipped;
  std::size_t mSkippedCount = 0;
};
