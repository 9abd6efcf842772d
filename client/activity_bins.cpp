#include "client/activity_bins.h"

#include <algorithm>
#include <cassert>

namespace {

constexpr unsigned kThousandths = 1000;

// What the entries say of one stream in one bin.
struct Sums {
  unsigned highest = 0;
  std::uint64_t all = 0;
  std::uint32_t entries = 0;  // that begin in the bin
  unsigned lasting = 0;       // the highest level of those that begin before it

  BinLevels Levels() const {
    if (entries == 0) return {lasting, static_cast<double>(lasting)};
    return {highest, static_cast<double>(all) / entries};
  }
};

class LevelSums {
 public:
  LevelSums(const std::vector<std::uint8_t>& streamIds, const ActivityBins& bins)
      : mStreamIds(streamIds),
        mBins(bins),
        mSums(streamIds.size(), std::vector<Sums>(bins.count)) {}

  void Add(const OpenedArchive& archive) {
    for (std::size_t entry = 0; entry < archive.Index().Count(); ++entry) {
      const ArchiveTime place = archive.Index().PlaceOf(entry);
      // When one with a wrong time was recorded is not known.
      if (place >= mBins.to || place != archive.Index().TimeOf(entry)) continue;
      const ArchiveTime end = std::min(EndOfEntry(archive, entry), mBins.to);
      const bool beginsWithin = place >= mBins.from;
      if (!beginsWithin && end <= mBins.from) continue;
      const std::uint32_t first = beginsWithin ? BinOf(place) : 0;
      const std::uint32_t last = end > mBins.from ? std::max(first, BinOf(end - 1)) : first;
      for (std::size_t i = 0; i < mStreamIds.size(); ++i) {
        const unsigned level = archive.Index().LevelOf(entry, mStreamIds[i]);
        AddLevel(level, beginsWithin, first, last, &mSums[i]);
      }
    }
  }

  std::vector<std::vector<BinLevels>> Levels() const {
    std::vector<std::vector<BinLevels>> levels;
    for (const std::vector<Sums>& row : mSums) {
      levels.emplace_back();
      for (const Sums& sums : row) levels.back().push_back(sums.Levels());
    }
    return levels;
  }

 private:
  std::uint32_t BinOf(ArchiveTime time) const {
    return static_cast<std::uint32_t>((time - mBins.from) / mBins.width);
  }

  static void AddLevel(unsigned level, bool beginsWithin, std::uint32_t first, std::uint32_t last,
                       std::vector<Sums>* row) {
    std::uint32_t bin = first;
    if (beginsWithin) {
      Sums& sums = (*row)[bin++];
      sums.highest = std::max(sums.highest, level);
      sums.all += level;
      ++sums.entries;
    }
    for (; level > 0 && bin <= last; ++bin)
      (*row)[bin].lasting = std::max((*row)[bin].lasting, level);
  }

  const std::vector<std::uint8_t>& mStreamIds;
  const ActivityBins& mBins;
  std::vector<std::vector<Sums>> mSums;
};

}  // namespace

ArchiveTime ActivityBins::End(std::uint32_t bin) const {
  return std::min(Start(bin + 1), to);
}

ActivityBins CutIntoBins(ArchiveTime from, ArchiveTime to, std::uint32_t mostBins) {
  assert(from < to && mostBins > 0);
  const ArchiveTime width = (to - from + mostBins - 1) / mostBins;
  return {from, to, width, static_cast<std::uint32_t>((to - from + width - 1) / width)};
}

std::vector<std::vector<BinLevels>> LevelsOf(const std::vector<std::uint8_t>& streamIds,
                                             const ActivityBins& bins, Timeline* timeline) {
  LevelSums sums(streamIds, bins);
  const std::vector<ServedArchive>& archives = timeline->Archives();
  for (std::size_t number = 0; number < archives.size(); ++number) {
    const ServedArchive& archive = archives[number];
    const ArchiveTime end = archive.end + std::max(archive.step, kArchiveTimePerIndexTime);
    if (archive.IsLeftOut() || archive.start >= bins.to || end < bins.from) continue;
    if (const OpenedArchive* const opened = timeline->Open(number)) sums.Add(*opened);
  }
  return sums.Levels();
}

std::vector<unsigned> RecordedThousandths(const ActivityBins& bins, Timeline* timeline) {
  std::vector<ArchiveTime> recorded(bins.count);
  for (const RecordedStretch& stretch : RecordedWithin(bins.from, bins.to, timeline)) {
    for (auto bin = static_cast<std::uint32_t>((stretch.from - bins.from) / bins.width);
         bin < bins.count && bins.Start(bin) < stretch.to; ++bin) {
      recorded[bin] +=
          std::min(stretch.to, bins.End(bin)) - std::max(stretch.from, bins.Start(bin));
    }
  }
  std::vector<unsigned> thousandths(bins.count);
  for (std::uint32_t bin = 0; bin < bins.count; ++bin) {
    if (recorded[bin] == 0) continue;
    const ArchiveTime width = bins.End(bin) - bins.Start(bin);
    thousandths[bin] = std::max(1u, static_cast<unsigned>(recorded[bin] * kThousandths / width));
  }
  return thousandths;
}
