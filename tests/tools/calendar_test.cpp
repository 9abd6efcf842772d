#include <gmock/gmock.h>
#include <unistd.h>

#include <QString>
#include <fstream>
#include <nlohmann/json.hpp>

#include "archive/archive_writer.h"
#include "support/program.h"
#include "support/sample_archive.h"
#include "support/terminal.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

constexpr std::uint32_t kHourOfEntries = 3600;
constexpr std::uint32_t kDayOfEntries = 24 * kHourOfEntries;
constexpr std::uint32_t kWednesday = 1714521600;       // 2024-05-01 UTC
constexpr std::uint32_t kSpringInBerlin = 1774738800;  // midnight of the day with 23 hours
constexpr std::uint32_t kAutumnInBerlin = 1792879200;  // and with 25

class Calendar : public ProgramTest {
 protected:
  // Writes an archive with an entry every ten minutes, and an event in each of the first ones.
  std::string Write(const std::string& name, std::uint32_t from, std::uint32_t to,
                    unsigned events = 0) {
    ArchiveWriter writer(*this / name);
    writer.WriteHeader(OneStreamHeader());
    for (std::uint32_t time = from; time < to; time += 600) {
      writer.WriteIndex({time, 0, 0});
      writer.WriteData(1, 5, reinterpret_cast<const unsigned char*>("x"), 1);
      if (events == 0) continue;
      --events;
      writer.WriteData(0x80, 5, reinterpret_cast<const unsigned char*>("gate"), 4);
    }
    writer.Close();
    return *this / name;
  }

  ProgramResult Ask(const Arguments& options = {}) {
    Arguments arguments{"calendar", Folder()};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return Run(arguments);
  }

  nlohmann::json Json(const Arguments& options = {}, int exitCode = 0) {
    Arguments all = options;
    all.insert(all.end(), {"--format", "json"});
    const ProgramResult result = Ask(all);
    EXPECT_EQ(result.exitCode, exitCode) << result.err;
    return nlohmann::json::parse(result.out);
  }

  // The line of a day.
  std::string LineOf(const std::string& day, const ProgramResult& result) {
    for (const std::string& line : LinesOf(result.out)) {
      if (line.rfind(day, 0) == 0) return line;
    }
    return "";
  }
};

std::size_t Width(const std::string& line) {
  return static_cast<std::size_t>(QString::fromStdString(line).size());
}

}  // namespace

TEST_F(Calendar, HalfRecordedHoursLookHalfRecorded) {
  Write("a.zel3", kWednesday, kWednesday + kHourOfEntries + 600, 2);
  Write("b.zel3", kWednesday + 3 * kHourOfEntries, kWednesday + 3 * kHourOfEntries + 1800);
  Write("c.zel3", kWednesday + 23 * kHourOfEntries + 600, kWednesday + kDayOfEntries);
  const ProgramResult result = Ask();
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_THAT(
      LinesOf(result.out),
      ElementsAre(
          "               0     3     6     9     12    15    18    21         %  events",
          "Wed 2024-05-01 ██░░··▒▒······································▓▓    10       2",
          "· nothing  ░ less than a third  ▒ about half  ▓ most  █ all recorded  ! in doubt",
          "recorded on 1 of 1 day, 2:30:00 in all, 2 events", "in the time zone UTC"));
}

TEST_F(Calendar, EmptyDaysAreShownUntilTheyAreMany) {
  Write("a.zel3", kWednesday, kWednesday + kHourOfEntries);
  Write("b.zel3", kWednesday + 2 * kDayOfEntries, kWednesday + 2 * kDayOfEntries + kHourOfEntries);
  Write("c.zel3", kWednesday + 30 * kDayOfEntries, kWednesday + 30 * kDayOfEntries + 1199);
  const ProgramResult result = Ask();
  EXPECT_EQ(LineOf("Thu 2024-05-02", result),
            "Thu 2024-05-02 ················································     0       0");
  EXPECT_EQ(LineOf("…", result), "… 27 days without a recording");
  EXPECT_EQ(LineOf("Fri 2024-05-31", result),
            "Fri 2024-05-31 ▒▒··············································     1       0");
  EXPECT_THAT(result.out, HasSubstr("recorded on 3 of 31 days, 2:20:00 in all"));
  const nlohmann::json json = Json();
  ASSERT_EQ(json["days"].size(), 3U);
  EXPECT_EQ(json["days"][1]["date"], "2024-05-03");
}

