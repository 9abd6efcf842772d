#include <limits>

#include "support/reader_test.h"

namespace {

class Activity : public ReaderTest {
 protected:
  void OpenWith(const std::vector<IndexCache::Entry>& entries) {
    const std::string path = Place("cam.zel3", NumberedBytes(401));
    IndexCache{entries}.WriteBeside(path);
    Open(path);
  }

  // The level bytes of the answer to a request.
  Bytes Levels(std::uint64_t from, std::uint64_t to, std::int32_t binCount, std::int32_t streamId) {
    Send(ActivityRequest(from, to, binCount, streamId));
    const std::vector<cMemBlock> blocks = Received();
    if (blocks.size() != 1) {
      ADD_FAILURE() << "expected one answer, got " << blocks.size();
      return Bytes();
    }
    const ActivityGistBlock gist = ActivityGistBlock::View(blocks[0]);
    EXPECT_EQ(gist.GetType(), FourCc("ntfy"));
    EXPECT_EQ(gist.Record().kind, FourCc("Gist"));
    EXPECT_EQ(gist.Record().from, from);
    EXPECT_EQ(gist.Record().to, to);
    EXPECT_EQ(gist.Record().streamId, streamId);
    EXPECT_EQ(gist.Record().binCount, binCount);
    return Bytes(gist.Record().Levels(), gist.Record().Levels() + gist.GetExtraSize());
  }
  // `count` bins of 0, except those given.
  static Bytes Bins(std::size_t count, const std::vector<std::pair<std::size_t, int>>& levels) {
    Bytes bins(count);
    for (const auto& level : levels) bins[level.first] = static_cast<unsigned char>(level.second);
    return bins;
  }
};

TEST_F(Activity, IsAnsweredByARecordAndOneByteForEachBin) {
  OpenWith({{10, 100}, {20, 200}});
  for (const std::int32_t binCount : {0, 1, 10, 1000, 1'000'000}) {
    EXPECT_THAT(Ask(ActivityRequest(0, 100000, binCount, 1)),
                ElementsAre("Gist " + std::to_string(28 + binCount)));
  }
}

TEST_F(Activity, InCoarseBinsTheFirstBinStaysEmpty) {
  OpenWith({{0, 100, {{5, 20}}}, {100, 200, {{5, 30}}}});
  EXPECT_EQ(Levels(0, 100000, 10, 5), Bins(10, {{1, 20}, {9, 30}}));
}

TEST_F(Activity, InCoarseBinsTheLargestLevelStays) {
  OpenWith({{40, 100, {{5, 10}}}, {41, 200, {{5, 30}}}, {42, 300, {{5, 20}}}});
  EXPECT_EQ(Levels(0, 100000, 10, 5), Bins(10, {{5, 30}}));
}

TEST_F(Activity, InFineBinsAnEntryLastsUntilTheNext) {
  OpenWith({{10, 100, {{5, 8}}}, {12, 200}});
  EXPECT_EQ(Levels(0, 50000, 100, 5), Bins(100, {{20, 8}, {21, 8}, {22, 8}, {23, 8}, {24, 8}}))
      << "an earlier entry wins the bin that it shares with the next";
}

TEST_F(Activity, CountsOnlyTheRequestedStream) {
  OpenWith({{50, 100, {{5, 10}, {6, 20}, {5, 30}}}});
  EXPECT_EQ(Levels(0, 100000, 10, 5), Bins(10, {{6, 10}})) << "the first of its pairs";
  EXPECT_EQ(Levels(0, 100000, 10, 6), Bins(10, {{6, 20}}));
  EXPECT_EQ(Levels(0, 100000, 10, 7), Bins(10, {}));
  EXPECT_EQ(Levels(0, 100000, 10, 0), Bins(10, {})) << "unused pairs are no stream 0";
  EXPECT_EQ(Levels(0, 100000, 10, 261), Bins(10, {})) << "261 is not 5";
  EXPECT_EQ(Levels(0, 100000, 10, -251), Bins(10, {}));
}

TEST_F(Activity, LevelsHaveSixBits) {
  OpenWith({{30, 100, {{5, 62}}}, {50, 100, {{5, 0xC1}}}});
  EXPECT_EQ(Levels(0, 100000, 10, 5), Bins(10, {{4, 62}, {6, 1}}));
}

TEST_F(Activity, OutsideTheRangeDoesNotCount) {
  OpenWith({{10, 100, {{5, 10}}}, {50, 200, {{5, 20}}}, {90, 300, {{5, 30}}}});
  EXPECT_EQ(Levels(40000, 60000, 4, 5), Bins(4, {{3, 20}}));
}

TEST_F(Activity, WithoutBinsHasAnAnswerToo) {
  OpenWith({{10, 100, {{5, 10}}}});
  EXPECT_THAT(Levels(0, 100000, 0, 5), IsEmpty());
  EXPECT_THAT(Levels(0, 100000, -1, 5), IsEmpty());
  EXPECT_THAT(Levels(0, 100000, std::numeric_limits<std::int32_t>::min(), 5), IsEmpty());
}

TEST_F(Activity, ARangeWithoutLengthIsEmpty) {
  OpenWith({{10, 100, {{5, 10}}}});
  EXPECT_EQ(Levels(10000, 10000, 8, 5), Bytes(8));
  EXPECT_EQ(Levels(0, 0, 8, 5), Bytes(8));
  EXPECT_EQ(Levels(~std::uint64_t{0}, ~std::uint64_t{0}, 8, 5), Bytes(8));
}

TEST_F(Activity, ARangeThatEndsBeforeItStartsIsAnswered) {
  OpenWith({{10, 100, {{5, 10}}}, {50, 200, {{5, 20}}}});
  EXPECT_EQ(Levels(60000, 0, 8, 5).size(), 8u);
  EXPECT_EQ(Levels(~std::uint64_t{0}, 0, 8, 5).size(), 8u);
  EXPECT_EQ(Levels(0, ~std::uint64_t{0}, 8, 5).size(), 8u);
}

TEST_F(Activity, WithoutAnyArchiveIsAllZero) {
  Open(folder / "missing");
  EXPECT_EQ(Levels(0, 100000, 10, 5), Bytes(10));
}

TEST_F(Activity, OfAWholeFolderIsOneAnswer) {
  const std::string early = Place("early.zel3", NumberedBytes(401));
  const std::string late = Place("late.zel3", NumberedBytes(401));
  IndexCache{{{10, 100, {{5, 10}}}, {20, 200}}}.WriteBeside(early);
  IndexCache{{{70, 100, {{5, 30}}}, {80, 200}}}.WriteBeside(late);
  Open(folder.Path());
  EXPECT_EQ(Levels(0, 100000, 10, 5), Bins(10, {{2, 10}, {8, 30}}));
}

TEST_F(Activity, IsAnsweredWhileTheStreamIsStopped) {
  OpenWith({{50, 100, {{5, 10}}}});
  Ask(Play());
  EXPECT_EQ(Levels(0, 100000, 10, 5), Bins(10, {{6, 10}}));
}

// Its bytes cost nothing before they are used; where they cannot be had at all, no answer comes.
TEST_F(Activity, OfMoreBinsThanMemoryHoldsIsAnsweredOrNot) {
  OpenWith({{50, 100, {{5, 10}}}});
  constexpr std::int32_t kMostBins = std::numeric_limits<std::int32_t>::max();
  EXPECT_THAT(Ask(ActivityRequest(0, ~std::uint64_t{0}, kMostBins, 5)),
              testing::AnyOf(ElementsAre("Gist 2147483675"), IsEmpty()));
  EXPECT_EQ(Levels(0, 100000, 10, 5), Bins(10, {{6, 10}})) << "the reader stays usable";
}

// A damaged cache may claim intervals of years; every bin is still painted only once.
TEST_F(Activity, HugeIntervalsCostNoTime) {
  std::vector<IndexCache::Entry> entries;
  for (std::uint32_t i = 0; i < 2000; ++i) {
    entries.push_back({i % 2 == 0 ? 0u : 0xFFFFFFFFu, 100, {{5, 10}}});
  }
  OpenWith(entries);
  EXPECT_EQ(Levels(0, 1'000'000'000, 1'000'000, 5).size(), 1'000'000u);
}

}  // namespace
