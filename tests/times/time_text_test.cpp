#include "times/time_text.h"

#include <gmock/gmock.h>

TEST(TimeText, IsoTimesAreMillisecondsSince1970) {
  const struct {
    std::uint64_t time;
    const char* text;
  } cases[] = {
      {0, "1970-01-01T00:00:00.000Z"},
      {1714543200250, "2024-05-01T06:00:00.250Z"},
      {4294967295000, "2106-02-07T06:28:15.000Z"},
      {253402300799999, "9999-12-31T23:59:59.999Z"},
      {253402300800000, "253402300800000"},
      {18446744073709551615U, "18446744073709551615"},
  };
  for (const auto& each : cases) EXPECT_EQ(TimeText(each.time, TimeFormat::kIso), each.text);
}

TEST(TimeText, IntegersAreShownAsTheyAre) {
  EXPECT_EQ(TimeText(1714543200250, TimeFormat::kInteger), "1714543200250");
}
