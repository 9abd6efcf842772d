#include "indexer/bin_scale.h"

#include <limits>

namespace {

constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();

}  // namespace

BinScale::BinScale(std::uint64_t binCount, std::uint64_t span)
    : mBinCount(binCount),
      mSpan(span),
      mLargest(kMost / binCount),
      mShortLength(span / binCount),
      mLengthRest(span % binCount) {}

Bin BinScale::BinOf(std::uint64_t distance, const Bin& near) const {
  if (distance < near.first) {
    const Bin before = BinBefore(near);
    if (distance - before.first < before.length) return before;
  }
  return Divide(distance);
}

Bin BinScale::Divide(std::uint64_t distance) const {
  Bin bin;
  bin.number = mBinCount * distance / mSpan;
  // Where products wrap, a bin tells nothing about its neighbours. The largest distance is left out
  // too: bins end there at the latest, and their end is not part of them.
  if (distance >= mLargest || mSpan > kMost / (mBinCount + 1)) return bin;
  if (distance >= mSpan) {
    bin.number = mBinCount;
    bin.first = mSpan;
    bin.length = mLargest - mSpan;
    bin.rest = mBinCount - 1;
    return bin;
  }
  const std::uint64_t rounded = bin.number * mSpan + mBinCount - 1;
  bin.first = rounded / mBinCount;
  bin.rest = rounded % mBinCount;
  bin.length = (rounded + mSpan) / mBinCount - bin.first;
  return bin;
}

// REQUIRES: the first distance is known and above 0, so there is a bin before this one.
Bin BinScale::BinBefore(const Bin& bin) const {
  const bool isLonger = bin.rest < mLengthRest;
  const std::uint64_t length = mShortLength + (isLonger ? 1 : 0);
  return {bin.number - 1, bin.first - length, length,
          bin.rest + (isLonger ? mBinCount : 0) - mLengthRest};
}
