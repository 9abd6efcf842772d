#include "client/recorded_time.h"

#include <gmock/gmock.h>

#include "client/entry_ranges.h"
#include "made_archives.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace {

constexpr IndexTime kWrong = 0x80000000;

MadeArchives::Entries At(const std::vector<IndexTime>& times) {
  MadeArchives::Entries entries;
  for (const IndexTime time : times) entries.emplace_back(time, std::uint8_t{0});
  return entries;
}

// What `ask` makes of an archive with entries at these times.
template <class Ask>
auto AskOf(const std::vector<IndexTime>& times, Ask ask) {
  MadeArchives archives;
  archives.Write("a.zel3", At(times));
  return archives.Ask([&ask](Timeline* timeline) { return ask(*timeline->Open(0)); });
}

std::vector<ArchiveTime> EndsOf(const std::vector<IndexTime>& times) {
  return AskOf(times, [](const OpenedArchive& archive) {
    std::vector<ArchiveTime> ends;
    for (std::size_t entry = 0; entry < archive.Index().Count(); ++entry)
      ends.push_back(EndOfEntry(archive, entry));
    return ends;
  });
}

using Ranges = std::vector<std::pair<std::size_t, std::size_t>>;

Ranges RangesOf(const std::vector<IndexTime>& times, ArchiveTime from, ArchiveTime to) {
  return AskOf(times, [=](const OpenedArchive& archive) {
    Ranges ranges;
    for (const EntryRange& range : EntriesWithin(archive, from, to))
      ranges.emplace_back(range.first, range.end);
    return ranges;
  });
}

using Stretches = std::vector<std::pair<ArchiveTime, ArchiveTime>>;

Stretches StretchesOf(MadeArchives* archives, ArchiveTime from, ArchiveTime to) {
  return archives->Ask([=](Timeline* timeline) {
    RecordedTime recorded(from, to, timeline);
    for (std::size_t number = 0; number < timeline->Archives().size(); ++number)
      recorded.Add(number);
    Stretches stretches;
    for (const RecordedStretch& stretch : recorded.Stretches())
      stretches.emplace_back(stretch.from, stretch.to);
    return stretches;
  });
}

Stretches StretchesOf(const std::vector<IndexTime>& times, ArchiveTime from = 0,
                      ArchiveTime to = 1'000'000) {
  MadeArchives archives;
  archives.Write("a.zel3", At(times));
  return StretchesOf(&archives, from, to);
}

}  // namespace

TEST(RecordedTime, AnEntryLastsUntilTheNextOneUnlessThatIsFarAway) {
  const struct {
    const char* what;
    std::vector<IndexTime> times;
    std::vector<ArchiveTime> ends;
  } cases[] = {
      {"one entry", {10}, {11000}},
      {"one time", {10, 10}, {10000, 11000}},
      {"as long as the others", {10, 20, 30}, {20000, 30000, 40000}},
      {"four steps are no gap", {10, 20, 30, 70}, {20000, 30000, 70000, 80000}},
      {"more are one", {10, 20, 30, 71}, {20000, 30000, 40000, 81000}},
      {"the clock is set back", {100, 110, 120, 50, 60}, {110000, 120000, 130000, 60000, 70000}},
      {"a wrong time", {10, 20, kWrong, 40, 50}, {20000, 20000, 40000, 50000, 60000}},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.what);
    EXPECT_EQ(EndsOf(row.times), row.ends);
  }
}

TEST(RecordedTime, OfAnArchiveIsThatOfItsEntries) {
  EXPECT_THAT(StretchesOf({10}), ElementsAre(Pair(10000, 11000)));
  EXPECT_THAT(StretchesOf({10, 20, 30}), ElementsAre(Pair(10000, 40000)));
  EXPECT_THAT(StretchesOf({10, 20, 30, 71, 81}),
              ElementsAre(Pair(10000, 40000), Pair(71000, 91000)));
  EXPECT_THAT(StretchesOf({100, 110, 120, 50, 60}),
              ElementsAre(Pair(50000, 70000), Pair(100000, 130000)));
  EXPECT_THAT(StretchesOf({10, 20, kWrong, 40}), ElementsAre(Pair(10000, 50000)));
  EXPECT_THAT(StretchesOf({10, 500, 510, 520}),
              ElementsAre(Pair(10000, 20000), Pair(500000, 530000)))
      << "also where the first entry stands apart";
}

