#include "output/work_pace.h"

#include <algorithm>
#include <cmath>

namespace {

// Shorter parts are combined.
constexpr double kShortestPart = 0.1;
// After this time a part counts for about a third.
constexpr double kFading = 8;
constexpr double kUntilRate = 1;
constexpr double kUntilLeft = 2;
constexpr double kLongestLeft = 100 * 3600.0;
// Per second. Nothing is read this fast: work done faster did not have to be done.
constexpr double kFastest = 20e9;

}  // namespace

void WorkPace::Note(double now, std::uint64_t done) {
  if (!mHasBegun) {
    mHasBegun = true;
    mStart = mLast = now;
    mDone = done;
    return;
  }
  const double time = now - mLast;
  if (done < mDone) mDone = done;
  const auto amount = static_cast<double>(done - mDone);
  if (amount > kFastest * std::max(time, kShortestPart)) {
    mDone = done;
    return;
  }
  if (time < kShortestPart) return;
  const double fading = std::exp(-time / kFading);
  mAmount = mAmount * fading + amount;
  mTime = mTime * fading + time;
  mLast = now;
  mDone = done;
}

std::optional<double> WorkPace::Rate() const {
  if (!mHasBegun || mLast - mStart < kUntilRate || mAmount <= 0) return std::nullopt;
  return mAmount / mTime;
}

std::optional<double> WorkPace::Left(std::uint64_t all) const {
  const std::optional<double> rate = Rate();
  if (!rate || mLast - mStart < kUntilLeft) return std::nullopt;
  const double left = static_cast<double>(all - std::min(mDone, all)) / *rate;
  if (left > kLongestLeft) return std::nullopt;
  return left;
}