TEST_F(Calendar, AWrongClockMakesOneRow) {
  Write("a.zel3", 0, 600);
  Write("b.zel3", kWednesday, kWednesday + kHourOfEntries);
  const ProgramResult result = Ask();
  EXPECT_EQ(LineOf("Thu 1970-01-01", result),
            "Thu 1970-01-01 ░░··············································    <1       0");
  EXPECT_EQ(LinesOf(result.out).size(), 7U);
  EXPECT_EQ(LineOf("…", result), "… 19843 days without a recording");
}

TEST_F(Calendar, OfARangeAreAllItsDays) {
  Write("a.zel3", kWednesday, kWednesday + kDayOfEntries);
  const ProgramResult result =
      Ask({"--since", "2024-04-30 12:00", "--until", "2024-05-01T02:30:00Z"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(LineOf("Tue 2024-04-30", result),
            "Tue 2024-04-30                         ························     0       0");
  EXPECT_EQ(LineOf("Wed 2024-05-01", result),
            "Wed 2024-05-01 ██████                                             100       0");
  EXPECT_EQ(LineOf("Thu", result), "");
  EXPECT_EQ(LineOf("blank", result), "blank: skipped by the clocks, or not in the range");
}

TEST_F(Calendar, OfADayOnWhichClocksAreSetForward) {
  Write("a.zel3", kSpringInBerlin, kSpringInBerlin + 23 * kHourOfEntries);
  EXPECT_EQ(LineOf("Sun 2026-03-29", Ask({"--time-zone", "Europe/Berlin"})),
            "Sun 2026-03-29 ████  ██████████████████████████████████████████   100       0");
  const nlohmann::json day = Json({"--time-zone", "Europe/Berlin"})["days"][0];
  EXPECT_EQ(day["length"], 23 * 3600000);
  EXPECT_EQ(day["hours"][2]["length"], 0);
  EXPECT_EQ(day["hours"][2]["recordedFraction"], 0.0);
  EXPECT_EQ(day["hours"][3]["recorded"], 3600000);
}

TEST_F(Calendar, OfADayOnWhichClocksAreSetBack) {
  Write("a.zel3", kAutumnInBerlin, kAutumnInBerlin + 3 * kHourOfEntries);
  Write("b.zel3", kAutumnInBerlin + 4 * kHourOfEntries, kAutumnInBerlin + 25 * kHourOfEntries);
  EXPECT_EQ(LineOf("Sun 2026-10-25", Ask({"--time-zone", "Europe/Berlin"})),
            "Sun 2026-10-25 ████▒▒██████████████████████████████████████████    96       0");
  const nlohmann::json json = Json({"--time-zone", "Europe/Berlin"});
  EXPECT_EQ(json["timeZone"], "Europe/Berlin");
  EXPECT_EQ(json["days"][0]["length"], 25 * 3600000);
  EXPECT_EQ(json["days"][0]["hours"][2]["length"], 7200000);
  EXPECT_EQ(json["days"][0]["hours"][2]["recordedFraction"], 0.5);
}

TEST_F(Calendar, DamageThatMayHideEntriesIsMarked) {
  const std::string path = Write("a.zel3", kWednesday, kWednesday + 2 * kHourOfEntries);
  std::ofstream(path, std::ios::app | std::ios::binary) << std::string(300, 'x');
  Write("b.zel3", kWednesday + 4 * kHourOfEntries, kWednesday + 5 * kHourOfEntries);
  const ProgramResult result = Ask();
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(result.err,
            "zel3: a.zel3 is damaged where nothing is found; entries may be lost there\n");
  EXPECT_EQ(LineOf("Wed", result),
            "Wed 2024-05-01 ███!·!·!██······································    12       0 !");
  EXPECT_THAT(result.out, HasSubstr(", 1 day in doubt\n"));
  const nlohmann::json json = Json({}, 3);
  EXPECT_EQ(json["doubts"].size(), 1U);
  EXPECT_EQ(json["days"][0]["hours"][0]["inDoubt"], false);
  EXPECT_EQ(json["days"][0]["hours"][1]["inDoubt"], true);
  EXPECT_EQ(json["days"][0]["hours"][1]["recordedFraction"], 1.0);
  EXPECT_EQ(Run({"gaps", Folder()}).err, result.err);
}

TEST_F(Calendar, FilesThatAreLeftOutAreMarked) {
  Write("a.zel3", kWednesday, kWednesday + 2 * kHourOfEntries);
  ASSERT_EQ(Run({"index", Folder()}).exitCode, 0);
  Write("b.zel3", kWednesday + 4 * kHourOfEntries, kWednesday + 5 * kHourOfEntries);
  const ProgramResult result = Ask({"--no-index"});
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_THAT(result.err, HasSubstr("b.zel3 has no index, and none is built; it is left out"));
  EXPECT_EQ(LineOf("Wed", result),
            "Wed 2024-05-01 ████····"
            "·!······································     8       0 !");
}

TEST_F(Calendar, AHundredDaysFitEightyColumns) {
  const std::string path = Write("a.zel3", kWednesday, kWednesday + 100 * kDayOfEntries, 9000);
  std::ofstream(path, std::ios::app | std::ios::binary) << std::string(300, 'x');
  const ProgramResult result = Ask();
  EXPECT_EQ(result.exitCode, 3);
  const std::vector<std::string> lines = LinesOf(result.out);
  EXPECT_LT(lines.size(), 60U);
  for (const std::string& line : lines) EXPECT_LE(Width(line), 80U) << line;
  EXPECT_EQ(lines[0],
            "2024-05  3  6  9  12 15 18 21    %  ev   2024-06  3  6  9  12 15 18 21    %  ev");
  EXPECT_EQ(lines[1],
            "We 01 ████████████████████████ 100 144   Fr 21 ████████████████████████ 100 144");
  for (const char* const month : {"2024-05", "2024-06", "2024-07", "2024-08"})
    EXPECT_THAT(result.out, HasSubstr(month));
  EXPECT_THAT(result.out, HasSubstr("Th 08 ███████████████████████! 100   0!"));
}

TEST_F(Calendar, ManyYearsTakeTwoColumnsPageByPage) {
  for (std::uint32_t i = 0; i < 3; ++i) {
    const std::uint32_t start = kWednesday + i * 300 * kDayOfEntries;
    Write(std::to_string(i) + ".zel3", start, start + 100 * kDayOfEntries);
  }
  const std::vector<std::string> lines = LinesOf(Ask().out);
  std::size_t days = 0;
  for (const std::string& line : lines) {
    EXPECT_LE(Width(line), 80U) << line;
    for (std::size_t at = line.find("100"); at != std::string::npos; at = line.find("100", at + 1))
      ++days;
  }
  EXPECT_EQ(days, 300U);
}

TEST_F(Calendar, NoDayIsLostBetweenColumnsAndPages) {
  Write("a.zel3", kWednesday, kWednesday + 240 * kDayOfEntries);
  for (std::uint32_t days : {32U, 33U, 105U, 106U, 107U, 108U, 109U, 110U, 111U, 112U, 113U, 214U,
                             215U, 216U, 217U, 218U, 219U}) {
    SCOPED_TRACE(days);
    const std::string until = std::to_string((kWednesday + days * kDayOfEntries) * 1000ULL);
    const ProgramResult result = Ask({"--since", "1", "--until", until});
    std::uint32_t shown = 0;
    std::size_t at = 0;
    while ((at = result.out.find("█ 100   0", at + 1)) != std::string::npos) ++shown;
    EXPECT_EQ(shown, days);
  }
}

TEST_F(Calendar, TerminalsShowColoursAsWell) {
  Write("a.zel3", kWednesday, kWednesday + kHourOfEntries + 1800);
  const Terminal terminal;
  for (const char* const noColour : {"", "1"}) {
    Start({"calendar", Folder()}, [&] {
      setenv("TERM", "xterm", 1);
      setenv("NO_COLOR", noColour, 1);
      terminal.TakeThePlaceOf(STDOUT_FILENO);
    });
    EXPECT_EQ(Finish().exitCode, 0);
  }
  const std::string written = terminal.Written();
  EXPECT_THAT(written, HasSubstr("\x1b[32m██\x1b[0m\x1b[33m▒▒\x1b[0m····"));
  EXPECT_THAT(written, HasSubstr("Wed 2024-05-01 ██▒▒····"));
}

TEST_F(Calendar, CsvHasARowForAnHourAndJsonLinesALineForADay) {
  Write("a.zel3", kWednesday + 23 * kHourOfEntries, kWednesday + kDayOfEntries + 1800, 5);
  const std::vector<std::string> rows = LinesOf(Ask({"--format", "csv"}).out);
  ASSERT_EQ(rows.size(), 49U);
  EXPECT_EQ(rows[0], "date,hour,length,recorded,recordedFraction,events,inDoubt");
  EXPECT_EQ(rows[23], "2024-05-01,22,3600000,0,0.000,0,false");
  EXPECT_EQ(rows[24], "2024-05-01,23,3600000,3600000,1.000,5,false");
  EXPECT_EQ(rows[25], "2024-05-02,0,3600000,1800000,0.500,0,false");
  const std::vector<std::string> lines = LinesOf(Ask({"--format", "jsonl"}).out);
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_THAT(lines[1], HasSubstr(R"({"date":"2024-05-02","length":86400000,"recorded":1800000,)"
                                  R"("recordedFraction":0.02,"events":0,"inDoubt":false,)"
                                  R"("hours":[{"hour":0,"length":3600000,"recorded":1800000,)"));
}

TEST_F(Calendar, OfNothingIsEmpty) {
  Write("a.zel3", kWednesday, kWednesday + kHourOfEntries);
  const ProgramResult text = Ask({"--since", "2025-01-01"});
  EXPECT_EQ(text.exitCode, 4);
  EXPECT_EQ(text.out, "");
  EXPECT_EQ(text.err, "zel3: nothing is recorded there\n");
  EXPECT_THAT(Json({"5", "6"}, 4)["days"], IsEmpty());
  EXPECT_EQ(Ask({"5", "6", "--format", "jsonl"}).out, "");
  EXPECT_EQ(LinesOf(Ask({"5", "6", "--format", "csv"}).out).size(), 1U);
  EXPECT_EQ(Ask({"--since", "18446744073709551614"}).exitCode, 4);
  EXPECT_EQ(Ask({"6", "5"}).exitCode, 2);
  EXPECT_EQ(Run({"calendar", *this / "missing"}).exitCode, 1);
}

TEST_F(Calendar, OfSeveralSourcesAreSeveralOrOne) {
  const std::string one = *this / "one";
  const std::string two = *this / "two";
  ASSERT_EQ(RunOther("mkdir", {one, two}).exitCode, 0);
  Write("one/a.zel3", kWednesday, kWednesday + kHourOfEntries);
  Write("two/b.zel3", kWednesday + kHourOfEntries, kWednesday + 2 * kHourOfEntries);
  const ProgramResult apart = Run({"calendar", one, two});
  EXPECT_EQ(apart.exitCode, 0);
  EXPECT_THAT(apart.out, HasSubstr("Wed 2024-05-01 ██······"));
  EXPECT_THAT(apart.out, HasSubstr("Wed 2024-05-01 ··██····"));
  const ProgramResult merged = Run({"calendar", one, two, "--merge"});
  EXPECT_THAT(merged.out, HasSubstr("Wed 2024-05-01 ████····"));
  EXPECT_THAT(merged.out, Not(HasSubstr("··██")));
  const ProgramResult asJson = Run({"calendar", one, two, "--format", "json"});
  EXPECT_EQ(nlohmann::json::parse(asJson.out)["sources"].size(), 2U);
}
