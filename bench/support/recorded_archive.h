#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// An archive of pseudo-random bytes, always the same ones, and the positions of its entries.
struct RecordedArchive {
  std::string path;
  std::uint64_t size = 0;
  std::vector<std::uint64_t> entryPositions;
};

// Writes entries of `blocksPerEntry` data blocks of 20 KiB each until the archive has `size` bytes.
// The entries are one index time apart, the first at kFirstTime.
RecordedArchive RecordBlocks(const std::string& path, std::uint64_t size, int blocksPerEntry);

// Writes entries of `blocksPerEntry` data blocks of `blockSize` bytes each.
RecordedArchive RecordEqualEntries(const std::string& path, int entryCount, int blocksPerEntry,
                                   std::size_t blockSize);

// Writes entries of 8 to 64 KiB, one data block each.
RecordedArchive RecordMixedEntries(const std::string& path, int entryCount);
