#include "times/time_argument.h"

#include <gmock/gmock.h>

#include <stdexcept>

using testing::HasSubstr;

namespace {

constexpr std::int64_t kNow = 1714564800000;  // 2024-05-01T12:00:00Z

TimeReference In(const char* zone) {
  return {QTimeZone(zone), kNow};
}

const TimeReference kUtc{QTimeZone::utc(), kNow};

struct Case {
  const char* text;
  std::uint64_t time;
};

template <std::size_t count>
void ExpectTimes(const Case (&cases)[count], const TimeReference& reference) {
  for (const Case& each : cases) {
    SCOPED_TRACE(each.text);
    try {
      EXPECT_EQ(TimeFromText(each.text, reference), each.time);
    } catch (const std::invalid_argument& refusal) {
      ADD_FAILURE() << refusal.what();
    }
  }
}

// Why a text is refused; empty when it is not.
std::string Refusal(const std::string& text, const TimeReference& reference = kUtc) {
  try {
    TimeFromText(text, reference);
  } catch (const std::invalid_argument& refusal) {
    return refusal.what();
  }
  return "";
}

}  // namespace

TEST(TimeFromText, ReadsIntegersAsTheyAre) {
  const Case cases[] = {
      {"0", 0},
      {"007", 7},
      {"20240501", 20240501},
      {"18446744073709551615", 18446744073709551615U},
  };
  ExpectTimes(cases, In("Europe/Berlin"));
}

TEST(TimeFromText, ReadsDatesAndTimes) {
  const Case cases[] = {
      {"1970-01-01", 0},
      {"2024-05-01", 1714521600000},
      {"2024-02-29", 1709164800000},
      {"2000-02-29", 951782400000},
      {"2024-05-01T06", 1714543200000},
      {"2024-05-01T06:00", 1714543200000},
      {"2024-05-01T06:00:00", 1714543200000},
      {"2024-05-01 06:00:00", 1714543200000},
      {"2024-05-01t06:00z", 1714543200000},
      {"2024-05-01T06:00:00Z", 1714543200000},
      {"2024-05-01 06:00:00 UTC", 1714543200000},
      {"20240501T060000Z", 1714543200000},
      {"20240501T0600", 1714543200000},
      {"20240501 060000", 1714543200000},
      {"20240501T060000.25Z", 1714543200250},
      {"2024-05-01T060000Z", 1714543200000},
      {"2024-05-01T06:00:00.250Z", 1714543200250},
      {"2024-05-01T06:00:00.5Z", 1714543200500},
      {"2024-05-01T06:00:00,5Z", 1714543200500},
      {"2024-05-01T06:00:00.0019Z", 1714543200001},
      {"2024-05-01T06:00:00.999999999Z", 1714543200999},
      {"9999-12-31T23:59:59.999Z", 253402300799999},
  };
  ExpectTimes(cases, kUtc);
}

TEST(TimeFromText, AnOffsetIsThatOfTheTimeWhateverTheZoneIs) {
  const Case cases[] = {
      {"2024-05-01T12:00:00+02:00", 1714557600000},
      {"2024-05-01T12:00+02:00", 1714557600000},
      {"2024-05-01T12+02", 1714557600000},
      {"2024-05-01 12:00:00 +0200", 1714557600000},
      {"20240501T120000+0200", 1714557600000},
      {"2024-05-01T12:00:00.5-0930", 1714599000500},
      {"2024-05-01T12:00:00-00:00", 1714564800000},
      {"2024-05-01T12:00+02:00:30", 1714557570000},
      {"1970-01-01T01:00+01:00", 0},
      {"2024-05-01T12:00Z", 1714564800000},
  };
  ExpectTimes(cases, kUtc);
  ExpectTimes(cases, In("America/New_York"));
}

