#include "page/stream_places.h"

#include <algorithm>

#include "client/activity_bins.h"

namespace {

// Up to which time each file says what is recorded: after the latest entry so far, the file goes on
// until the next one starts.
std::vector<ArchiveTime> LastTimes(const std::vector<ReportFile>& files) {
  std::vector<ArchiveTime> lastTimes;
  ArchiveTime latestEnd = 0;
  std::size_t next = 0;
  for (const ReportFile& file : files) {
    if (!file.HoldsEntries()) break;
    const ArchiveTime end = file.facts.endTime;
    while (next < files.size() && files[next].HoldsEntries() &&
           files[next].facts.startTime <= std::max(end, latestEnd)) {
      latestEnd = std::max(latestEnd, files[next].facts.endTime);
      ++next;
    }
    const bool isLast = end == latestEnd;
    const bool hasNext = next < files.size() && files[next].HoldsEntries();
    const ArchiveTime nextStart = hasNext ? files[next].facts.startTime : kEndOfTimes;
    lastTimes.push_back(isLast ? nextStart - 1 : end);
  }
  return lastTimes;
}

}  // namespace

StreamPlaces::StreamPlaces(const std::vector<ReportFile>& files, std::uint8_t id) {
  const std::vector<ArchiveTime> lastTimes = LastTimes(files);
  for (std::size_t i = 0; i < lastTimes.size(); ++i) {
    const ArchiveFacts& facts = files[i].facts;
    if (!facts.streams[id]) continue;
    if (files[i].indexed) {
      mIndexed.push_back({facts.startTime, lastTimes[i]});
    } else {
      mNotIndexed.push_back({facts.startTime, facts.endTime});
    }
  }
  mIndexed = Joined(std::move(mIndexed));
  mNotIndexed = Joined(std::move(mNotIndexed));
}

BinState StreamPlaces::StateOf(ArchiveTime from, ArchiveTime to, bool recorded) const {
  if (recorded && Meet(mIndexed, from, to)) return BinState::kRecorded;
  return Meet(mNotIndexed, from, to) ? BinState::kNotIndexed : BinState::kMissing;
}

StreamPlaces::Stretches StreamPlaces::Joined(Stretches stretches) {
  std::sort(stretches.begin(), stretches.end());
  Stretches joined;
  for (const auto& stretch : stretches) {
    if (!joined.empty() && stretch.first <= joined.back().second) {
      joined.back().second = std::max(joined.back().second, stretch.second);
    } else {
      joined.push_back(stretch);
    }
  }
  return joined;
}

bool StreamPlaces::Meet(const Stretches& stretches, ArchiveTime from, ArchiveTime to) {
  const auto after =
      std::lower_bound(stretches.begin(), stretches.end(), from,
                       [](const auto& stretch, ArchiveTime time) { return stretch.second < time; });
  return after != stretches.end() && after->first < to;
}
