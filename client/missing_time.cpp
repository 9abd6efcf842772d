#include "client/missing_time.h"

#include <algorithm>
#include <limits>

#include "client/doubt.h"
#include "client/recorded_time.h"

namespace {

// Of the archives that begin before a time, the one that ends last.
std::optional<std::size_t> LastBegunBefore(ArchiveTime time, const Timeline& timeline) {
  const std::vector<ServedArchive>& archives = timeline.Archives();
  std::optional<std::size_t> last;
  for (std::size_t number = 0; number < archives.size(); ++number) {
    const ServedArchive& archive = archives[number];
    if (archive.IsLeftOut() || archive.start >= time) continue;
    if (!last || archive.end > archives[*last].end) last = number;
  }
  return last;
}

// Of the archives that end at a time or later, the one that begins first.
std::optional<std::size_t> FirstEndingFrom(ArchiveTime time, const Timeline& timeline) {
  const std::vector<ServedArchive>& archives = timeline.Archives();
  for (std::size_t number = 0; number < archives.size(); ++number) {
    if (!archives[number].IsLeftOut() && archives[number].end >= time) return number;
  }
  return std::nullopt;
}

}  // namespace

ArchiveTime MissingTime::Longest() const {
  ArchiveTime longest = 0;
  for (const MissingStretch& gap : gaps) longest = std::max(longest, gap.Length());
  return longest;
}

std::optional<MissingTime> FindMissingTime(std::optional<ArchiveTime> from,
                                           std::optional<ArchiveTime> to, Timeline* timeline) {
  const ArchiveTime earliest = from.value_or(0);
  const ArchiveTime latest = to.value_or(std::numeric_limits<ArchiveTime>::max());
  RecordedTime recorded(earliest, latest, timeline);
  // While an archive is open, everything is asked that needs its index.
  timeline->ForEach("going through", [&](std::size_t number) {
    recorded.Add(number);
    DoubtRecorded(number, earliest, latest, timeline);
  });
  const std::vector<RecordedStretch> stretches = recorded.Stretches();
  if (stretches.empty() && !(from && to)) return std::nullopt;

  MissingTime missing;
  missing.from = from ? *from : stretches.front().from;
  missing.to = to ? *to : stretches.back().to;
  ArchiveTime end = missing.from;  // of what has been gone through
  std::optional<std::size_t> before = LastBegunBefore(end, *timeline);
  for (const RecordedStretch& stretch : stretches) {
    if (stretch.from > end)
      missing.gaps.push_back({end, stretch.from, before, stretch.firstArchive});
    missing.recorded += stretch.to - stretch.from;
    end = stretch.to;
    before = stretch.lastArchive;
  }
  if (missing.to > end)
    missing.gaps.push_back({end, missing.to, before, FirstEndingFrom(missing.to, *timeline)});
  return missing;
}