TEST(TimeFromText, WithoutOffsetTimesAreThoseOfTheZone) {
  const Case berlin[] = {
      {"2024-05-01", 1714514400000},
      {"2024-05-01T12:00", 1714557600000},
      {"2024-01-01T01:00", 1704067200000},
      {"2050-07-01T12:00", 2540282400000},
      {"1970-01-01T01:00", 0},
  };
  ExpectTimes(berlin, In("Europe/Berlin"));
  const Case newYork[] = {{"2024-05-01", 1714536000000}};
  ExpectTimes(newYork, In("America/New_York"));
  const Case kathmandu[] = {{"2024-05-01T12:00", 1714544100000}};
  ExpectTimes(kathmandu, In("Asia/Kathmandu"));
}

TEST(TimeFromText, ClocksThatAreSetForwardSkipTimes) {
  const TimeReference berlin = In("Europe/Berlin");
  const Case around[] = {
      {"2024-03-31", 1711839600000},
      {"2024-03-31T01:59:59.999", 1711846799999},
      {"2024-03-31T03:00", 1711846800000},
      {"2024-03-31T02:30+01:00", 1711848600000},
  };
  ExpectTimes(around, berlin);
  for (const char* const text : {"2024-03-31T02:00", "2024-03-31T02:59:59.999"}) {
    EXPECT_EQ(Refusal(text, berlin), "'" + std::string(text) +
                                         "' is not a time: clocks in Europe/Berlin are set forward "
                                         "over it");
  }
}

TEST(TimeFromText, ClocksThatAreSetBackShowTimesTwice) {
  const TimeReference berlin = In("Europe/Berlin");
  const Case around[] = {
      {"2024-10-27T01:59:59", 1729987199000},
      {"2024-10-27T02:30+02:00", 1729989000000},
      {"2024-10-27T02:30+01:00", 1729992600000},
      {"2024-10-27T03:00", 1729994400000},
  };
  ExpectTimes(around, berlin);
  for (const char* const text : {"2024-10-27T02:00", "2024-10-27T02:59:59.999"}) {
    EXPECT_EQ(Refusal(text, berlin), "'" + std::string(text) +
                                         "' is not a time: clocks in Europe/Berlin show it twice: "
                                         "add +02:00 or +01:00");
  }
}

TEST(TimeFromText, ADayBeginsWithItsFirstMoment) {
  const struct {
    const char* zone;
    const char* day;
    std::uint64_t time;
  } cases[] = {
      {"Asia/Beirut", "2024-03-31", 1711836000000},        // from 00:00 to 01:00
      {"America/Sao_Paulo", "2018-11-04", 1541300400000},  // the same
      {"America/Sao_Paulo", "2018-02-18", 1518922800000},  // back from 00:00 to 23:00
      {"America/Havana", "2024-11-03", 1730606400000},     // back from 01:00 to 00:00
      {"Pacific/Apia", "2011-12-29", 1325152800000},
      {"Pacific/Apia", "2011-12-31", 1325239200000},
  };
  for (const auto& each : cases)
    EXPECT_EQ(TimeFromText(each.day, In(each.zone)), each.time) << each.zone << " " << each.day;
  EXPECT_EQ(Refusal("2011-12-30", In("Pacific/Apia")),
            "'2011-12-30' is not a time: clocks in Pacific/Apia skip this day");
}

TEST(TimeFromText, WordsGoByTheTimeInForce) {
  const Case utc[] = {
      {"now", 1714564800000},
      {"Now", 1714564800000},
      {"today", 1714521600000},
      {"YESTERDAY", 1714435200000},
      {"today 06:00", 1714543200000},
      {"yesterdayT18:30", 1714501800000},
      {"yesterday 18:30+02:00", 1714494600000},
      {"-1h30m", 1714559400000},
      {"now-1h30m", 1714559400000},
      {"-2d", 1714392000000},
      {"-0.5s", 1714564799500},
      {"+10m", 1714565400000},
      {"now+1s", 1714564801000},
  };
  ExpectTimes(utc, kUtc);
  const Case berlin[] = {
      {"now", 1714564800000}, {"today", 1714514400000}, {"today 14:00", 1714564800000}};
  ExpectTimes(berlin, In("Europe/Berlin"));
  // Where it is the second of May already.
  const Case kiritimati[] = {{"today", 1714557600000}};
  ExpectTimes(kiritimati, In("Pacific/Kiritimati"));
}

