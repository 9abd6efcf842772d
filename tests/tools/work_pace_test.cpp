#include "output/work_pace.h"

#include <gmock/gmock.h>

using testing::DoubleNear;
using testing::Optional;

TEST(WorkPace, SaysNothingBeforeItCanTell) {
  WorkPace pace;
  EXPECT_EQ(pace.Rate(), std::nullopt);
  EXPECT_EQ(pace.Left(100), std::nullopt);
  pace.Note(1000, 0);
  pace.Note(1000.001, 5000000);
  EXPECT_EQ(pace.Rate(), std::nullopt) << "five gigabytes a second, for a moment";
  pace.Note(1000.9, 6000000);
  EXPECT_EQ(pace.Rate(), std::nullopt);
  pace.Note(1001, 7000000);
  EXPECT_THAT(pace.Rate(), Optional(DoubleNear(7e6, 1e5)));
  EXPECT_EQ(pace.Left(100000000), std::nullopt);
  pace.Note(1002, 14000000);
  EXPECT_THAT(pace.Left(100000000), Optional(DoubleNear(12.3, 0.1)));
}

TEST(WorkPace, FollowsTheSpeedOfLateAndNotOfEveryMoment) {
  WorkPace pace;
  double now = 0;
  std::uint64_t done = 0;
  const auto goOn = [&](int seconds, std::uint64_t perSecond) {
    for (int i = 0; i < 10 * seconds; ++i) pace.Note(now += 0.1, done += perSecond / 10);
  };
  pace.Note(0, 0);
  goOn(60, 100000000);
  EXPECT_THAT(pace.Rate(), Optional(DoubleNear(100e6, 1e6)));
  goOn(1, 10000000);
  EXPECT_THAT(pace.Rate(), Optional(testing::Gt(80e6)));
  goOn(60, 10000000);
  EXPECT_THAT(pace.Rate(), Optional(DoubleNear(10e6, 1e6)));
}

TEST(WorkPace, WhatIsSkippedIsNotSpeed) {
  WorkPace pace;
  for (int i = 0; i <= 30; ++i) pace.Note(i * 0.1, 1000000U * static_cast<unsigned>(i));
  constexpr std::uint64_t kAfterHole = std::uint64_t{1} << 40;
  pace.Note(3.05, kAfterHole);
  for (int i = 31; i <= 60; ++i)
    pace.Note(i * 0.1, kAfterHole + 1000000U * static_cast<unsigned>(i - 30));
  EXPECT_THAT(pace.Rate(), Optional(DoubleNear(10e6, 1e6)));
}

TEST(WorkPace, APartThatIsDoneAgainAndAStallAreSurvived) {
  WorkPace pace;
  for (int i = 0; i <= 30; ++i) pace.Note(i * 0.1, 1000000U * static_cast<unsigned>(i));
  pace.Note(3.2, 0);
  EXPECT_THAT(pace.Rate(), Optional(testing::AllOf(testing::Gt(8e6), testing::Lt(10.1e6))));
  EXPECT_THAT(pace.Left(std::uint64_t{1} << 60), std::nullopt) << "a thousand years";
  pace.Note(3600, 1000);
  EXPECT_THAT(pace.Rate(), Optional(testing::Lt(10000)));
}
