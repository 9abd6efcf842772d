#include "archive/entry_places.h"

#include <gmock/gmock.h>

#include "archive/typical_step.h"

using testing::ElementsAre;

namespace {

using Times = std::vector<ArchiveTime>;

Times PlacesOf(const Times& times) {
  Times places;
  EntryPlaces finder([&places](ArchiveTime place) { places.push_back(place); });
  for (const ArchiveTime time : times) finder.Add(time);
  finder.Finish();
  return places;
}

}  // namespace

TEST(EntryPlaces, AnEntryWithAWrongTimeKeepsItsPlace) {
  constexpr ArchiveTime kLate = 0x80000000;
  const struct {
    const char* what;
    Times times;
    Times places;
  } cases[] = {
      {"one entry", {10}, {10}},
      {"two entries", {10, 20}, {10, 20}},
      {"two entries, backward", {20, 10}, {20, 10}},
      {"the first is late", {kLate, 20, 30}, {20, 20, 30}},
      {"the first is early", {1, 20, 30}, {1, 20, 30}},
      {"the second is late", {10, kLate, 30, 40}, {10, 10, 30, 40}},
      {"the second is early", {10, 1, 30, 40}, {10, 10, 30, 40}},
      {"a middle one is late", {10, 20, kLate, 40, 50}, {10, 20, 20, 40, 50}},
      {"a middle one is early", {10, 20, 1, 40, 50}, {10, 20, 20, 40, 50}},
      {"the one before the last is late", {10, 20, 30, kLate, 50}, {10, 20, 30, 30, 50}},
      {"the last is late", {10, 20, kLate}, {10, 20, kLate}},
      {"the last is early", {10, 20, 30, 1}, {10, 20, 30, 30}},
      {"two wrong times apart", {10, kLate, 30, 40, 1, 60}, {10, 10, 30, 40, 40, 60}},
      {"the clock is set back", {100, 110, 50, 60, 70}, {100, 110, 50, 60, 70}},
      {"the clock is set forward", {10, 20, 500, 510}, {10, 20, 500, 510}},
      {"equal times", {10, 10, 10}, {10, 10, 10}},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.what);
    EXPECT_EQ(PlacesOf(row.times), row.places);
  }
}

TEST(EntryPlaces, AreToldAsSoonAsTheyAreKnown) {
  Times places;
  EntryPlaces finder([&places](ArchiveTime place) { places.push_back(place); });
  const struct {
    ArchiveTime time;
    std::size_t known;
  } steps[] = {{10, 0}, {20, 0}, {30, 2}, {40, 3}, {50, 4}};
  for (const auto& step : steps) {
    finder.Add(step.time);
    EXPECT_EQ(places.size(), step.known);
  }
  finder.Finish();
  EXPECT_THAT(places, ElementsAre(10, 20, 30, 40, 50));
}

TEST(TypicalStep, IsTheMedianOfTheFirstSteps) {
  const struct {
    const char* what;
    std::vector<ArchiveTime> steps;
    ArchiveTime typical;
  } cases[] = {
      {"none", {}, 0},
      {"one", {7}, 7},
      {"the lower one of two", {9, 7}, 7},
      {"the middle one", {9, 1, 7}, 7},
      {"no step", {0, 0, 0, 9, 0}, 9},
      {"a gap at the start", {500, 10, 10}, 10},
      {"four wrong ones of nine", {500, 1, 500, 1, 10, 10, 10, 10, 10}, 10},
      {"only nine count", {1, 1, 1, 1, 9, 9, 9, 9, 9, 1, 1, 1}, 9},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.what);
    TypicalStep step;
    for (const ArchiveTime length : row.steps) step.Add(length);
    EXPECT_EQ(step.Get(), row.typical);
    EXPECT_EQ(step.IsSettled(), row.steps.size() > 8);
  }
}
