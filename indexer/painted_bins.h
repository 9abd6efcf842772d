#pragma once

#include <cstdint>
#include <map>

// A row of bins in which the first paint stays: later strokes colour only what is still bare.
// Costs as much as the bins painted, and a search per stroke. Borrows the bins.
class PaintedBins {
 public:
  explicit PaintedBins(std::uint8_t* bins) : mBins(bins) {}

  // Colours the bare bins from `first` to `last`, both included.
  void Paint(std::int64_t first, std::int64_t last, std::uint8_t level);

 private:
  std::uint8_t* mBins;
  std::map<std::int64_t, std::int64_t>
      mPainted;  // first to last bin of each painted stretch, none touching
};
