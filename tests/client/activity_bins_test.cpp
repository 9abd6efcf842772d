#include "client/activity_bins.h"

#include <gmock/gmock.h>

#include "made_archives.h"

using testing::ElementsAre;
using testing::Pair;

namespace {

using Levels = std::vector<std::pair<unsigned, double>>;

// Of stream 1, in bins of one width.
Levels LevelsIn(MadeArchives* archives, ArchiveTime from, ArchiveTime width, std::uint32_t count) {
  const ActivityBins bins{from, from + count * width, width, count};
  return archives->Ask([&bins](Timeline* timeline) {
    ActivityMeasure measure({1}, bins, timeline);
    measure.AddAll();
    const std::vector<std::vector<BinLevels>> streams = measure.Levels();
    Levels levels;
    for (const BinLevels& bin : streams.at(0)) levels.emplace_back(bin.highest, bin.mean);
    return levels;
  });
}

std::vector<unsigned> RecordedIn(MadeArchives* archives, ArchiveTime from, ArchiveTime width,
                                 std::uint32_t count) {
  const ActivityBins bins{from, from + count * width, width, count};
  return archives->Ask([&bins](Timeline* timeline) {
    ActivityMeasure measure({1}, bins, timeline);
    measure.AddAll();
    return measure.RecordedThousandths();
  });
}

}  // namespace

TEST(ActivityBins, AreOfOneWidthButForTheLast) {
  const struct {
    ArchiveTime from;
    ArchiveTime to;
    std::uint32_t most;
    ArchiveTime width;
    std::uint32_t count;
    ArchiveTime startOfLast;
  } cases[] = {
      {100, 200, 10, 10, 10, 190}, {100, 201, 10, 11, 10, 199}, {100, 103, 10, 1, 3, 102},
      {100, 200, 1, 100, 1, 100},  {100, 101, 7, 1, 1, 100},    {0, 100, 30, 4, 25, 96},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(testing::Message() << row.from << " to " << row.to << " by " << row.most);
    const ActivityBins bins = CutIntoBins(row.from, row.to, row.most);
    EXPECT_EQ(bins.width, row.width);
    EXPECT_EQ(bins.count, row.count);
    EXPECT_EQ(bins.Start(0), row.from);
    EXPECT_EQ(bins.Start(bins.count - 1), row.startOfLast);
    EXPECT_EQ(bins.End(bins.count - 1), row.to);
  }
}

TEST(ActivityBins, HoldTheLevelsOfTheEntriesThatBeginInThem) {
  MadeArchives archives;
  archives.Write("a.zel3", {{100, 3}, {110, 5}, {120, 0}, {130, 31}});
  EXPECT_THAT(LevelsIn(&archives, 100000, 20000, 3),
              ElementsAre(Pair(10, 8.0), Pair(62, 31.0), Pair(0, 0.0)));
  EXPECT_THAT(LevelsIn(&archives, 80000, 20000, 2), ElementsAre(Pair(0, 0.0), Pair(10, 8.0)));
}

TEST(ActivityBins, HoldTheLevelOfAnEntryThatLastsWhereNoneBegins) {
  MadeArchives archives;
  archives.Write("a.zel3", {{100, 3}, {110, 5}, {120, 0}, {130, 4}});
  EXPECT_THAT(LevelsIn(&archives, 100000, 5000, 9),
              ElementsAre(Pair(6, 6.0), Pair(6, 6.0), Pair(10, 10.0), Pair(10, 10.0), Pair(0, 0.0),
                          Pair(0, 0.0), Pair(8, 8.0), Pair(8, 8.0), Pair(0, 0.0)));
  EXPECT_THAT(LevelsIn(&archives, 104000, 3000, 3),
              ElementsAre(Pair(6, 6.0), Pair(6, 6.0), Pair(10, 10.0)))
      << "also of one that begins before all bins";
}

TEST(ActivityBins, NothingLastsThroughAGap) {
  MadeArchives archives;
  archives.Write("a.zel3", {{100, 3}, {110, 3}, {120, 5}, {170, 5}});
  EXPECT_THAT(LevelsIn(&archives, 120000, 10000, 6),
              ElementsAre(Pair(10, 10.0), Pair(0, 0.0), Pair(0, 0.0), Pair(0, 0.0), Pair(0, 0.0),
                          Pair(10, 10.0)));
}

TEST(ActivityBins, HoldTheEntriesOfAllArchives) {
  MadeArchives archives;
  archives.Write("a.zel3", {{100, 1}, {110, 2}});
  archives.Write("b.zel3", {{120, 3}, {130, 4}});
  archives.Write("c.zel3", {{115, 5}, {125, 6}});
  EXPECT_THAT(LevelsIn(&archives, 100000, 40000, 1), ElementsAre(Pair(12, 7.0)));
}

TEST(ActivityBins, SayHowMuchOfThemWasRecorded) {
  MadeArchives archives;
  archives.Write("a.zel3", {{100, 0}, {110, 0}, {120, 0}, {161, 0}, {171, 0}});
  EXPECT_THAT(RecordedIn(&archives, 90000, 10000, 10),
              ElementsAre(0, 1000, 1000, 1000, 0, 0, 0, 900, 1000, 100));
  EXPECT_THAT(RecordedIn(&archives, 100000, 30001, 1), ElementsAre(999)) << "not quite";
  EXPECT_THAT(RecordedIn(&archives, 180999, 100'000'000, 1), ElementsAre(1)) << "next to nothing";
}
