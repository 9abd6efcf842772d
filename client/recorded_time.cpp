#include "client/recorded_time.h"

#include <algorithm>

#include "client/recorded_gap.h"

namespace {

void AddStretches(std::size_t number, const OpenedArchive& archive,
                  std::vector<RecordedStretch>* stretches) {
  RecordedStretch stretch{0, 0, number, number};
  for (std::size_t entry = 0; entry < archive.Index().Count(); ++entry) {
    const ArchiveTime place = archive.Index().PlaceOf(entry);
    if (entry == 0 || place != stretch.to) {
      if (entry > 0) stretches->push_back(stretch);
      stretch.from = place;
    }
    stretch.to = EndOfEntry(archive, entry);
  }
  stretches->push_back(stretch);
}

std::vector<RecordedStretch> Joined(std::vector<RecordedStretch> stretches) {
  std::sort(stretches.begin(), stretches.end(),
            [](const RecordedStretch& one, const RecordedStretch& other) {
              return one.from < other.from;
            });
  std::vector<RecordedStretch> joined;
  for (const RecordedStretch& stretch : stretches) {
    if (joined.empty() || stretch.from > joined.back().to) {
      joined.push_back(stretch);
    } else if (stretch.to > joined.back().to) {
      joined.back().to = stretch.to;
      joined.back().lastArchive = stretch.lastArchive;
    }
  }
  return joined;
}

}  // namespace

ArchiveTime EndOfEntry(const OpenedArchive& archive, std::size_t entry) {
  const KeptIndex& index = archive.Index();
  const ArchiveTime step = archive.Span().step;
  const ArchiveTime place = index.PlaceOf(entry);
  const ArchiveTime lasting = place + LastingOf(step);
  if (entry + 1 == index.Count()) return lasting;
  const ArchiveTime next = index.PlaceOf(entry + 1);
  return next < place || IsGap(next - place, step, kMostStepsInAFile) ? lasting : next;
}

RecordedTime::RecordedTime(ArchiveTime from, ArchiveTime to, Timeline* timeline)
    : mFrom(from), mTo(to), mTimeline(*timeline) {}

bool RecordedTime::MayReach(const ServedArchive& archive) const {
  const ArchiveTime lasting = 2 * std::max(archive.step, kArchiveTimePerIndexTime);
  return !archive.IsLeftOut() && archive.start < mTo && archive.end + lasting >= mFrom;
}

void RecordedTime::Add(std::size_t number) {
  if (!MayReach(mTimeline.Archives()[number])) return;
  if (const OpenedArchive* const opened = mTimeline.Open(number))
    AddStretches(number, *opened, &mStretches);
}

std::vector<RecordedStretch> RecordedTime::Stretches() const {
  std::vector<RecordedStretch> stretches = mStretches;
  const std::vector<ServedArchive>& archives = mTimeline.Archives();
  const auto numberOf = [&archives](const auto& archive) {
    return static_cast<std::size_t>(archive - archives.begin());
  };
  for (auto archive = archives.begin(); archive != archives.end(); ++archive) {
    if (!MayReach(*archive)) continue;
    // Up to the next archive, if it comes soon.
    const auto next =
        std::find_if(archive + 1, archives.end(), [archive](const ServedArchive& other) {
          return !other.IsLeftOut() && other.start >= archive->end;
        });
    if (next != archives.end() &&
        !IsGap(next->start - archive->end, archive->step, kMostStepsToTheNextFile))
      stretches.push_back({archive->end, next->start, numberOf(archive), numberOf(next)});
  }
  std::vector<RecordedStretch> within;
  for (RecordedStretch stretch : Joined(std::move(stretches))) {
    stretch.from = std::max(stretch.from, mFrom);
    stretch.to = std::min(stretch.to, mTo);
    if (stretch.from < stretch.to) within.push_back(stretch);
  }
  return within;
}
