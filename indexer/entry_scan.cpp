#include "indexer/entry_scan.h"

void EntryScan::Add(const ZEL_ID3_REC* entries, int count) {
  if (count == 0) return;
  if (!mAny) mRange = TimeRange(entries->time);
  mAny = true;
  // Two passes over a portion that is near, each with so little at hand that it stays in registers.
  TimeRange range = mRange;
  bool timesAscend = mOrder.timesAscend;
  for (int i = 0; i < count; ++i) {
    if (entries[i].time < range.lastIndexTime) timesAscend = false;
    range.Add(entries[i].time);
  }
  bool positionsAscend = mOrder.positionsAscend;
  std::uint32_t position = mLastPosition;
  for (int i = 0; i < count; ++i) {
    if (entries[i].offsetLow < position) positionsAscend = false;
    position = entries[i].offsetLow;
  }
  mRange = range;
  mOrder = {timesAscend, positionsAscend};
  mLastPosition = position;
}
