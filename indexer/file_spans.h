#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "blocks/units.h"

// From when to when the files of an archive last, both ends included: finds the file of a time.
class FileSpans {
 public:
  // Files are added by number, in ascending order. Throws std::bad_alloc.
  void Add(std::uint32_t fileNumber, IndexTime startTime, IndexTime endTime);

  // The file that holds a time. Of overlapping files the later one wins.
  std::optional<std::uint32_t> FileAt(ArchiveTime time) const;
  // The first file that starts at a time or after it.
  std::optional<std::uint32_t> FirstFrom(ArchiveTime time) const;
  // The first file that ends at a time or before it.
  std::optional<std::uint32_t> FirstEndedBy(ArchiveTime time) const;

 private:
  struct Span {
    IndexTime startTime;
    IndexTime endTime;
    IndexTime latestEnd;  // of this and all files before it
    std::uint32_t fileNumber;
  };

  std::vector<Span> mSpans;
  bool mStartsAscend = true;
};
