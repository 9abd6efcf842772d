#include <algorithm>
#include <limits>
#include <optional>
#include <vector>

#include "indexer/bin_scale.h"
#include "indexer/painted_bins.h"
#include "indexer/zel3_indexer.h"

namespace {

constexpr std::uint8_t kLevelMask = 0x3F;

// What one entry paints in fine mode; the last stroke of a walk wins.
struct Stroke {
  std::int32_t first;
  std::int32_t last;
  std::uint8_t level;
};

// A stroke leaves nothing of those before it that it covers.
void AddStroke(const Stroke& stroke, std::vector<Stroke>* strokes) {
  while (!strokes->empty() && stroke.first <= strokes->back().first &&
         strokes->back().last <= stroke.last) {
    strokes->pop_back();
  }
  strokes->push_back(stroke);
}

// The pair of the stream among the pairs in use; null when there is none.
const TActivityPair* PairOf(const ZEL_ID3_REC& entry, std::int32_t streamId) {
  const int count = std::min(entry.activityCount, kMaxActivityPairs);
  for (int i = 0; i < count; ++i) {
    if (entry.activity[i].streamId == streamId) return &entry.activity[i];
  }
  return nullptr;
}

// How many entries at the start of a file may lie at or before a time; the others do not.
int EntriesUntil(const FiledStore& store, ArchiveTime time) {
  const ZEL_ID3_REC* const first = store.id3Records.constData();
  const ZEL_ID3_REC* const end = first + store.id3Records.size();
  if (!store.order.entriesAscend) return store.id3Records.size();
  const auto isBefore = [](std::uint64_t indexTime, const ZEL_ID3_REC& entry) {
    return indexTime < entry.time;
  };
  return static_cast<int>(std::upper_bound(first, end, time / kArchiveTimePerIndexTime, isBefore) -
                          first);
}

// What is asked for. All arithmetic is unsigned and 64 bits wide; a range that ends before it
// begins is a huge one.
struct Range {
  explicit Range(const TZEL3ActivityRequest& request)
      : from(request.from),
        to(request.to),
        binCount(static_cast<std::uint64_t>(request.binCount)),
        streamId(request.streamId) {}

  std::uint64_t Span() const { return to - from; }
  BinScale Scale() const { return BinScale(binCount, Span()); }
  bool IsFine() const { return to <= from + binCount * kArchiveTimePerIndexTime; }

  ArchiveTime from;
  ArchiveTime to;
  std::uint64_t binCount;
  std::int32_t streamId;
};

// Index times that fall into the same bins, both ends included.
struct IndexTimes {
  bool Hold(IndexTime indexTime) const { return first <= indexTime && indexTime <= last; }

