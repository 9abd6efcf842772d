#include "times/time_argument.h"

#include <gmock/gmock.h>

TEST(ArchiveTimeFromText, ReadsIntegersAndUtcDates) {
  const struct {
    const char* text;
    std::uint64_t time;
  } cases[] = {
      {"0", 0},
      {"007", 7},
      {"18446744073709551615", 18446744073709551615U},
      {"1970-01-01", 0},
      {"2024-05-01", 1714521600000},
      {"2024-02-29", 1709164800000},
      {"2024-05-01T06:00:00Z", 1714543200000},
      {"2024-05-01T06:00:00.250Z", 1714543200250},
      {"9999-12-31T23:59:59.999Z", 253402300799999},
  };
  for (const auto& each : cases) EXPECT_EQ(ArchiveTimeFromText(each.text), each.time) << each.text;
}

TEST(ArchiveTimeFromText, RefusesEverythingElse) {
  for (const char* const text : {"",
                                 "-1",
                                 "+1",
                                 "1.5",
                                 "1e3",
                                 " 1",
                                 "1 ",
                                 "1\n",
                                 "18446744073709551616",
                                 "x",

                                 "2024-05",
                                 "2024-13-01",
                                 "2023-02-29",
                                 "1969-12-31",
                                 "2024-05-01T06:00:00",
                                 "2024-05-01T06:00Z",
                                 "2024-05-01T24:00:00Z",
                                 "2024-05-01T06:60:00Z",
                                 "2024-05-01 06:00:00Z",
                                 "2024-05-01T06:00:00.25Z",
                                 "2024-05-01T06:00:00+02:00",
                                 "2024-05-01\n",
                                 "\xd9\xa1"}) {
    EXPECT_EQ(ArchiveTimeFromText(text), std::nullopt) << text;
  }
}

TEST(SecondsFromText, ReadsANumberWithAUnit) {
  const struct {
    const char* text;
    std::uint32_t seconds;
  } cases[] = {{"0", 0},
               {"90", 90},
               {"90s", 90},
               {"15m", 900},
               {"6h", 21600},
               {"1d", 86400},
               {"4294967295", 4294967295}};
  for (const auto& each : cases) EXPECT_EQ(SecondsFromText(each.text), each.seconds) << each.text;
}

TEST(SecondsFromText, RefusesEverythingElse) {
  for (const char* const text :
       {"", "s", "-1", "1.5h", "1 h", "1w", "1hh", "4294967296", "71582789m", "1m\n"}) {
    EXPECT_EQ(SecondsFromText(text), std::nullopt) << text;
  }
}
