#pragma once

#include <cstdint>
#include <optional>

// The recent speed of work: what is long past counts little. Times are in seconds, from any origin.
class WorkPace {
 public:
  // Takes how much is done, at the start and then as often as it is known. Less than before means
  // that a part is done again.
  void Note(double now, std::uint64_t done);

  // How much is done in a second. Nothing until it is known.
  std::optional<double> Rate() const;
  // How many seconds are left until all is done. Nothing until it is known, or when it is longer
  // than people would believe.
  std::optional<double> Left(std::uint64_t all) const;

 private:
  bool mHasBegun = false;
  double mStart = 0;
  double mLast = 0;
  std::uint64_t mDone = 0;
  // Both fade, at the same speed; their quotient is the rate.
  double mAmount = 0;
  double mTime = 0;
};
