#include <algorithm>
#include <limits>
#include <vector>

#include "indexer/activity_range.h"
#include "indexer/bin_walk.h"
#include "indexer/painted_bins.h"
#include "indexer/zel3_indexer.h"

namespace {

constexpr std::uint8_t kLevelMask = 0x3F;
constexpr int kNoLevel = -1;

// The level in the stream's first pair; if that pair is not in use, no later one is either. It is
// usually one of the first two, which are told apart without a branch: the fewer branches there
// are, the better the processor predicts where a bin ends.
int LevelOf(const ZEL_ID3_REC& entry, std::int32_t streamId) {
  int pair = entry.activity[0].streamId != streamId ? 1 : 0;
  while (entry.activity[pair].streamId != streamId) {
    if (++pair == kMaxActivityPairs) return kNoLevel;
  }
  return pair < entry.activityCount ? entry.activity[pair].level & kLevelMask : kNoLevel;
}

// What an entry paints: its level, or 0 without one.
std::uint8_t PaintOf(const ZEL_ID3_REC& entry, std::int32_t streamId) {
  return static_cast<std::uint8_t>(std::max(LevelOf(entry, streamId), 0));
}

IndexTime AsIndexTime(std::uint64_t time) {
  constexpr std::uint64_t kMost = std::numeric_limits<IndexTime>::max();
  return static_cast<IndexTime>(std::min(time, kMost));
}

// The entries of a file that count, in the order of the file.
struct CountedEntries {
  const ZEL_ID3_REC* begin;
  const ZEL_ID3_REC* end;
  IndexTime interval;  // how long each lasts
  // Times ascend, and no arithmetic wraps. Where times do not ascend, some of these entries may lie
  // after the range; those do not count.
  bool areRegular;
};

// Walks from the last entry to the first. The walk ends at an entry before the range, unless that
// entry lasts into the range and the entry counted last begins after the first bin. In fine mode
// `low` is the bin in which the entry counted last begins; it is carried from file to file.
CountedEntries CountEntries(const FiledStore& store, const ActivityRange& range,
                            std::uint64_t* low) {
  const auto isBefore = [&range](const ZEL_ID3_REC& entry) {
    return ToArchiveTime(entry.time) < range.from;
  };
  const auto isNotAfter = [&range](const ZEL_ID3_REC& entry) {
    return ToArchiveTime(entry.time) <= range.to;
  };
  const std::uint64_t step = ToArchiveTime(store.indexInterval);
  const bool areRegular = store.order.entriesAscend && range.FitsIn64Bits();
  const ZEL_ID3_REC* const start = store.id3Records.constData();
  const ZEL_ID3_REC* end = start + store.id3Records.size();
  const ZEL_ID3_REC* begin = end;
  // Entries after the range do not change how the walk ends.
  if (store.order.entriesAscend) begin = end = std::partition_point(start, end, isNotAfter);
  if (areRegular) {
    // The walk would count all entries in the range; only its last steps are left.
    begin = std::partition_point(start, end, isBefore);
    if (begin != end) ++begin;
  }
  while (begin != start) {
    const ZEL_ID3_REC& entry = *(begin - 1);
    const ArchiveTime time = ToArchiveTime(entry.time);
    if (isBefore(entry) && (*low < 1 || time + step < range.from)) break;
    if (range.IsFine() && isNotAfter(entry)) *low = isBefore(entry) ? 0 : range.BinAt(time);
    --begin;
  }
  return {begin, end, store.indexInterval, areRegular};
}

bool HaveStream(const CountedEntries& entries, const ActivityRange& range) {
  return std::any_of(entries.begin, entries.end, [&range](const ZEL_ID3_REC& entry) {
    return LevelOf(entry, range.streamId) != kNoLevel && ToArchiveTime(entry.time) <= range.to;
  });
}

// Fine mode: an entry paints all bins that it lasts, over the paint of later entries. So when going
// forward, the first paint stays.
void PaintOneByOne(const CountedEntries& entries, const ActivityRange& range,
                   PaintedBins* painted) {
  for (const ZEL_ID3_REC* entry = entries.begin; entry != entries.end; ++entry) {
    const ArchiveTime time = ToArchiveTime(entry->time);
    if (time > range.to) continue;
    const std::uint32_t first = time > range.from ? range.BinAt(time) : 0;
    const std::uint32_t last = range.BinAt(time + ToArchiveTime(entries.interval));
    if (first <= last) painted->Paint(first, last, PaintOf(*entry, range.streamId));
  }
}

// Neither this nor RaiseLevels is inlined: in one function both would run short of registers in 32
// bits.
[[gnu::noinline]] void Paint(const CountedEntries& entries, const ActivityRange& range,
                             PaintedBins* painted) {
  if (!entries.areRegular) return PaintOneByOne(entries, range, painted);
  BinWalk bins(range);
  for (const ZEL_ID3_REC* entry = entries.begin; entry != entries.end;) {
    bins.MoveTo(entry->time);
    const std::uint32_t first = bins.Number();
    bins.MoveTo(std::uint64_t{entry->time} + entries.interval);
    painted->Paint(first, bins.Number(), PaintOf(*entry, range.streamId));
    if (bins.IsLast()) return;
    // Entries up to this time end in this bin, too.
    const IndexTime painting = AsIndexTime(bins.Until() - entries.interval);
    while (entry != entries.end && entry->time <= painting) ++entry;
    bins.Next();
  }
}

// Coarse mode: a bin gets the largest level of the entries in the bin before it; the last bin also
// counts its own.
void Raise(std::uint32_t bin, int level, const ActivityRange& range, std::uint8_t* levels) {
  std::uint8_t& raised = levels[std::min<std::uint64_t>(bin + 1, range.binCount - 1)];
  raised = static_cast<std::uint8_t>(std::max<int>(raised, level));
}

void RaiseOneByOne(const CountedEntries& entries, const ActivityRange& range,
                   std::uint8_t* levels) {
  for (const ZEL_ID3_REC* entry = entries.begin; entry != entries.end; ++entry) {
    const ArchiveTime time = ToArchiveTime(entry->time);
    if (time <= range.to) Raise(range.BinAt(time), LevelOf(*entry, range.streamId), range, levels);
  }
}

[[gnu::noinline]] void RaiseLevels(const CountedEntries& entries, const ActivityRange& range,
                                   std::uint8_t* levels) {
  if (!entries.areRegular) return RaiseOneByOne(entries, range, levels);
  const std::int32_t streamId = range.streamId;
  const ZEL_ID3_REC* const end = entries.end;
  BinWalk bins(range);
  for (const ZEL_ID3_REC* entry = entries.begin; entry != end;) {
    bins.MoveTo(entry->time);
    const IndexTime until = AsIndexTime(bins.Until());
    int level = kNoLevel;
    for (; entry != end && entry->time <= until; ++entry)
      level = std::max(level, LevelOf(*entry, streamId));
    Raise(bins.Number(), level, range, levels);
  }
}

}  // namespace

bool cZel3Indexer::Fill_activity(const TZEL3ActivityRequest& request, TActivityGist* gist) const {
  gist->from = request.from;
  gist->to = request.to;
  gist->streamId = request.streamId;
  gist->binCount = request.binCount;
  if (request.binCount <= 0 || request.from == request.to) return false;

  const ActivityRange range(request);
  std::uint64_t low = range.IsFine() ? range.binCount - 1 : 0;
  std::vector<CountedEntries> counted;  // from the last file to the first
  const StoreList::Stores& files = stores.Files();
  for (auto store = files.rbegin(); store != files.rend(); ++store)
    counted.push_back(CountEntries(*store, range, &low));
  const bool found =
      std::any_of(counted.begin(), counted.end(),
                  [&range](const CountedEntries& entries) { return HaveStream(entries, range); });
  if (!found) return false;

  PaintedBins painted(gist->Levels());
  for (auto entries = counted.rbegin(); entries != counted.rend(); ++entries) {
    if (range.IsFine()) {
      Paint(*entries, range, &painted);
    } else {
      RaiseLevels(*entries, range, gist->Levels());
    }
  }
  return true;
}
