#include "client/activity_bins.h"

#include <algorithm>
#include <cassert>

namespace {

constexpr unsigned kThousandths = 1000;

// Finds bins, and divides only when a time lies outside the bin found last.
class BinFinder {
 public:
  explicit BinFinder(const ActivityBins& bins) : mBins(bins), mStart(bins.from) {}

  // REQUIRES: `time` does not lie before the bins.
  std::uint32_t BinOf(ArchiveTime time) {
    if (time - mStart >= mBins.width) {
      mBin = static_cast<std::uint32_t>((time - mBins.from) / mBins.width);
      mStart = mBins.Start(mBin);
    }
    return mBin;
  }

 private:
  const ActivityBins& mBins;
  std::uint32_t mBin = 0;
  ArchiveTime mStart;
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

ActivityMeasure::ActivityMeasure(const std::vector<std::uint8_t>& streamIds,
                                 const ActivityBins& bins, Timeline* timeline)
    : mStreamIds(streamIds),
      mBins(bins),
      mTimeline(*timeline),
      mRecorded(bins.from, bins.to, timeline),
      mSums(streamIds.size(), std::vector<Sums>(bins.count)) {}

void ActivityMeasure::Add(std::size_t number) {
  const ServedArchive& archive = mTimeline.Archives()[number];
  const ArchiveTime end = archive.end + std::max(archive.step, kArchiveTimePerIndexTime);
  if (!archive.IsLeftOut() && archive.start < mBins.to && end >= mBins.from) {
    if (const OpenedArchive* const opened = mTimeline.Open(number)) AddLevels(*opened);
  }
  mRecorded.Add(number);
}

void ActivityMeasure::AddAll() {
  mTimeline.ForEach("measuring", [this](std::size_t number) { Add(number); });
}

void ActivityMeasure::AddLevels(const OpenedArchive& archive) {
  const KeptIndex& index = archive.Index();
  BinFinder starts(mBins);
  BinFinder ends(mBins);
  for (std::size_t entry = 0; entry < index.Count(); ++entry) {
    const ArchiveTime place = index.PlaceOf(entry);
    // When an entry with a wrong time was recorded is not known.
    if (place >= mBins.to || place != index.TimeOf(entry)) continue;
    const ArchiveTime end = std::min(EndOfEntry(archive, entry), mBins.to);
    const bool beginsWithin = place >= mBins.from;
    if (!beginsWithin && end <= mBins.from) continue;
    const std::uint32_t first = beginsWithin ? starts.BinOf(place) : 0;
    const std::uint32_t last = end > mBins.from ? std::max(first, ends.BinOf(end - 1)) : first;
    for (std::size_t i = 0; i < mStreamIds.size(); ++i)
      AddLevel(index.LevelOf(entry, mStreamIds[i]), beginsWithin, first, last, &mSums[i]);
  }
}

void ActivityMeasure::AddLevel(unsigned level, bool beginsWithin, std::uint32_t first,
                               std::uint32_t last, std::vector<Sums>* row) {
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

std::vector<std::vector<BinLevels>> ActivityMeasure::Levels() const {
  std::vector<std::vector<BinLevels>> levels;
  for (const std::vector<Sums>& row : mSums) {
    levels.emplace_back();
    for (const Sums& sums : row) {
      if (sums.entries == 0) {
        levels.back().push_back({sums.lasting, static_cast<double>(sums.lasting)});
      } else {
        levels.back().push_back({sums.highest, static_cast<double>(sums.all) / sums.entries});
      }
    }
  }
  return levels;
}

std::vector<unsigned> ActivityMeasure::RecordedThousandths() const {
  std::vector<ArchiveTime> recorded(mBins.count);
  for (const RecordedStretch& stretch : mRecorded.Stretches()) {
    for (auto bin = static_cast<std::uint32_t>((stretch.from - mBins.from) / mBins.width);
         bin < mBins.count && mBins.Start(bin) < stretch.to; ++bin) {
      recorded[bin] +=
          std::min(stretch.to, mBins.End(bin)) - std::max(stretch.from, mBins.Start(bin));
    }
  }
  std::vector<unsigned> thousandths(mBins.count);
  for (std::uint32_t bin = 0; bin < mBins.count; ++bin) {
    if (recorded[bin] == 0) continue;
    const ArchiveTime width = mBins.End(bin) - mBins.Start(bin);
    thousandths[bin] = std::max(1u, static_cast<unsigned>(recorded[bin] * kThousandths / width));
  }
  return thousandths;
}
