#include "indexer/file_cuts.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <random>
#include <utility>

#include "stores_for_tests.h"
#include "support/plain_cache.h"

namespace {

using Cuts = std::vector<std::uint64_t>;

// A file as it is loaded: with headers, and with entries at these positions.
sFile_Index_Store Loaded(const Cuts& headers, const Cuts& entries) {
  sFile_Index_Store store;
  store.headerPositions = AsPositions(headers);
  for (const std::uint64_t position : entries) store.id3Records.append(EntryAt(0, position));
  if (entries.empty()) {
    CutAtHeaders(&store);
  } else {
    CutAtEntries(&store, std::is_sorted(entries.begin(), entries.end()));
  }
  return store;
}

struct CutCase {
  const char* what;
  Cuts headers;
  Cuts entries;
  Cuts expected;
};

TEST(FileCuts, AreHeadersBeforeTheFirstGreaterEntry) {
  const CutCase cases[] = {
      {"nothing", {}, {}, {}},
      {"no headers", {}, {3, 1, 2}, {3, 1, 2}},
      {"no headers, ascending", {}, {1, 2, 3}, {1, 2, 3}},
      {"no entries: the first as it is", {5}, {}, {5}},
      {"no entries: greater ones are left out", {5, 6, 5}, {}, {5}},
      {"no entries: smaller ones go before", {5, 4, 3}, {}, {3, 4, 5}},
      {"before and after", {0, 5000}, {100, 4000}, {0, 100, 4000}},
      {"equal to an entry", {100}, {100, 4000}, {100, 100, 4000}},
      {"equal to the last entry", {4000}, {100, 4000}, {100, 4000}},
      {"the largest position", {0xFFFFFFFF, ~0ULL}, {1, 0xFFFFFFFF}, {1, 0xFFFFFFFF}},
      {"before the largest position", {5}, {1, 0xFFFFFFFF}, {1, 5, 0xFFFFFFFF}},
      {"entries that fall", {5, 15}, {20, 10}, {5, 15, 20, 10}},
      {"entries that rise again", {25, 5}, {20, 10, 30}, {5, 20, 10, 25, 30}},
      {"in any order", {30, 10, 20}, {15, 25}, {10, 15, 20, 25}},
  };
  for (const CutCase& row : cases) {
    SCOPED_TRACE(row.what);
    EXPECT_EQ(Positions(AllCuts(Loaded(row.headers, row.entries))), row.expected);
  }
}

// Entries in order and out of order, with equal ones; more cuts after them, or entries that are not
// cuts.
class FileCutsComparison : public testing::TestWithParam<std::uint64_t> {
 protected:
  Cuts Random(std::mt19937_64& random, std::size_t most) const {
    Cuts positions(random() % most);
    for (std::uint64_t& position : positions) position = random() % GetParam();
    return positions;
  }
};

void ExpectPlainStretches(const sFile_Index_Store& store, const Cuts& cuts, bool listedAscend) {
  Cuts places = {0, ~0ULL};
  for (const std::uint64_t cut : cuts) places.insert(places.end(), {cut - 1, cut, cut + 1});
  for (const std::uint64_t place : places) {
    const FileStretch stretch = StretchAt(store, listedAscend, place);
    ASSERT_EQ(std::make_pair(stretch.start, stretch.end), PlainStretch(cuts, place)) << place;
  }
}

TEST_P(FileCutsComparison, AreWhatInsertingAndWalkingGives) {
  for (unsigned seed = 1; seed <= 4000; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937_64 random(seed);
    Cuts headers = Random(random, 12);
    Cuts entries = Random(random, 12);
    const Cuts more = Random(random, 4);
    for (std::uint64_t& entry : entries) entry &= 0xFFFFFFFF;
    if (seed % 3 != 0) std::sort(entries.begin(), entries.end());
    if (seed % 5 == 0) std::sort(headers.rbegin(), headers.rend());
    Cuts expected = entries;
    PlainInsertHeaders(headers, &expected);
    expected.insert(expected.end(), more.begin(), more.end());

    sFile_Index_Store store = Loaded(headers, entries);
    for (const std::uint64_t cut : more) store.blockPositions.append(cut);
    for (std::uint64_t i = random() % 3; i > 0; --i) store.id3Records.append(EntryAt(0, 7));
    ASSERT_EQ(Positions(AllCuts(store)), expected);
    const bool listedAscend =
        std::is_sorted(store.blockPositions.constBegin(), store.blockPositions.constEnd());
    ASSERT_NO_FATAL_FAILURE(ExpectPlainStretches(store, expected, listedAscend));

    ListAllCuts(&store);
    ASSERT_EQ(Positions(store.blockPositions), expected);
    ASSERT_NO_FATAL_FAILURE(
        ExpectPlainStretches(store, expected, std::is_sorted(expected.begin(), expected.end())));
  }
}

INSTANTIATE_TEST_SUITE_P(Positions, FileCutsComparison,
                         testing::Values(3, 20, 1000, 1ULL << 33, ~0ULL),
                         [](const auto& parameter) {
                           return "Below" + std::to_string(parameter.param);
                         });

// Inserting them one by one would take hours.
TEST(FileCuts, OfHostileListsCostNoMoreThanSorting) {
  constexpr std::size_t kCount = 1000000;
  Cuts headers;
  Cuts entries;
  for (std::size_t i = 0; i < kCount; ++i) {
    headers.push_back(2 * (kCount - i) - 1);
    entries.push_back(2 * (i + 1));
  }
  const QVector<FilePosition> all = AllCuts(Loaded(headers, entries));
  ASSERT_EQ(static_cast<std::size_t>(all.size()), 2 * kCount);
  for (std::size_t i = 0; i < 2 * kCount; ++i) ASSERT_EQ(all.at(static_cast<int>(i)), i + 1);
  entries.back() = 1;
  EXPECT_EQ(static_cast<std::size_t>(Loaded(headers, entries).blockPositions.size()),
            2 * kCount - 1);
}

}  // namespace
