#include "client/recorded_time.h"

#include <algorithm>

#include "client/recorded_gap.h"

namespace {

void AddStretches(const OpenedArchive& archive, std::vector<RecordedStretch>* stretches) {
  RecordedStretch stretch;
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
    if (!joined.empty() && stretch.from <= joined.back().to) {
      joined.back().to = std::max(joined.back().to, stretch.to);
    } else {
      joined.push_back(stretch);
    }
  }
  return joined;
}

}  // namespace

ArchiveTime EndOfEntry(const OpenedArchive& archive, std::size_t entry) {
  const KeptIndex& index = archive.Index();
  const ArchiveTime step = archive.Span().step;
  const ArchiveTime place = index.PlaceOf(entry);
  const ArchiveTime lasting = place + (step > 0 ? step : kArchiveTimePerIndexTime);
  if (entry + 1 == index.Count()) return lasting;
  const ArchiveTime next = index.PlaceOf(entry + 1);
  return next < place || IsGap(next - place, step, kMostStepsInAFile) ? lasting : next;
}

std::vector<RecordedStretch> RecordedWithin(ArchiveTime from, ArchiveTime to, Timeline* timeline) {
  std::vector<RecordedStretch> stretches;
  const std::vector<ServedArchive>& archives = timeline->Archives();
  for (std::size_t number = 0; number < archives.size(); ++number) {
    const ServedArchive& archive = archives[number];
    const ArchiveTime lasting = 2 * std::max(archive.step, kArchiveTimePerIndexTime);
    if (archive.IsLeftOut() || archive.start >= to || archive.end + lasting < from) continue;
    const OpenedArchive* const opened = timeline->Open(number);
    if (opened == nullptr) continue;
    AddStretches(*opened, &stretches);
    // Up to the next archive, if it comes soon.
    for (std::size_t next = number + 1; next < archives.size(); ++next) {
      if (archives[next].IsLeftOut() || archives[next].start < archive.end) continue;
      const ArchiveTime start = archives[next].start;
      if (!IsGap(start - archive.end, archive.step, kMostStepsToTheNextFile) && archive.step > 0)
        stretches.push_back({archive.end, start});
      break;
    }
  }
  std::vector<RecordedStretch> within;
  for (RecordedStretch stretch : Joined(std::move(stretches))) {
    stretch.from = std::max(stretch.from, from);
    stretch.to = std::min(stretch.to, to);
    if (stretch.from < stretch.to) within.push_back(stretch);
  }
  return within;
}
