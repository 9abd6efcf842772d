#include "render.h"

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

TEST(OutputStyle, PeopleGetIsoTimesAndProgramsIntegers) {
  OutputStyle style;
  EXPECT_EQ(style.Times(), TimeFormat::kIso);
  style.format = OutputFormat::kJson;
  EXPECT_EQ(style.Times(), TimeFormat::kInteger);
  style.askedTimeFormat = TimeFormat::kIso;
  EXPECT_EQ(style.Times(), TimeFormat::kIso);
}

TEST(Escaped, LeavesNothingThatATerminalWouldObey) {
  const struct {
    std::string text;
    std::string shown;
  } cases[] = {
      {"Gate north", "Gate north"},
      {"Stra\xc3\x9f"
       "e",
       "Stra\xc3\x9f"
       "e"},
      {"\x1b[2J", "\\u001b[2J"},
      {"a\nb\tc", "a\\u000ab\\u0009c"},
      {"\x7f", "\\u007f"},
      {"\xc2\x9b"
       "31m",
       "\\u009b31m"},
      {"\xe2\x80\xae", "\\u202e"},
      {"\xff", "\xef\xbf\xbd"},
      {std::string("a\0b", 3), "a\\u0000b"},
  };
  for (const auto& each : cases) EXPECT_EQ(Escaped(each.text), each.shown);
}
