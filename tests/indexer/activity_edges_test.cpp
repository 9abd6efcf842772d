#include <gmock/gmock.h>

#include "activity_cases.h"

// Where entries, bins and ranges meet: at edges that fall between index times, at the first and the
// last index time, and from one file to the next.

namespace {

constexpr std::uint32_t kLastIndexTime = 0xFFFFFFFF;
constexpr std::uint64_t kLastArchiveTime = 1000ULL * kLastIndexTime;

// Levels rise so that a bin shows which entry it is of.
std::vector<Active> EachUnit(std::uint32_t first, int count) {
  std::vector<Active> entries;
  for (int i = 0; i < count; ++i) entries.push_back({first + static_cast<std::uint32_t>(i), i + 1});
  return entries;
}

TEST(FineActivity, HasEdgesBetweenIndexTimes) {
  const auto file = [](std::uint32_t interval, const std::vector<Active>& entries) {
    return std::vector<sFile_Index_Store>{ActiveFile("a", interval, entries)};
  };
  const SpanCase cases[] = {
      {"a range from half a unit on: the entry before lasts into it",
       file(1, EachUnit(10, 3)),
       Span(10500, 20500, 20),
       true,
       {{4, 5, 3}, {2, 3, 2}, {0, 1, 1}}},
      {"and does not when it lasts no time",
       file(0, EachUnit(10, 3)),
       Span(10500, 20500, 20),
       true,
       {{1, 1, 2}, {3, 3, 3}}},
      {"bins of three quarters of a unit",
       file(1, EachUnit(100, 4)),
       Span(100000, 103000, 4),
       true,
       {{0, 1, 1}, {2, 2, 2}, {3, 3, 3}}},
      {"a little less than a unit: two entries begin in no bin together",
       file(0, EachUnit(0, 10)),
       Span(0, 9999, 10),
       true,
       {{0, 0, 1},
        {1, 1, 2},
        {2, 2, 3},
        {3, 3, 4},
        {4, 4, 5},
        {5, 5, 6},
        {6, 6, 7},
        {7, 7, 8},
        {8, 8, 9},
        {9, 9, 10}}},
      {"the entry at the very end shares the last bin, where the one before it stays",
       file(0, EachUnit(7, 4)),
       Span(7000, 10000, 3),
       true,
       {{0, 0, 1}, {1, 1, 2}, {2, 2, 3}}},
      {"a thousand bins a unit",
       file(1, EachUnit(10, 2)),
       Span(10000, 11000, 1000),
       true,
       {{0, 999, 1}}},
      {"of a length that bins do not divide",
       file(2, {{11, 9}, {20, 5}}),
       Span(10001, 20002, 11),
       true,
       {{1, 3, 9}, {10, 10, 5}}},
      {"an entry long before the range that lasts through all of it",
       file(1000, {{3, 9}, {500, 4}}),
       Span(400000, 450000, 100),
       true,
       {{0, 99, 9}}},
      {"only the latest of those before the range",
       file(1000, {{3, 9}, {4, 7}, {500, 4}}),
       Span(400000, 450000, 100),
       true,
       {{0, 99, 7}}},
  };
  for (const SpanCase& row : cases) ExpectLevels(row);
}

TEST(FineActivity, OfEqualTimesIsThatOfTheFirst) {
  const SpanCase cases[] = {
      {"in a file",
       {ActiveFile("a", 2, {{10, 8}, {10, 16}, {10, 24}, {11, 32}})},
       Span(0, 50000, 50),
       true,
       {{13, 13, 32}, {10, 12, 8}}},
      {"though it has no level",
       {ActiveFile("a", 2, {{10, kNoPair}, {10, 16}})},
       Span(0, 50000, 50),
       true,
       {}},
      {"at the end of a file and the start of the next",
       {ActiveFile("a", 2, {{5, 9}, {10, 8}}), ActiveFile("b", 4, {{10, 16}, {20, 4}})},
       Span(0, 50000, 50),
       true,
       {{13, 14, 16}, {20, 24, 4}, {10, 12, 8}, {5, 7, 9}}},
      {"at the start of the range: none before it counts",
       {ActiveFile("a", 2, {{9, 9}, {10, 8}, {10, 16}})},
       Span(10000, 60000, 50),
       true,
       {{0, 2, 8}}},
      {"before the range it is that of the last",
       {ActiveFile("a", 5, {{8, 9}, {9, 8}, {9, 16}, {12, 1}})},
       Span(10000, 60000, 50),
       true,
       {{5, 7, 1}, {0, 4, 16}}},
  };
  for (const SpanCase& row : cases) ExpectLevels(row);
}

TEST(FineActivity, GoesFromFileToFile) {
  const auto span = Span(100000, 150000, 50);
  const SpanCase cases[] = {
      {"an entry lasts across the next file's short ones",
       {ActiveFile("a", 10, {{105, 9}}), ActiveFile("b", 1, EachUnit(110, 8))},
       span,
       true,
       {{18, 18, 8}, {17, 17, 7}, {16, 16, 6}, {5, 15, 9}}},
      {"the next file lasts longer than the one before",
       {ActiveFile("a", 1, {{105, 9}, {107, 8}}), ActiveFile("b", 20, {{108, 3}, {110, 5}})},
       span,
       true,
       {{29, 30, 5}, {8, 28, 3}, {7, 8, 8}, {5, 6, 9}}},
      {"overlapping files: the gaps of the one before show the next",
       {ActiveFile("a", 1, {{105, 9}, {120, 8}}), ActiveFile("b", 30, {{106, 3}})},
       span,
       true,
       {{6, 36, 3}, {5, 6, 9}, {20, 21, 8}}},
      {"a file of no entries between them",
       {ActiveFile("a", 1, {{105, 9}}), ActiveFile("b", 1, {}), ActiveFile("c", 1, {{110, 3}})},
       span,
       true,
       {{5, 6, 9}, {10, 11, 3}}},
      {"files before and after the range",
       {ActiveFile("a", 1, {{1, 9}}), ActiveFile("b", 1, {{110, 3}}),
        ActiveFile("c", 1, {{900, 5}})},
       span,
       true,
       {{10, 11, 3}}},
      {"one whose times descend among others",
       {ActiveFile("a", 2, {{101, 9}}), ActiveFile("b", 2, {{112, 3}, {110, 5}}),
        ActiveFile("c", 2, {{114, 7}})},
       span,
       true,
       {{14, 16, 7}, {10, 12, 5}, {12, 14, 3}, {1, 3, 9}}},
      {"an entry of each file before the range, where none begins in its first bin",
       {ActiveFile("a", 50, {{60, 9}, {130, 8}}), ActiveFile("b", 90, {{70, 3}, {131, 5}})},
       span,
       true,
       {{0, 49, 3}, {30, 49, 8}, {0, 10, 9}}},
      {"the first bin is bare again where the next file walked begins later",
       {ActiveFile("a", 50, {{99, 9}, {105, 8}}), ActiveFile("b", 3, {{100, 3}})},
       span,
       true,
       {{0, 49, 9}}},
  };
  for (const SpanCase& row : cases) ExpectLevels(row);
}

TEST(FineActivity, LastsBeyondTheLastIndexTime) {
  const std::uint64_t from = kLastArchiveTime - 10'000;
  const SpanCase cases[] = {
      {"of entries up to it",
       {ActiveFile("a", 20, {{kLastIndexTime - 5, 9}, {kLastIndexTime, 4}})},
       Span(from, from + 100'000, 100),
       true,
       {{10, 30, 4}, {5, 25, 9}}},
      {"in a range after it",
       {ActiveFile("a", 20, {{kLastIndexTime, 9}})},
       Span(kLastArchiveTime + 5'000, kLastArchiveTime + 105'000, 100),
       true,
       {{0, 15, 9}}},
      {"for as long as can be",
       {ActiveFile("a", kLastIndexTime, {{kLastIndexTime, 9}})},
       Span(2 * kLastArchiveTime - 5'000, 2 * kLastArchiveTime + 5'000, 20),
       true,
       {{0, 10, 9}}},
      {"from the first index time on",
       {ActiveFile("a", kLastIndexTime, {{0, 9}})},
       Span(kLastArchiveTime - 5'000, kLastArchiveTime + 5'000, 20),
       true,
       {{0, 10, 9}}},
  };
  for (const SpanCase& row : cases) ExpectLevels(row);
}

TEST(CoarseActivity, HasEdgesBetweenIndexTimes) {
  const auto file = [](const std::vector<Active>& entries) {
    return std::vector<sFile_Index_Store>{ActiveFile("a", 1, entries)};
  };
  const SpanCase cases[] = {
      {"bins of two and a half units",
       file(EachUnit(10, 11)),
       Span(10000, 20000, 4),
       true,
       {{1, 1, 3}, {2, 2, 5}, {3, 3, 11}}},
      {"from half a unit on",
       file(EachUnit(10, 11)),
       Span(10500, 20500, 4),
       true,
       {{1, 1, 3}, {2, 2, 6}, {3, 3, 11}}},
      {"of a length that bins do not divide",
       file(EachUnit(0, 12)),
       Span(0, 10001, 3),
       true,
       {{1, 1, 4}, {2, 2, 11}}},
      {"a little more than a unit",
       file(EachUnit(0, 11)),
       Span(0, 10001, 10),
       true,
       {{1, 1, 2},
        {2, 2, 3},
        {3, 3, 4},
        {4, 4, 5},
        {5, 5, 6},
        {6, 6, 7},
        {7, 7, 8},
        {8, 8, 9},
        {9, 9, 11}}},
      {"equal times: the largest level",
       file({{10, 3}, {10, 9}, {10, 5}}),
       Span(0, 100000, 10),
       true,
       {{2, 2, 9}}},
      {"many empty bins between two entries",
       file({{100, 3}, {9000, 9}}),
       Span(0, 10000000, 5000),
       true,
       {{51, 51, 3}, {4501, 4501, 9}}},
      {"the last index time",
       file({{kLastIndexTime - 1, 3}, {kLastIndexTime, 9}}),
       Span(kLastArchiveTime - 50'000, kLastArchiveTime + 50'000, 10),
       true,
       {{5, 5, 3}, {6, 6, 9}}},
      {"and one unit more than it",
       file({{0, 3}, {kLastIndexTime, 9}}),
       Span(0, kLastArchiveTime + 1000, 2),
       true,
       {{1, 1, 9}}},
      {"files that overlap",
       {ActiveFile("a", 1, {{10, 3}, {50, 9}}), ActiveFile("b", 1, {{11, 5}, {51, 7}})},
       Span(0, 100000, 10),
       true,
       {{2, 2, 5}, {6, 6, 9}}},
  };
  for (const SpanCase& row : cases) ExpectLevels(row);
}

}  // namespace
