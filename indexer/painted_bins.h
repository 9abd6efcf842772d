#pragma once

#include <cstdint>
#include <cstring>
#include <limits>
#include <map>

// A row of bins in which the first paint stays: later strokes colour only what is still bare. Each
// bin is painted once, and a stroke that does not continue the one before it costs one search.
// Borrows the bins, of which there are fewer than 2^31.
class PaintedBins {
 public:
  explicit PaintedBins(std::uint8_t* bins) : mBins(bins) {}

  // Colours the bare bins from `first` to `last`, both included.
  void Paint(std::uint32_t first, std::uint32_t last, std::uint8_t level) {
    const std::uint32_t end = last + 1;
    // Mostly a stroke begins in the stretch painted last, or right after it, and reaches no other.
    if (first < mFirst || first > mEnd || end >= mNext) return Merge(first, end, level);
    if (end <= mEnd) return;
    Fill(mEnd, end, level);
    mEnd = end;
  }

 private:
  void Fill(std::uint32_t first, std::uint32_t end, std::uint8_t level) {
    std::memset(mBins + first, level, static_cast<std::size_t>(end - first));
  }
  void Merge(std::uint32_t first, std::uint32_t end, std::uint8_t level);

  std::uint8_t* mBins;
  // The stretch painted last, and where the next one begins.
  std::uint32_t mFirst = 0;
  std::uint32_t mEnd = 0;
  std::uint32_t mNext = std::numeric_limits<std::uint32_t>::max();
  std::map<std::uint32_t, std::uint32_t> mOthers;  // first bin and end, none touching another
};
