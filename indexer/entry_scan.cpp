#include "indexer/entry_scan.h"

void EntryScan::Add(const ZEL_ID3_REC* entries, int count) {
  if (count == 0) return;
  if (!mAny) mRange = TimeRange(entries->time);
  mAny = true;
  // Copies, which stay in registers: all entries pass here.
  TimeRange range = mRange;
  EntryOrder order = mOrder;
  std::uint32_t position = mLastPosition;
  for (int i = 0; i < count; ++i) {
    if (entries[i].time < range.lastIndexTime) order.timesAscend = false;
    range.Add(entries[i].time);
    if (entries[i].offsetLow < position) order.positionsAscend = false;
    position = entries[i].offsetLow;
  }
  mRange = range;
  mOrder = order;
  mLastPosition = position;
}
