#include "indexer/painted_bins.h"

#include <algorithm>
#include <iterator>

// The new stretch swallows every stretch that it overlaps or touches.
void PaintedBins::Merge(std::uint32_t first, std::uint32_t end, std::uint8_t level) {
  if (mFirst < mEnd) mOthers.emplace(mFirst, mEnd);
  mFirst = first;
  mEnd = end;
  std::uint32_t bare = first;
  auto other = mOthers.upper_bound(first);
  if (other != mOthers.begin() && std::prev(other)->second >= first) --other;
  while (other != mOthers.end() && other->first <= end) {
    if (bare < other->first) Fill(bare, other->first, level);
    bare = std::max(bare, other->second);
    mFirst = std::min(mFirst, other->first);
    mEnd = std::max(mEnd, other->second);
    other = mOthers.erase(other);
  }
  if (bare < end) Fill(bare, end, level);
  mNext = other == mOthers.end() ? std::numeric_limits<std::uint32_t>::max() : other->first;
}
