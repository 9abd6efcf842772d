#include "times/length_text.h"

#include <gmock/gmock.h>

TEST(LengthText, SecondsHaveThreePlaces) {
  EXPECT_EQ(LengthInSeconds(0, TimeFormat::kIso), "0.000 s");
  EXPECT_EQ(LengthInSeconds(900005, TimeFormat::kIso), "900.005 s");
}

TEST(LengthText, HoursAreCountedWithoutEnd) {
  EXPECT_EQ(LengthInHours(999, TimeFormat::kIso), "0:00:00");
  EXPECT_EQ(LengthInHours(3723999, TimeFormat::kIso), "1:02:03");
  EXPECT_EQ(LengthInHours(360000000, TimeFormat::kIso), "100:00:00");
}

TEST(LengthText, IntegersAreShownAsTheyAre) {
  EXPECT_EQ(LengthInSeconds(12500, TimeFormat::kInteger), "12500");
  EXPECT_EQ(LengthInHours(12500, TimeFormat::kInteger), "12500");
}
