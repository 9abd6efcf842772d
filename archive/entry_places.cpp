#include "archive/entry_places.h"

#include <algorithm>

ArchiveTime PlaceAmong(const TimesInARow& row, std::size_t number) {
  const auto& [first, middle, last] = row.times;
  if (row.count < 3) return row.times[number];
  // The neighbour of the first or the last may be the one whose time is wrong.
  if (number == 0) return first <= middle || first <= last ? first : middle;
  if (number == 2) return middle <= last || first <= last ? last : middle;
  const bool neighboursFit = first <= last;
  const bool fits = first <= middle && middle <= last;
  return neighboursFit && !fits ? first : middle;
}

void EntryPlaces::Add(ArchiveTime time) {
  if (mLast.count == mLast.times.size()) {
    std::rotate(mLast.times.begin(), mLast.times.begin() + 1, mLast.times.end());
    --mLast.count;
  }
  mLast.times[mLast.count++] = time;
  if (mLast.count < mLast.times.size()) return;
  if (!mHasToldFirst) mOnPlace(PlaceAmong(mLast, 0));
  mHasToldFirst = true;
  mOnPlace(PlaceAmong(mLast, 1));
}

void EntryPlaces::Finish() {
  for (std::size_t number = mHasToldFirst ? 2 : 0; number < mLast.count; ++number)
    mOnPlace(PlaceAmong(mLast, number));
}
