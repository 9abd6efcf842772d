#include "client/coverage.h"

#include <algorithm>

#include "client/recorded_gap.h"
#include "system/failure.h"

Coverage::Coverage(ArchiveClient* client, const std::vector<ListedArchive>& archives,
                   const std::vector<ListedArchive>& withoutIndex)
    : mClient(client), mWithoutIndex(withoutIndex) {
  for (const ListedArchive& archive : archives) mArchives[archive.fileNumber] = {archive, {}};
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

// Where an entry stands that the reader does not name when asked by a time before all archives, or
// in one without an index.
bool Coverage::HoldsAStart(ArchiveTime from, ArchiveTime to) const {
  return std::any_of(mArchives.begin(), mArchives.end(), [from, to](const auto& numbered) {
    const ArchiveTime start = numbered.second.listed.startTime;
    return from <= start && start < to;
  });
}

// A question about a time outside the archives might make the reader build an index.
std::optional<ArchiveTime> Coverage::LastHeldTime(ArchiveTime time) const {
  std::optional<ArchiveTime> held;
  for (const auto& numbered : mArchives) {
    const ListedArchive& archive = numbered.second.listed;
    if (archive.startTime > time) continue;
    held = std::max(held.value_or(0), std::min(time, archive.endTime));
  }
  return held;
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
