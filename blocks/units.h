#pragma once

#include <cstdint>

// What plain integers count. The names are for people; the compiler does not tell them apart.

// The 32-bit time of index records.
using IndexTime = std::uint32_t;

// The time of all requests and answers: thousandths of an index unit.
using ArchiveTime = std::uint64_t;

// Bytes from the start of a file.
using FilePosition = std::uint64_t;

constexpr ArchiveTime kArchiveTimePerIndexTime = 1000;

constexpr ArchiveTime ToArchiveTime(IndexTime indexTime) {
  return indexTime * kArchiveTimePerIndexTime;
}
