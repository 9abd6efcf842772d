#pragma once

#include <cstdint>
#include <limits>

#include "blocks/units.h"
#include "indexer/activity_range.h"

// Goes through the bins of a range from the first to the last, for index times that ascend. Bins
// are found by addition: 64-bit divisions cost more than everything else done with an entry.
class BinWalk {
 public:
  // Stands at the first bin. REQUIRES: `range` has bins and fits in 64 bits.
  explicit BinWalk(const ActivityRange& range)
      : mRange(range),
        mLast(static_cast<std::uint32_t>(range.binCount - 1)),
        mUnit(static_cast<std::uint32_t>(range.binCount * kArchiveTimePerIndexTime)),
        mLength(range.Span() / mUnit),
        mLengthRest(static_cast<std::uint32_t>(range.Span() % mUnit)) {
    StandAt(0);
  }

  std::uint32_t Number() const { return mNumber; }
  bool IsLast() const { return mNumber == mLast; }
  // The latest index time that lies in this bin or an earlier one; the last bin never ends.
  std::uint64_t Until() const { return mUntil; }

  // REQUIRES: this is not the last bin.
  void Next() {
    ++mNumber;
    mUntil += mLength;
    if (mRest < mUnit - mLengthRest) {
      mRest += mLengthRest;
    } else {
      mRest -= mUnit - mLengthRest;
      ++mUntil;
    }
    if (IsLast()) mUntil = kNever;
  }

  // Goes on to the bin of an index time; stays when the time lies in this bin or an earlier one.
  void MoveTo(std::uint64_t indexTime) {
    if (indexTime > mUntil) Next();
    if (indexTime > mUntil) StandAt(mRange.BinAt(indexTime * kArchiveTimePerIndexTime));
  }

 private:
  static constexpr std::uint64_t kNever = std::numeric_limits<std::uint64_t>::max();

  // A bin ends before the first index time t for which
  //   t * kArchiveTimePerIndexTime * binCount >= from * binCount + (number + 1) * span.
  void StandAt(std::uint32_t number) {
    mNumber = number;
    const std::uint64_t end = mRange.from % kArchiveTimePerIndexTime * mRange.binCount +
                              (std::uint64_t{number} + 1) * mRange.Span() - 1;
    mUntil = mRange.from / kArchiveTimePerIndexTime + end / mUnit;
    mRest = static_cast<std::uint32_t>(end % mUnit);
    if (IsLast()) mUntil = kNever;
  }

  const ActivityRange& mRange;
  const std::uint32_t mLast;
  // Lengths are counted in fractions of an archive time, binCount to one.
  const std::uint32_t mUnit;        // an index time
  const std::uint64_t mLength;      // a bin, in whole index times,
  const std::uint32_t mLengthRest;  // and what is left of it

  std::uint32_t mNumber = 0;
  std::uint64_t mUntil = 0;
  std::uint32_t mRest = 0;
};
