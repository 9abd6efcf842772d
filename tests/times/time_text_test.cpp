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

TEST(TimeText, OtherZonesAreShownWithTheirOffset) {
  const struct {
    std::uint64_t time;
    const char* zone;
    const char* text;
  } cases[] = {
      {1714564800000, "Europe/Berlin", "2024-05-01T14:00:00.000+02:00"},
      {1711846799999, "Europe/Berlin", "2024-03-31T01:59:59.999+01:00"},
      {1711846800000, "Europe/Berlin", "2024-03-31T03:00:00.000+02:00"},
      {1729990799999, "Europe/Berlin", "2024-10-27T02:59:59.999+02:00"},
      {1729990800000, "Europe/Berlin", "2024-10-27T02:00:00.000+01:00"},
      {0, "America/New_York", "1969-12-31T19:00:00.000-05:00"},
      {1704067200000, "Europe/London", "2024-01-01T00:00:00.000+00:00"},
      {31538670000, "Africa/Monrovia", "1971-01-01T00:00:00.000-00:44:30"},
      {253402300799999, "Europe/Berlin", "253402300799999"},
      {253402300799999, "America/New_York", "9999-12-31T18:59:59.999-05:00"},
      {253402300800000, "America/New_York", "253402300800000"},
      {18446744073709551615U, "Europe/Berlin", "18446744073709551615"},
  };
  for (const auto& each : cases)
    EXPECT_EQ(TimeText(each.time, TimeFormat::kIso, QTimeZone(each.zone)), each.text);
}

TEST(TimeText, IntegersAreShownAsTheyAre) {
  EXPECT_EQ(TimeText(1714543200250, TimeFormat::kInteger), "1714543200250");
}
