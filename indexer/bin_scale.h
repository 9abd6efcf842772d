#pragma once

#include <cstdint>

// A bin and the distances from the start of the range that fall into it.
struct Bin {
  std::uint64_t number = 0;
  std::uint64_t first = 0;
  std::uint64_t length = 0;  // 0: not known
  std::uint64_t rest = 0;    // (number * span + binCount - 1) % binCount
};

// Divides a range into bins: a distance from its start falls into bin distance * binCount / span,
// unsigned and 64 bits wide. A distance after the range may fall into any bin from binCount on,
// and where the product wraps, into any at all.
class BinScale {
 public:
  BinScale(std::uint64_t binCount, std::uint64_t span);

  // The bin of a distance. `near` is the bin found last: the one before it is found without a
  // division, which costs more than all else that is done with an entry of an index.
  Bin BinOf(std::uint64_t distance, const Bin& near) const;

 private:
  Bin Divide(std::uint64_t distance) const;
  Bin BinBefore(const Bin& bin) const;

  std::uint64_t mBinCount;
  std::uint64_t mSpan;
  std::uint64_t mLargest;  // the largest distance whose product does not wrap
  // How long bins are: some are longer by 1, so that the rest is used up.
  std::uint64_t mShortLength;
  std::uint64_t mLengthRest;
};
