#include "times/length_argument.h"

#include <gmock/gmock.h>

TEST(LengthFromText, ReadsNumbersWithUnitsInMilliseconds) {
  const struct {
    const char* text;
    std::uint64_t length;
  } cases[] = {
      {"0", 0},
      {"90", 90000},
      {"90s", 90000},
      {"10m", 600000},
      {"1h30m", 5400000},
      {"1H30M", 5400000},
      {"1d12h", 129600000},
      {"2d3h4m5s", 183845000},
      {"1d5s", 86405000},
      {"90m", 5400000},
      {"0.5", 500},
      {"2,25s", 2250},
      {"1m0.0019s", 60001},
      {"18446744073709551.615", 18446744073709551615U},
      {"18446744073709551.616", 18446744073709551615U},
      {"18446744073709551616", 18446744073709551615U},
      {"213503982335d", 18446744073709551615U},
      {"213503982334d99999h", 18446744073709551615U},
      {"99999999999999999999999s", 18446744073709551615U},
  };
  for (const auto& each : cases) EXPECT_EQ(LengthFromText(each.text), each.length) << each.text;
}

TEST(LengthFromText, RefusesEverythingElse) {
  for (const char* const text :
       {"",     " ",    "s",    "d",  "-1", "+1",    "1.5h", "1 h",  "1h 30m", "1w",      "1hh",
        "1h30", "1m1h", "1m2m", ".5", "5.", "1.5.5", "1e3",  "1m\n", "90\n",   "\xd9\xa1"}) {
    EXPECT_EQ(LengthFromText(text), std::nullopt) << text;
  }
}

TEST(SecondsFromText, ReadsNumbersWithUnits) {
  const struct {
    const char* text;
    std::uint32_t seconds;
  } cases[] = {{"0", 0},      {"90", 90},    {"90s", 90},     {"15m", 900},
               {"6h", 21600}, {"1d", 86400}, {"1h30m", 5400}, {"4294967295", 4294967295}};
  for (const auto& each : cases) EXPECT_EQ(SecondsFromText(each.text), each.seconds) << each.text;
}

TEST(SecondsFromText, RefusesEverythingElse) {
  for (const char* const text : {"", "s", "-1", "1.5h", "1 h", "1w", "1hh", "4294967296",
                                 "71582789m", "1m\n", "0.5", "1.001s"}) {
    EXPECT_EQ(SecondsFromText(text), std::nullopt) << text;
  }
}
