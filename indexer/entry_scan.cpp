#include "indexer/entry_scan.h"

#include <algorithm>

void EntryScan::Add(const ZEL_ID3_REC* entries, int count) {
  if (count == 0) return;
  if (!mAny) mRange = TimeRange(entries->time);
  mAny = true;
  const TimeRange ascending = ScanAscending(entries, count);
  if (mOrder.timesAscend) {
    mRange = ascending;
  } else {
    for (int i = 0; i < count; ++i) mRange.Add(entries[i].time);
  }
}

// Everything in one pass without branches. The range that it gives is right as long as times
// ascend; the range so far stays for the plain rule.
TimeRange EntryScan::ScanAscending(const ZEL_ID3_REC* entries, int count) {
  TimeRange range = mRange;
  EntryOrder order = mOrder;
  // Kept less 1, so that two equal times are a huge step, which does not count.
  IndexTime smallestStep = range.minIndexStep - 1;
  IndexTime time = range.lastIndexTime;
  std::uint32_t position = mLastPosition;
  for (int i = 0; i < count; ++i) {
    order.timesAscend = order.timesAscend & (time <= entries[i].time);
    smallestStep = std::min(smallestStep, entries[i].time - time - 1);
    time = entries[i].time;
    order.positionsAscend = order.positionsAscend & (position <= entries[i].offsetLow);
    position = entries[i].offsetLow;
  }
  mOrder = order;
  mLastPosition = position;
  range.lastIndexTime = time;
  range.minIndexStep = smallestStep + 1;
  return range;
}
