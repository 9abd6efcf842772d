#include "indexer/header_cuts.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <random>

#include "stores_for_tests.h"
#include "support/plain_cache.h"

namespace {

using Cuts = std::vector<std::uint64_t>;

Cuts WithHeaders(const Cuts& headers, const Cuts& cuts) {
  QVector<FilePosition> all = AsPositions(cuts);
  InsertHeaderCuts(AsPositions(headers), &all);
  return Positions(all);
}

struct MergeCase {
  const char* what;
  Cuts headers;
  Cuts cuts;
  Cuts expected;
};

TEST(HeaderCuts, GoBeforeTheFirstGreaterCut) {
  const MergeCase cases[] = {
      {"nothing", {}, {}, {}},
      {"no headers", {}, {3, 1, 2}, {3, 1, 2}},
      {"no cuts: the first as it is", {5}, {}, {5}},
      {"no cuts: greater ones are left out", {5, 6, 5}, {}, {5}},
      {"no cuts: smaller ones go before", {5, 4, 3}, {}, {3, 4, 5}},
      {"before and after", {0, 5000}, {100, 4000}, {0, 100, 4000}},
      {"equal to a cut", {100}, {100, 4000}, {100, 100, 4000}},
      {"equal to the last cut", {4000}, {100, 4000}, {100, 4000}},
      {"the largest position", {~0ULL}, {1, ~0ULL}, {1, ~0ULL}},
      {"before the largest position", {5}, {1, ~0ULL}, {1, 5, ~0ULL}},
      {"cuts that fall", {5, 15}, {20, 10}, {5, 15, 20, 10}},
      {"cuts that rise again", {25, 5}, {20, 10, 30}, {5, 20, 10, 25, 30}},
  };
  for (const MergeCase& row : cases) {
    SCOPED_TRACE(row.what);
    EXPECT_EQ(WithHeaders(row.headers, row.cuts), row.expected);
  }
}

class HeaderCutsComparison : public testing::TestWithParam<std::uint64_t> {};

TEST_P(HeaderCutsComparison, GoWhereInsertingOneByOnePutsThem) {
  for (unsigned seed = 1; seed <= 3000; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937_64 random(seed);
    Cuts headers(random() % 12);
    Cuts cuts(random() % 12);
    for (std::uint64_t& header : headers) header = random() % GetParam();
    for (std::uint64_t& cut : cuts) cut = random() % GetParam();
    if (seed % 3 == 0) std::sort(cuts.begin(), cuts.end());
    if (seed % 5 == 0) std::sort(headers.rbegin(), headers.rend());
    Cuts expected = cuts;
    PlainInsertHeaders(headers, &expected);
    ASSERT_EQ(WithHeaders(headers, cuts), expected);
  }
}

INSTANTIATE_TEST_SUITE_P(Positions, HeaderCutsComparison, testing::Values(3, 20, ~0ULL),
                         [](const auto& parameter) {
                           return "Below" + std::to_string(parameter.param);
                         });

// Inserting them one by one would take hours.
TEST(HeaderCuts, OfHostileListsCostNoMoreThanSorting) {
  constexpr std::size_t kCount = 1000000;
  Cuts headers;
  Cuts cuts;
  for (std::size_t i = 0; i < kCount; ++i) {
    headers.push_back(2 * (kCount - i) - 1);
    cuts.push_back(2 * (i + 1));
  }
  const Cuts all = WithHeaders(headers, cuts);
  ASSERT_EQ(all.size(), 2 * kCount);
  for (std::size_t i = 0; i < all.size(); ++i) ASSERT_EQ(all[i], i + 1);
}

}  // namespace
