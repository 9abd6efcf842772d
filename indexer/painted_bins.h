#pragma once

#include <cstdint>
#include <map>

// A row of bins in which the first paint stays: later strokes colour only what is still bare. Each
// bin is painted once, and a stroke that does not continue the one before it costs one search.
// Borrows the bins.
class PaintedBins {
 public:
  explicit PaintedBins(std::uint8_t* bins) : mBins(bins) {}

  // Colours the bare bins from `first` to `last`, both included.
  void Paint(std::int64_t first, std::int64_t last, std::uint8_t level);

 private:
  // First to last bin of a painted stretch.
  using Stretches = std::map<std::int64_t, std::int64_t>;

  bool Extend(std::int64_t first, std::int64_t last, std::uint8_t level);
  void Merge(std::int64_t first, std::int64_t last, std::uint8_t level);

  std::uint8_t* mBins;
  Stretches mPainted;  // none touching another
  Stretches::iterator mLatest = mPainted.end();
};
