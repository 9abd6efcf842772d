#include "client/recorded_fraction.h"

#include <algorithm>
#include <optional>

#include "client/coverage.h"

namespace {

constexpr unsigned kThousandths = 1000;
constexpr std::uint32_t kMostProbes = 100000;
constexpr std::uint32_t kMostProbesInABin = 100;

struct Gap {
  ArchiveTime from;
  ArchiveTime to;
};

// Ascending times at which it is asked whether something is recorded.
std::vector<ArchiveTime> Probes(const ActivityBins& bins,
                                const std::vector<ListedArchive>& archives) {
  const std::uint32_t inABin = std::clamp(kMostProbes / bins.count, 1u, kMostProbesInABin);
  const ArchiveTime step = std::max<ArchiveTime>(bins.width / inABin, 1);
  std::vector<ArchiveTime> probes;
  for (std::uint32_t bin = 0; bin < bins.count; ++bin) {
    for (ArchiveTime time = bins.Start(bin); time < bins.End(bin); time += step)
      probes.push_back(time);
  }
  for (const ListedArchive& archive : archives) {
    if (bins.from <= archive.endTime && archive.endTime < bins.to)
      probes.push_back(archive.endTime);
  }
  std::sort(probes.begin(), probes.end());
  return probes;
}

// Ascending, apart from each other.
std::vector<Gap> GapsWithin(const ActivityBins& bins, IndexedSource* source) {
  Coverage coverage(&source->Client(), source->Archives(), source->ArchivesWithoutIndex());
  const std::vector<ArchiveTime> probes = Probes(bins, source->Archives());
  std::vector<Gap> gaps;
  ArchiveTime settled = bins.from;  // it is known what is recorded before
  for (std::size_t i = 0; i < probes.size(); ++i) {
    if (probes[i] < settled) continue;
    const std::optional<UnrecordedStretch> stretch = coverage.GapAt(probes[i]);
    if (!stretch) {
      settled = probes[i] + 1;
      continue;
    }
    const ArchiveTime nextProbe = i + 1 < probes.size() ? probes[i + 1] : bins.to;
    const ArchiveTime to = std::min(bins.to, stretch->to.value_or(nextProbe));
    gaps.push_back({std::min(to, std::max(settled, stretch->from)), to});
    settled = to;
  }
  return gaps;
}

}  // namespace

std::vector<unsigned> RecordedThousandths(const ActivityBins& bins,
                                          const std::vector<bool>& recorded,
                                          IndexedSource* source) {
  const std::vector<Gap> gaps = GapsWithin(bins, source);
  std::vector<unsigned> thousandths(bins.count);
  auto gap = gaps.begin();
  for (std::uint32_t bin = 0; bin < bins.count; ++bin) {
    const ArchiveTime start = bins.Start(bin);
    const ArchiveTime end = bins.End(bin);
    ArchiveTime left = end - start;
    for (; gap != gaps.end() && gap->from < end; ++gap) {
      left -= std::min(gap->to, end) - std::max(gap->from, start);
      if (gap->to > end) break;
    }
    if (!recorded[bin]) continue;
    thousandths[bin] = std::max(1u, static_cast<unsigned>(left * kThousandths / (end - start)));
  }
  return thousandths;
}
