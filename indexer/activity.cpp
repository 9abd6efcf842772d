#include <algorithm>

#include "painted_bins.h"
#include "zel3_indexer.h"

namespace {

constexpr std::uint8_t kLevelMask = 0x3F;

// What one entry paints in fine mode; the last stroke of a walk wins.
struct Stroke {
  std::int32_t first;
  std::int32_t last;
  std::uint8_t level;
};

// A stroke leaves nothing of those before it that it covers.
void AddStroke(std::vector<Stroke>& strokes, const Stroke& stroke) {
  while (!strokes.empty() && stroke.first <= strokes.back().first &&
         strokes.back().last <= stroke.last) {
    strokes.pop_back();
  }
  strokes.push_back(stroke);
}

// The pair of the stream among the pairs in use; null when there is none.
const TActivityPair* PairOf(const ZEL_ID3_REC& entry, std::int32_t streamId) {
  const TActivityPair* const end =
      entry.activity + std::min(entry.activityCount, kMaxActivityPairs);
  const TActivityPair* const pair =
      std::find_if(entry.activity, end,
                   [streamId](const TActivityPair& other) { return other.streamId == streamId; });
  return pair == end ? nullptr : pair;
}

// Gives the bin of a distance from the start of the range: distance * binCount / span, unsigned and
// 64 bits wide. Distances that follow each other mostly fall into one bin, which costs no division.
class BinScale {
 public:
  BinScale(std::uint64_t binCount, std::uint64_t span)
      : mBinCount(binCount), mSpan(span), mWraps(span > ~std::uint64_t{0} / (binCount + 1)) {}

  std::uint64_t BinOf(std::uint64_t distance) {
    if (distance - mFirst < mLength) return mBin;
    mBin = mBinCount * distance / mSpan;
    // Where the products wrap, or behind the range, the bin tells nothing about its neighbours.
    const bool known = !mWraps && mBin < mBinCount;
    mFirst = known ? FirstDistanceIn(mBin) : 0;
    mLength = known ? FirstDistanceIn(mBin + 1) - mFirst : 0;
    return mBin;
  }

 private:
  std::uint64_t FirstDistanceIn(std::uint64_t bin) const {
    return (bin * mSpan + mBinCount - 1) / mBinCount;
  }

  std::uint64_t mBinCount;
  std::uint64_t mSpan;
  bool mWraps;
  // The last bin, and the distances that fall into it.
  std::uint64_t mBin = 0;
  std::uint64_t mFirst = 0;
  std::uint64_t mLength = 0;
};

// How many entries at the start of a file may lie at or before a time; the others do not.
int EntriesUntil(const sFile_Index_Store& store, std::uint64_t time) {
  const ZEL_ID3_REC* const first = store.id3Records.constData();
  const ZEL_ID3_REC* const end = first + store.id3Records.size();
  if (!store.entriesAscend) return store.id3Records.size();
  const auto isBefore = [](std::uint64_t indexTime, const ZEL_ID3_REC& entry) {
    return indexTime < entry.time;
  };
  return static_cast<int>(std::upper_bound(first, end, time / kArchiveTimePerIndexTime, isBefore) -
                          first);
}

}  // namespace

bool cZel3Indexer::Fill_activity(const TZEL3ActivityRequest& request, TActivityGist* gist) const {
  gist->from = request.from;
  gist->to = request.to;
  gist->streamId = request.streamId;
  gist->binCount = request.binCount;
  const std::uint64_t from = request.from;
  const std::uint64_t to = request.to;
  const std::uint64_t span = to - from;
  if (request.binCount <= 0 || span == 0) return false;

  // All arithmetic is unsigned and 64 bits wide; a range that ends before it begins is a huge one.
  const auto binCount = static_cast<std::uint64_t>(request.binCount);
  const std::uint64_t lastBin = binCount - 1;
  const bool fine = to <= from + binCount * kArchiveTimePerIndexTime;
  BinScale starts(binCount, span);
  BinScale ends(binCount, span);

  std::uint8_t* const levels = gist->Levels();
  std::uint64_t low = fine ? lastBin : 0;  // carried from file to file
  std::vector<Stroke> strokes;
  bool found = false;
  for (std::size_t file = files.size(); file-- > 0;) {
    const sFile_Index_Store& store = files[file];
    const std::uint64_t step = ArchiveTime(store.indexInterval);
    const ZEL_ID3_REC* const entries = store.id3Records.constData();
    for (int number = EntriesUntil(store, to); number-- > 0;) {
      const ZEL_ID3_REC& entry = entries[number];
      const std::uint64_t time = ArchiveTime(entry.time);
      if (time < from && (low < 1 || time + step < from)) break;
      if (time > to) continue;
      const TActivityPair* const pair = PairOf(entry, request.streamId);
      const auto level = static_cast<std::uint8_t>(pair == nullptr ? 0 : pair->level & kLevelMask);
      found = found || pair != nullptr;
      if (fine) {
        const std::uint64_t first = std::min(time > from ? starts.BinOf(time - from) : 0, lastBin);
        const std::uint64_t last = std::min(ends.BinOf(time + step - from), lastBin);
        low = first;
        if (first <= last) {
          AddStroke(strokes,
                    {static_cast<std::int32_t>(first), static_cast<std::int32_t>(last), level});
        }
      } else if (pair != nullptr) {
        // An entry right at the start of the range counts for bin 1.
        const std::uint64_t bin = std::min(starts.BinOf(time - from) + 1, lastBin);
        levels[bin] = std::max(levels[bin], level);
      }
    }
  }

  // Each stroke would overwrite those before it. Painted from the last to the first, each bin is
  // painted once.
  PaintedBins painted(levels);
  for (auto stroke = strokes.rbegin(); stroke != strokes.rend(); ++stroke) {
    painted.Paint(stroke->first, stroke->last, stroke->level);
  }
  return found;
}
