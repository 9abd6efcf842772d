#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "blocks/units.h"
#include "indexer/plain_file.h"

// A file as one stream of bytes from its first to its last. What cannot be read is passed over, and
// zeros stand in its place, so that all that follows keeps its position.
//
// Where reading fails, the next 4 KiB page of the file is tried; after each further failure twice
// as far away, up to 1 MiB. The last 4 KiB are tried page by page.
//
// All calls take the same file, which the stream does not keep. Needs no memory.
class ArchiveStream {
 public:
  // Takes the next bytes, `size` at most; their number. Fewer only at the end of the file, which is
  // where the file ends now: it may grow or be cut.
  std::size_t Read(const PlainFile& file, unsigned char* bytes, std::size_t size);

  // Passes over the next bytes, which are known to be zeros.
  void SkipZeros(std::uint64_t size) { mPosition += size; }

  // Tries the places that failed once more, until one can be read. When a great many have failed,
  // some places that were read are tried, too.
  bool CanBeReadNow(const PlainFile& file) const;

  // How many bytes have been passed over so far.
  std::uint64_t PassedOver() const { return mPassedOver; }

  // At the end: whether what was read goes to the end of the file, or so near to it that no more
  // than the last sixteenth is missing (at least 4 KiB, at most 1 MiB).
  bool ReachesTheEnd(const PlainFile& file) const;

 private:
  // What has been passed over, from a place where reading failed on.
  struct Stretch {
    FilePosition from;
    FilePosition to;
  };

  static constexpr std::uint64_t kPage = 4096;

  // The place to try after a failure at `position` of a file of `size` bytes; makes the step
  // longer.
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
  // In the order of the file; without room for one more the last one grows to cover it.
  std::array<Stretch, 64> mSkipped;
  std::size_t mSkippedCount = 0;
};