TEST(TimeFromText, ReadsSecondsSince1970) {
  const Case cases[] = {
      {"@0", 0},
      {"@1714564800", 1714564800000},
      {"@1714564800.5", 1714564800500},
      {"@1714564800,0019", 1714564800001},
      {"@18446744073709551.615", 18446744073709551615U},
  };
  ExpectTimes(cases, In("Europe/Berlin"));
}

TEST(TimeFromText, SaysWhyATimeIsRefused) {
  const struct {
    const char* text;
    const char* reason;
  } cases[] = {
      {"2024-02-30", "there is no day 2024-02-30"},
      {"2023-02-29", "there is no day 2023-02-29"},
      {"2100-02-29T12:00", "there is no day 2100-02-29"},
      {"2024-13-01", "there is no day 2024-13-01"},
      {"20240230T120000", "there is no day 2024-02-30"},
      {"2024-05-01T25:00", "there is no such time of day; the last is 23:59:59"},
      {"2024-05-01T24:00:00Z", "there is no such time of day; the last is 23:59:59"},
      {"2024-05-01T06:60:00Z", "there is no such time of day; the last is 23:59:59"},
      {"2024-05-01T06:00:61Z", "there is no such time of day; the last is 23:59:59"},
      {"2016-12-31T23:59:60Z",
       "leap seconds do not count: the second after 59 is 00 of the next minute"},
      {"2024-05-01T06:00+25:00", "+25:00 is not an offset"},
      {"2024-05-01T06:00+2", "+2 is not an offset"},
      {"1969-12-31", "times begin with 1970 UTC"},
      {"1970-01-01T00:30+01:00", "times begin with 1970 UTC"},
      {"@-1", "times begin with 1970 UTC"},
      {"-20000d", "times begin with 1970 UTC"},
      {"-999999999999d", "times begin with 1970 UTC"},
      {"+999999999999d", "it is after the last possible time"},
      {"18446744073709551616", "it is after the last possible time"},
      {"@18446744073709552", "it is after the last possible time"},
      {"+213503982334d", "it is after the last possible time"},
      {"-90", "a length of time before or after now has a unit: -90s"},
      {"now+1.5", "a length of time before or after now has a unit: +1.5s"},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(Refusal(each.text), "'" + std::string(each.text) + "' is not a time: " + each.reason);
  }
}

TEST(TimeFromText, ShowsHowTimesAreWrittenForEverythingElse) {
  for (const char* const text : {"",
                                 "-",
                                 "+",
                                 "@",
                                 "--1h",
                                 "1.5",
                                 "1e3",
                                 " 1",
                                 "1 ",
                                 "1\n",
                                 "x",
                                 "tomorrow",
                                 "noww",
                                 "yesterday-1h",
                                 "-1w",
                                 "-1h30",
                                 "-1h\n",
                                 "2024-05",
                                 "2024-5-1",
                                 "24-05-01",
                                 "2024-05-01Z",
                                 "2024-05-01+02:00",
                                 "2024-05-01T",
                                 "2024-05-01T6:00",
                                 "2024-05-01T06:0000",
                                 "2024-05-01T0600:00",
                                 "2024-05-01T06:00.5",
                                 "2024-05-01T06:00:00.",
                                 "2024-05-01  06:00",
                                 "2024-05-01_06-00-00",
                                 "2024-05-01T06:00:00 Europe/Berlin",
                                 "2024-05-01\n",
                                 "2024-05-01T06:00\n",
                                 "20240501T",
                                 "\xd9\xa1"}) {
    EXPECT_THAT(Refusal(text), HasSubstr("' is not a time: times are written as 2024-05-01, "))
        << text;
  }
}
