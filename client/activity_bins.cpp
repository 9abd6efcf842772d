#include "client/activity_bins.h"

#include <algorithm>
#include <cassert>

#include "client/coverage.h"

ArchiveTime ActivityBins::End(std::uint32_t bin) const {
  return std::min(Start(bin + 1), to);
}

ActivityBins CutIntoBins(ArchiveTime from, ArchiveTime to, std::uint32_t mostBins) {
  assert(from < to && mostBins > 0);
  const ArchiveTime width = (to - from + mostBins - 1) / mostBins;
  return {from, to, width, static_cast<std::uint32_t>((to - from + width - 1) / width)};
}

// The reader counts an entry for the bin after the one in which it stands, and crowds into the last
// bin what stands after it. So it is asked for two bins more, and the first and the last of its
// bins are of no use.
std::vector<std::uint8_t> ActivityLevels(const ActivityBins& bins, std::uint8_t streamId,
                                         ArchiveClient* client) {
  const std::uint32_t asked = bins.count + 2;
  std::vector<std::uint8_t> levels =
      client->Activity(bins.from, bins.Start(asked), static_cast<std::int32_t>(asked), streamId);
  levels.erase(levels.begin());
  levels.pop_back();
  return levels;
}

std::vector<bool> RecordedBins(const ActivityBins& bins, IndexedSource* source) {
  Coverage coverage(&source->Client(), source->Archives(), source->ArchivesWithoutIndex());
  std::vector<bool> recorded(bins.count);
  for (std::uint32_t i = 0; i < bins.count; ++i)
    recorded[i] = coverage.Reaches(bins.Start(i), bins.End(i));
  return recorded;
}
