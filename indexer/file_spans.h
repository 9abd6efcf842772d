#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

#include "blocks/units.h"

// The spans of time of an archive's files, both ends included: finds the file of a time.
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

// Every lookup begins with this, so it is worth inlining.
inline std::optional<std::uint32_t> FileSpans::FileAt(ArchiveTime time) const {
  auto span = mSpans.end();
  if (mStartsAscend) {
    span = std::upper_bound(mSpans.begin(), span, time, [](ArchiveTime at, const Span& other) {
      return at < ToArchiveTime(other.startTime);
    });
  }
  while (span != mSpans.begin()) {
    --span;
    if (ToArchiveTime(span->latestEnd) < time) break;
    if (ToArchiveTime(span->startTime) <= time && time <= ToArchiveTime(span->endTime))
      return span->fileNumber;
  }
  return std::nullopt;
}