  std::uint32_t first;
  std::uint32_t last;
};

// How many index times lie within a distance. Divisions by 64 bits are slow on 32-bit machines.
std::uint32_t IndexTimesIn(std::uint64_t distance) {
  constexpr std::uint32_t kUnit = kArchiveTimePerIndexTime;
  const auto low = static_cast<std::uint32_t>(distance);
  if (low == distance) return low / kUnit;
  constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max();
  return static_cast<std::uint32_t>(std::min(distance / kUnit, kMost));
}

// The index times around `indexTime` whose distances from the start of a range, as its own
// `distance`, lie in [`first`, `end`).
IndexTimes TimesWithin(IndexTime indexTime, std::uint64_t distance, std::uint64_t first,
                       std::uint64_t end) {
  const std::uint32_t mostBehind = std::numeric_limits<std::uint32_t>::max() - indexTime;
  return {indexTime - IndexTimesIn(distance - first),
          indexTime + std::min(IndexTimesIn(end - 1 - distance), mostBehind)};
}

// Those that lie in one bin of a range.
IndexTimes TimesInBin(IndexTime indexTime, std::uint64_t distance, const Bin& bin,
                      const Range& range) {
  if (bin.length == 0) return {indexTime, indexTime};
  return TimesWithin(indexTime, distance, bin.first,
                     std::min(bin.first + bin.length, range.Span() + 1));
}

// Those that begin in the one bin and, `step` later, end in the other.
IndexTimes TimesFromBinToBin(IndexTime indexTime, std::uint64_t distance, std::uint64_t step,
                             const Bin& start, const Bin& end, const Range& range) {
  if (start.length == 0 || end.length == 0) return {indexTime, indexTime};
  const std::uint64_t first = std::max(start.first, end.first > step ? end.first - step : 0);
  const std::uint64_t after =
      std::min({start.first + start.length, end.first + end.length - step, range.Span() + 1});
  return TimesWithin(indexTime, distance, first, after);
}

// Raises the level of each bin to that of the entries that lie in it. True when there are any.
bool RaiseLevels(const FiledStore& store, Range range, std::uint8_t* levels) {
  const ZEL_ID3_REC* const entries = store.id3Records.constData();
  const BinScale scale = range.Scale();
  Bin bin;
  bool found = false;
  for (int number = EntriesUntil(store, range.to); number > 0;) {
    const IndexTime indexTime = entries[number - 1].time;
    const ArchiveTime time = ToArchiveTime(indexTime);
    if (time < range.from) break;
    if (time > range.to) {
      --number;
      continue;
    }
    const std::uint64_t distance = time - range.from;
    bin = scale.BinOf(distance, bin);
    const IndexTimes alike = TimesInBin(indexTime, distance, bin, range);
    int level = -1;
    do {
      --number;
      const TActivityPair* const pair = PairOf(entries[number], range.streamId);
      if (pair != nullptr) level = std::max(level, pair->level & kLevelMask);
    } while (number > 0 && alike.Hold(entries[number - 1].time));
    if (level < 0) continue;
    found = true;
    // An entry right at the start of the range counts for bin 1.
    std::uint8_t& raised = levels[std::min(bin.number + 1, range.binCount - 1)];
    raised = std::max(raised, static_cast<std::uint8_t>(level));
  }
  return found;
}

// Collects what the entries paint, each from its time on for as long as entries are apart. True
// when one of them carries activity. `low`: the bin in which the last stroke begins, from file to
// file.
bool CollectStrokes(const FiledStore& store, Range range, std::uint64_t* low,
                    std::vector<Stroke>* strokes) {
  const ZEL_ID3_REC* const entries = store.id3Records.constData();
  const std::uint64_t step = ToArchiveTime(store.indexInterval);
  const std::uint64_t lastBin = range.binCount - 1;
  const BinScale scale = range.Scale();
  Bin start;
  Bin end;
  bool found = false;
  for (int number = EntriesUntil(store, range.to); number > 0;) {
    const IndexTime indexTime = entries[number - 1].time;
    const ArchiveTime time = ToArchiveTime(indexTime);
    if (time < range.from && (*low < 1 || time + step < range.from)) break;
    if (time > range.to) {
      --number;
      continue;
    }
    end = scale.BinOf(time + step - range.from, end);
    const std::uint64_t last = std::min(end.number, lastBin);
    std::uint64_t first = 0;
    std::optional<IndexTimes> alike;
    if (time >= range.from) {
      const std::uint64_t distance = time - range.from;
      start = scale.BinOf(distance, start);
      first = std::min(start.number, lastBin);
      alike = TimesFromBinToBin(indexTime, distance, step, start, end, range);
    }
    *low = first;
    // Of those alike the last one walked over paints over the others.
    do {
      --number;
      found = found || PairOf(entries[number], range.streamId) != nullptr;
    } while (alike && number > 0 && alike->Hold(entries[number - 1].time));
    if (last < first) continue;
    const TActivityPair* const pair = PairOf(entries[number], range.streamId);
    const int level = pair == nullptr ? 0 : pair->level & kLevelMask;
    AddStroke({static_cast<std::int32_t>(first), static_cast<std::int32_t>(last),
               static_cast<std::uint8_t>(level)},
              strokes);
  }
  return found;
}

}  // namespace

bool cZel3Indexer::Fill_activity(const TZEL3ActivityRequest& request, TActivityGist* gist) const {
  gist->from = request.from;
  gist->to = request.to;
  gist->streamId = request.streamId;
  gist->binCount = request.binCount;
  if (request.binCount <= 0 || request.from == request.to) return false;

  const Range range(request);
  const StoreList::Stores& files = stores.Files();
  std::uint8_t* const levels = gist->Levels();
  bool found = false;
  if (!range.IsFine()) {
    for (auto store = files.rbegin(); store != files.rend(); ++store)
      found = RaiseLevels(*store, range, levels) || found;
    return found;
  }

  std::vector<Stroke> strokes;
  std::uint64_t low = range.binCount - 1;
  for (auto store = files.rbegin(); store != files.rend(); ++store)
    found = CollectStrokes(*store, range, &low, &strokes) || found;
  // Each stroke would overwrite those before it. Painted from the last to the first, each bin is
  // painted once.
  PaintedBins painted(levels);
  for (auto stroke = strokes.rbegin(); stroke != strokes.rend(); ++stroke) {
    painted.Paint(stroke->first, stroke->last, stroke->level);
  }
  return found;
}
