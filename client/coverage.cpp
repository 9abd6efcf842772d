#include "client/coverage.h"

#include <algorithm>
#include <iterator>

#include "client/recorded_gap.h"
#include "system/failure.h"

Coverage::Coverage(ArchiveClient* client, const std::vector<ListedArchive>& archives,
                   const std::vector<ListedArchive>& withoutIndex)
    : mClient(client), mWithoutIndex(withoutIndex) {
  for (const ListedArchive& archive : archives) {
    mArchives[archive.fileNumber] = {archive, {}};
    mSpans.push_back({archive.startTime, archive.endTime});
    mEnds.push_back(archive.endTime);
  }
  std::sort(mEnds.begin(), mEnds.end());
  std::sort(mSpans.begin(), mSpans.end(),
            [](const Span& one, const Span& other) { return one.start < other.start; });
  ArchiveTime latestEnd = 0;
  for (Span& span : mSpans) span.latestEnd = latestEnd = std::max(latestEnd, span.latestEnd);
}

Coverage::Spans::const_iterator Coverage::FirstSpanFrom(ArchiveTime time) const {
  return std::lower_bound(mSpans.begin(), mSpans.end(), time,
                          [](const Span& span, ArchiveTime start) { return span.start < start; });
}

Coverage::Spans::const_iterator Coverage::FirstSpanAfter(ArchiveTime time) const {
  return std::upper_bound(mSpans.begin(), mSpans.end(), time,
                          [](ArchiveTime start, const Span& span) { return start < span.start; });
}

bool Coverage::Reaches(ArchiveTime from, ArchiveTime to) {
  if (HoldsAStart(from, to)) return true;
  const std::optional<FoundEntry> after = FirstFrom(from);
  if (after && after->time < to) return true;
  const std::optional<ArchiveTime> held = LastHeldTime(from);
  if (!held) return false;
  const std::optional<FoundEntry> before = LastUpTo(*held);
  return before && ContinuesTo(*before, after, from);
}

std::optional<UnrecordedStretch> Coverage::GapAt(ArchiveTime time) {
  if (Reaches(time, time + 1)) return std::nullopt;
  return UnrecordedStretch{StartOfGap(time), EndOfGap(time)};
}

ArchiveTime Coverage::StartOfGap(ArchiveTime time) {
  const auto laterEnd = std::upper_bound(mEnds.begin(), mEnds.end(), time);
  const ArchiveTime lastEnd = laterEnd == mEnds.begin() ? 0 : *std::prev(laterEnd);
  const std::optional<ArchiveTime> held = LastHeldTime(time);
  const std::optional<FoundEntry> before = held ? LastUpTo(*held) : std::nullopt;
  if (!before) return lastEnd;
  const auto archive = mArchives.find(before->fileNumber);
  if (archive == mArchives.end() || archive->second.listed.endTime <= time) return lastEnd;
  return std::max(lastEnd, before->time + FirstStep(&archive->second));
}

// The reader names no entry before all archives, and none of a file without an index.
std::optional<ArchiveTime> Coverage::EndOfGap(ArchiveTime time) {
  std::optional<ArchiveTime> end;
  const auto next = FirstSpanAfter(time);
  if (next != mSpans.end()) end = next->start;
  const std::optional<FoundEntry> after = FirstFrom(time);
  if (after && after->time > time) return std::min(after->time, end.value_or(after->time));
  return after || !mWithoutIndex.empty() ? std::nullopt : end;
}

// Where an entry stands that the reader does not name when asked by a time before all archives, or
// in one without an index.
bool Coverage::HoldsAStart(ArchiveTime from, ArchiveTime to) const {
  const auto first = FirstSpanFrom(from);
  return first != mSpans.end() && first->start < to;
}

// A question about a time outside the archives might make the reader build an index.
std::optional<ArchiveTime> Coverage::LastHeldTime(ArchiveTime time) const {
  const auto later = FirstSpanAfter(time);
  if (later == mSpans.begin()) return std::nullopt;
  return std::min(time, std::prev(later)->latestEnd);
}

bool Coverage::ContinuesTo(const FoundEntry& before, const std::optional<FoundEntry>& after,
                           ArchiveTime time) {
  const auto archive = mArchives.find(before.fileNumber);
  if (archive == mArchives.end()) return false;
  const bool sameFile = after && after->fileNumber == before.fileNumber;
  if (!sameFile && time < archive->second.listed.endTime) return true;
  if (!after || after->time < before.time) return false;
  const std::uint64_t mostSteps = sameFile ? kMostStepsInAFile : kMostStepsToTheNextFile;
  return after->time - before.time <= mostSteps * FirstStep(&archive->second);
}

ArchiveTime Coverage::FirstStep(Archive* archive) {
  if (!archive->firstStep) {
    const ArchiveTime start = archive->listed.startTime;
    const std::optional<FoundEntry> second = FirstFrom(start + 1);
    const bool sameFile = second && second->fileNumber == archive->listed.fileNumber;
    archive->firstStep = sameFile ? second->time - start : 0;
  }
  return *archive->firstStep;
}

// Of the archives that hold a time the reader looks into the last one.
bool Coverage::HasIndexAt(ArchiveTime time) const {
  const auto holds = [time](const ListedArchive& archive) {
    return archive.startTime <= time && time <= archive.endTime;
  };
  const auto isLast = [&](const ListedArchive& archive) {
    return holds(archive) &&
           std::none_of(mArchives.upper_bound(archive.fileNumber), mArchives.end(),
                        [&](const auto& numbered) { return holds(numbered.second.listed); });
  };
  return std::none_of(mWithoutIndex.begin(), mWithoutIndex.end(), isLast);
}

std::optional<FoundEntry> Coverage::LastUpTo(ArchiveTime time) {
  if (!HasIndexAt(time)) return std::nullopt;
  try {
    return mClient->Find(time, Lookup::kAtOrBefore);
  } catch (const Failure& error) {
    if (error.Code() == kExitInterrupted) throw;
    // An archive ends some seconds after its last entry, and there another one may begin that
    // cannot be indexed.
    return std::nullopt;
  }
}

std::optional<FoundEntry> Coverage::FirstFrom(ArchiveTime time) {
  const std::optional<PreviewEntry> shown = mClient->Preview(time, time);
  if (!shown) return std::nullopt;
  return shown->entry;
}
