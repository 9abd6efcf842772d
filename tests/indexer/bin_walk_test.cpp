#include "indexer/bin_walk.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <random>

#include "gist_buffer.h"

namespace {

// Distances of 2500, 5000 and 7500 archive times are where bins begin.
TEST(BinWalk, GoesFromBinToBin) {
  const ActivityRange range(Span(10000, 20000, 4));
  BinWalk bins(range);
  EXPECT_EQ(bins.Number(), 0U);
  EXPECT_EQ(bins.Until(), 12U);
  bins.Next();
  EXPECT_EQ(bins.Number(), 1U);
  EXPECT_EQ(bins.Until(), 14U);
  bins.Next();
  EXPECT_EQ(bins.Until(), 17U);
  EXPECT_FALSE(bins.IsLast());
  bins.Next();
  EXPECT_TRUE(bins.IsLast());
  EXPECT_EQ(bins.Until(), ~0ULL);
}

TEST(BinWalk, StaysInTheLastBinWhateverTheTime) {
  const ActivityRange range(Span(10000, 20000, 4));
  BinWalk bins(range);
  bins.MoveTo(20);
  EXPECT_EQ(bins.Number(), 3U);
  bins.MoveTo(0x1FFFFFFFE);
  EXPECT_EQ(bins.Number(), 3U);
}

TEST(BinWalk, DoesNotGoBack) {
  const ActivityRange range(Span(10000, 20000, 4));
  BinWalk bins(range);
  bins.MoveTo(16);
  bins.MoveTo(10);
  EXPECT_EQ(bins.Number(), 2U);
}

class BinWalkComparison : public testing::Test {
 protected:
  std::uint64_t Less(std::uint64_t limit) { return random() % limit; }

  TZEL3ActivityRequest RandomSpan() {
    const std::uint64_t binCounts[] = {1, 2, 3, 7, 100, 1000, 1 + Less(5000), 4'000'000, 4'294'967};
    const std::uint64_t binCount = binCounts[Less(9)];
    const std::uint64_t spans[] = {1,
                                   999,
                                   binCount * 1000,
                                   binCount * 1000 - Less(1000),
                                   binCount * 1000 + Less(1000),
                                   1 + Less(100'000),
                                   1 + Less(100'000'000'000)};
    const std::uint64_t starts[] = {0, Less(2000), Less(0xFFFFFFFF) * 1000,
                                    Less(0xFFFFFFFF) * 1000 + Less(1000)};
    const std::uint64_t from = starts[Less(4)];
    return Span(from, from + spans[Less(7)], static_cast<std::int32_t>(binCount));
  }

  // The bin holds the time, or comes after its bin; and it ends where it says.
  static void ExpectRight(const ActivityRange& range, const BinWalk& bins, std::uint64_t before,
                          std::uint64_t time) {
    ASSERT_EQ(bins.Number(), std::max<std::uint64_t>(before, range.BinAt(time * 1000)));
    ASSERT_EQ(bins.IsLast(), bins.Number() == range.binCount - 1);
    if (bins.IsLast()) return;
    ASSERT_GE(bins.Until(), time);
    ASSERT_GT(range.BinAt((bins.Until() + 1) * 1000), bins.Number());
    if (bins.Until() * 1000 < range.from) return;
    ASSERT_LE(range.BinAt(bins.Until() * 1000), bins.Number());
  }

  std::mt19937_64 random;
};

TEST_F(BinWalkComparison, FindsTheBinsOfThePlainRule) {
  int compared = 0;
  for (unsigned seed = 1; seed <= 5000; ++seed) {
    SCOPED_TRACE(seed);
    random.seed(seed);
    const ActivityRange range(RandomSpan());
    if (!range.FitsIn64Bits()) continue;
    BinWalk bins(range);
    std::uint64_t time = (range.from + 999) / 1000;
    for (int i = 0; i < 50; ++i) {
      const std::uint64_t before = bins.Number();
      bins.MoveTo(time);
      ASSERT_NO_FATAL_FAILURE(ExpectRight(range, bins, before, time));
      if (Less(4) == 0 && !bins.IsLast()) bins.Next();
      const std::uint64_t steps[] = {0, 1, Less(5), Less(range.Span() / 20'000 + 2)};
      time += steps[Less(4)];
    }
    ++compared;
  }
  EXPECT_GT(compared, 4000);
}

// The largest product is that of the end of the longest entry that begins at the end of the range.
TEST(ActivityRange, FitsIn64BitsUpToTheLongestEntry) {
  constexpr std::uint64_t kLongest = 0x100000000 * 1000;
  constexpr std::uint64_t kBins = 1'000'000;
  constexpr std::uint64_t kLongestSpan = ~0ULL / kBins - kLongest;
  EXPECT_TRUE(ActivityRange(Span(5, 5 + kLongestSpan, kBins)).FitsIn64Bits());
  EXPECT_FALSE(ActivityRange(Span(5, 6 + kLongestSpan, kBins)).FitsIn64Bits());
  EXPECT_TRUE(ActivityRange(Span(0, 1, 4'294'967)).FitsIn64Bits());
  EXPECT_FALSE(ActivityRange(Span(0, 1, 4'294'968)).FitsIn64Bits());
  EXPECT_FALSE(ActivityRange(Span(0, 1, 0x7FFFFFFF)).FitsIn64Bits());
  EXPECT_FALSE(ActivityRange(Span(6, 5, 1)).FitsIn64Bits());
}

}  // namespace
