#include "indexer/file_spans.h"

#include <algorithm>

void FileSpans::Add(std::uint32_t fileNumber, IndexTime startTime, IndexTime endTime) {
  const bool isFirst = mSpans.empty();
  const IndexTime latestEnd = isFirst ? endTime : std::max(mSpans.back().latestEnd, endTime);
  mStartsAscend = mStartsAscend && (isFirst || mSpans.back().startTime <= startTime);
  mSpans.push_back({startTime, endTime, latestEnd, fileNumber});
}

std::optional<std::uint32_t> FileSpans::FirstFrom(ArchiveTime time) const {
  const auto startsBefore = [time](const Span& span) {
    return ToArchiveTime(span.startTime) < time;
  };
  const auto first = mStartsAscend
                         ? std::partition_point(mSpans.begin(), mSpans.end(), startsBefore)
                         : std::find_if_not(mSpans.begin(), mSpans.end(), startsBefore);
  if (first == mSpans.end()) return std::nullopt;
  return first->fileNumber;
}

std::optional<std::uint32_t> FileSpans::FirstEndedBy(ArchiveTime time) const {
  const auto ended = std::find_if(mSpans.begin(), mSpans.end(), [time](const Span& span) {
    return ToArchiveTime(span.endTime) <= time;
  });
  if (ended == mSpans.end()) return std::nullopt;
  return ended->fileNumber;
}
