#include "indexer/painted_bins.h"

#include <algorithm>
#include <cstring>
#include <iterator>

void PaintedBins::Paint(std::int64_t first, std::int64_t last, std::uint8_t level) {
  if (!Extend(first, last, level)) Merge(first, last, level);
}

// Mostly a stroke begins in the stretch painted last, or right after it, and reaches no other.
bool PaintedBins::Extend(std::int64_t first, std::int64_t last, std::uint8_t level) {
  if (mLatest == mPainted.end() || first < mLatest->first || first > mLatest->second + 1)
    return false;
  if (last <= mLatest->second) return true;
  const auto next = std::next(mLatest);
  if (next != mPainted.end() && next->first <= last + 1) return false;
  std::memset(mBins + mLatest->second + 1, level, static_cast<std::size_t>(last - mLatest->second));
  mLatest->second = last;
  return true;
}

void PaintedBins::Merge(std::int64_t first, std::int64_t last, std::uint8_t level) {
  // The new stretch swallows every stretch that it overlaps or touches.
  std::int64_t mergedFirst = first;
  std::int64_t mergedLast = last;
  std::int64_t bare = first;
  auto stretch = mPainted.upper_bound(first);
  if (stretch != mPainted.begin() && std::prev(stretch)->second + 1 >= first) --stretch;
  while (stretch != mPainted.end() && stretch->first <= last + 1) {
    if (bare < stretch->first) {
      std::memset(mBins + bare, level, static_cast<std::size_t>(stretch->first - bare));
    }
    bare = std::max(bare, stretch->second + 1);
    mergedFirst = std::min(mergedFirst, stretch->first);
    mergedLast = std::max(mergedLast, stretch->second);
    stretch = mPainted.erase(stretch);
  }
  if (bare <= last) std::memset(mBins + bare, level, static_cast<std::size_t>(last + 1 - bare));
  mLatest = mPainted.emplace_hint(stretch, mergedFirst, mergedLast);
}
