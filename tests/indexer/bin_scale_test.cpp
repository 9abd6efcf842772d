#include "indexer/bin_scale.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <limits>
#include <random>
#include <vector>

namespace {

constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();

// A range divided by the plain rule. All bins after the range count as one.
struct PlainScale {
  std::uint64_t NumberOf(std::uint64_t distance) const {
    return std::min(binCount * distance / span, binCount);
  }
  std::uint64_t LargestWithoutWrapping() const { return kMost / binCount; }

  std::uint64_t binCount;
  std::uint64_t span;
};

// The bin has the number of the distance, and so have all distances that it says are in it.
void ExpectRight(const PlainScale& plain, std::uint64_t distance, const Bin& bin) {
  SCOPED_TRACE(testing::Message() << plain.binCount << " bins of " << plain.span << ", distance "
                                  << distance);
  ASSERT_EQ(std::min(bin.number, plain.binCount), plain.NumberOf(distance));
  if (bin.length == 0) return;
  const std::uint64_t last = bin.first + bin.length - 1;
  ASSERT_LE(bin.first, distance);
  ASSERT_LE(distance, last);
  ASSERT_EQ(plain.NumberOf(bin.first), plain.NumberOf(distance));
  ASSERT_EQ(plain.NumberOf(last), plain.NumberOf(distance));
  ASSERT_LE(last, plain.LargestWithoutWrapping());
}

TEST(BinScale, DividesTenInThree) {
  const BinScale scale(3, 10);
  const Bin last = scale.BinOf(9, Bin());
  EXPECT_EQ(last.number, 2U);
  EXPECT_EQ(last.first, 7U);
  EXPECT_EQ(last.length, 3U);
  const Bin middle = scale.BinOf(6, last);
  EXPECT_EQ(middle.number, 1U);
  EXPECT_EQ(middle.first, 4U);
  EXPECT_EQ(middle.length, 3U);
  const Bin first = scale.BinOf(0, middle);
  EXPECT_EQ(first.number, 0U);
  EXPECT_EQ(first.first, 0U);
  EXPECT_EQ(first.length, 4U);
}

class BinScaleComparison : public testing::Test {
 protected:
  std::uint64_t Below(std::uint64_t limit) { return random() % limit; }
  std::uint64_t OneOf(const std::vector<std::uint64_t>& values) {
    return values[Below(values.size())];
  }
  // Up to 2 away from the border.
  std::uint64_t Near(std::uint64_t border) { return border + Below(5) - 2; }

  PlainScale RandomScale() {
    const std::uint64_t binCount = OneOf({1, 2, 7, 1000, 4294968, 0x7FFFFFFF, 1 + Below(5000000)});
    const std::uint64_t span = OneOf({1, 10, 5000, binCount * 1000, Near(kMost / (binCount + 1)),
                                      Near(kMost / binCount), Near(kMost), random()});
    return {binCount, std::max<std::uint64_t>(span, 1)};
  }

  // Distances from far to near, as a walk from the last entry to the first has them.
  std::vector<std::uint64_t> RandomWalk(const PlainScale& plain) {
    std::vector<std::uint64_t> distances;
    for (int i = 0; i < 30; ++i) {
      const std::uint64_t binStart = Below(plain.binCount) * (plain.span / plain.binCount);
      distances.push_back(OneOf({Near(plain.LargestWithoutWrapping()), Near(plain.span),
                                 Near(binStart), Below(plain.span), Below(100), random()}));
    }
    std::sort(distances.rbegin(), distances.rend());
    return distances;
  }

  std::mt19937_64 random;
};

TEST_F(BinScaleComparison, FindsTheBinsOfThePlainRule) {
  for (unsigned seed = 1; seed <= 5000; ++seed) {
    SCOPED_TRACE(seed);
    random.seed(seed);
    const PlainScale plain = RandomScale();
    const BinScale scale(plain.binCount, plain.span);
    Bin bin;
    for (const std::uint64_t distance : RandomWalk(plain)) {
      bin = scale.BinOf(distance, bin);
      ASSERT_NO_FATAL_FAILURE(ExpectRight(plain, distance, bin));
    }
  }
}

}  // namespace