TEST(RecordedTime, IsCutToWhatIsAskedFor) {
  EXPECT_THAT(StretchesOf({10, 20, 30}, 15000, 25000), ElementsAre(Pair(15000, 25000)));
  EXPECT_THAT(StretchesOf({10, 20, 30}, 39999, 50000), ElementsAre(Pair(39999, 40000)));
  EXPECT_THAT(StretchesOf({10, 20, 30}, 40000, 50000), IsEmpty());
  EXPECT_THAT(StretchesOf({10, 20, 30}, 0, 10000), IsEmpty());
}

TEST(RecordedTime, AChangeOfArchivesIsNotAGapUnlessItTakesMoreThanTwoSteps) {
  MadeArchives archives;
  archives.Write("a.zel3", At({10, 20, 30}));
  archives.Write("b.zel3", At({50, 60}));
  archives.Write("c.zel3", At({81, 91}));
  EXPECT_THAT(StretchesOf(&archives, 0, 200000),
              ElementsAre(Pair(10000, 70000), Pair(81000, 101000)));
  EXPECT_THAT(StretchesOf(&archives, 45000, 46000), ElementsAre(Pair(45000, 46000)));
}

TEST(RecordedTime, OfArchivesThatOverlapIsOne) {
  MadeArchives archives;
  archives.Write("a.zel3", At({10, 20, 30, 40, 50}));
  archives.Write("b.zel3", At({25, 35}));
  EXPECT_THAT(StretchesOf(&archives, 0, 200000), ElementsAre(Pair(10000, 60000)));
}

TEST(EntryRanges, HoldTheEntriesThatBelongToATime) {
  const std::vector<IndexTime> times = {10, 20, 30, 71, 81};
  const struct {
    ArchiveTime from;
    ArchiveTime to;
    Ranges ranges;
  } cases[] = {
      {0, 100000, {{0, 5}}},    {0, 10000, {}},           {0, 10001, {{0, 1}}},
      {20000, 30000, {{1, 2}}}, {20000, 30001, {{1, 3}}}, {19999, 20000, {{0, 1}}},
      {25000, 26000, {{1, 2}}}, {39999, 71000, {{2, 3}}}, {40000, 71000, {}},
      {40000, 71001, {{3, 4}}}, {90999, 99000, {{4, 5}}}, {91000, 99000, {}},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(testing::Message() << row.from << " to " << row.to);
    EXPECT_EQ(RangesOf(times, row.from, row.to), row.ranges);
  }
}

TEST(EntryRanges, AreSeveralWhereAClockWasSetBack) {
  const std::vector<IndexTime> times = {100, 110, 120, 50, 60, 70, 80, 90, 100};
  EXPECT_THAT(RangesOf(times, 55000, 65000), ElementsAre(Pair(3, 5)));
  EXPECT_THAT(RangesOf(times, 85000, 105000), ElementsAre(Pair(0, 1), Pair(6, 9)));
  EXPECT_THAT(RangesOf(times, 0, 200000), ElementsAre(Pair(0, 9)));
}

TEST(EntryRanges, HoldAnEntryWithAWrongTimeInItsPlace) {
  const std::vector<IndexTime> times = {10, 20, kWrong, 40, 50};
  EXPECT_THAT(RangesOf(times, 20000, 40000), ElementsAre(Pair(1, 3)));
  EXPECT_THAT(RangesOf(times, 30000, 40000), ElementsAre(Pair(2, 3)));
  EXPECT_THAT(RangesOf(times, 50001, ToArchiveTime(kWrong) + 1), ElementsAre(Pair(4, 5)));
}
