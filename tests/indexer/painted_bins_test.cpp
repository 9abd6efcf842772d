#include "indexer/painted_bins.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <random>

namespace {

using testing::ElementsAre;

using Bins = std::vector<std::uint8_t>;

TEST(PaintedBins, KeepTheirFirstPaint) {
  Bins bins(8, 0);
  PaintedBins painted(bins.data());
  painted.Paint(2, 3, 9);
  EXPECT_THAT(bins, ElementsAre(0, 0, 9, 9, 0, 0, 0, 0));
  painted.Paint(1, 4, 5);
  EXPECT_THAT(bins, ElementsAre(0, 5, 9, 9, 5, 0, 0, 0));
  painted.Paint(6, 6, 7);
  painted.Paint(0, 7, 1);
  EXPECT_THAT(bins, ElementsAre(1, 5, 9, 9, 5, 1, 7, 1));
  painted.Paint(0, 7, 2);
  EXPECT_THAT(bins, ElementsAre(1, 5, 9, 9, 5, 1, 7, 1));
}

TEST(PaintedBins, AreNotBareWhenPaintedWithZero) {
  Bins bins(4, 0);
  PaintedBins painted(bins.data());
  painted.Paint(1, 2, 0);
  painted.Paint(0, 3, 6);
  EXPECT_THAT(bins, ElementsAre(6, 0, 0, 6));
}

TEST(PaintedBins, AreTheSameAsThoseOfAPlainRow) {
  for (unsigned seed = 1; seed <= 2000; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const std::uint32_t count = 1 + random() % 40;
    Bins bins(static_cast<std::size_t>(count), 0);
    Bins expected = bins;
    std::vector<bool> bare(bins.size(), true);
    PaintedBins painted(bins.data());
    for (int stroke = 0; stroke < 30; ++stroke) {
      const std::uint32_t first = random() % count;
      const std::uint32_t last = first + random() % (count - first);
      const auto level = static_cast<std::uint8_t>(random() % 64);
      painted.Paint(first, last, level);
      for (auto bin = static_cast<std::size_t>(first); bin <= static_cast<std::size_t>(last);
           ++bin) {
        if (bare[bin]) expected[bin] = level;
        bare[bin] = false;
      }
      ASSERT_EQ(bins, expected) << "stroke " << stroke;
    }
  }
}

// Looking at every bin of every stroke would take hours.
TEST(PaintedBins, CostNoMoreThanBinsAndStrokes) {
  constexpr std::uint32_t kCount = 1000000;
  Bins bins(kCount, 0);
  PaintedBins painted(bins.data());
  for (std::uint32_t i = 0; i < kCount; ++i) {
    painted.Paint(kCount / 2 - (i + 1) / 2, kCount / 2 + i / 2, 3);
  }
  EXPECT_EQ(bins, Bins(kCount, 3));
}

TEST(PaintedBins, CostNoMoreForManyApartStretches) {
  constexpr std::uint32_t kCount = 1000000;
  Bins bins(kCount, 0);
  PaintedBins painted(bins.data());
  for (std::uint32_t bin = 0; bin < kCount; bin += 2) painted.Paint(bin, bin, 1);
  for (int i = 0; i < 100000; ++i) painted.Paint(0, kCount - 1, 2);
  EXPECT_EQ(std::count(bins.begin(), bins.end(), 1), kCount / 2);
  EXPECT_EQ(std::count(bins.begin(), bins.end(), 2), kCount / 2);
}

}  // namespace
