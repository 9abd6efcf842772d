#include <gmock/gmock.h>

#include <chrono>
#include <nlohmann/json.hpp>

#include "support/program.h"
#include "support/sample_archive.h"

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

namespace {

// The sample begins at midnight of 1 May 2024 in UTC.
class Times : public ProgramTest {
 protected:
  ProgramResult RunOn(const std::string& verb, const Arguments& options) {
    Arguments arguments{verb, mFolder};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return Run(arguments);
  }

  // The entry that a time belongs to, by its second.
  std::uint64_t SecondOf(const Arguments& time) {
    Arguments arguments = time;
    arguments.insert(arguments.end(), {"--format", "json"});
    const ProgramResult result = RunOn("seek", arguments);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    const nlohmann::json answer = nlohmann::json::parse(result.out);
    return (answer["time"].get<std::uint64_t>() - SampleTime(0)) / 1000;
  }

  // The bytes of a range, given in any way.
  std::string BytesOf(const Arguments& range) {
    const ProgramResult result = RunOn("read", range);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    return result.out;
  }

  const std::string mFolder = *this / "archives";
  const GroundTruth mTruth = WriteScenario(mFolder, SampleScenario());
};

// A minute of a recording that began an hour ago.
class RecentTimes : public ProgramTest {
 protected:
  RecentTimes() {
    const ProgramResult made = Run({"make", mFolder, "--start", mStart, "--length", "1m",
                                    "--interval", "10", "--events", "0"});
    EXPECT_EQ(made.exitCode, 0) << made.err;
  }

  const std::uint64_t mHourAgo = std::chrono::duration_cast<std::chrono::seconds>(
                                     std::chrono::system_clock::now().time_since_epoch())
                                     .count() -
                                 3600;
  const std::string mStart = "@" + std::to_string(mHourAgo);
  const std::string mFolder = *this / "archives";
};

}  // namespace

TEST_F(Times, AreReadInManyForms) {
  const std::vector<Arguments> cases = {
      {"1714521630000"},
      {"@1714521630"},
      {"2024-05-01T00:00:30Z"},
      {"2024-05-01 00:00:30"},
      {"20240501T000030Z"},
      {"2024-05-01T02:00:30,5+02:00"},
      {"2024-05-01T02:00:30", "--time-zone", "Europe/Berlin"},
      {"2024-05-01T00:00:30Z", "--time-zone", "Europe/Berlin"},
      {"2024-04-30T21:00:30", "--time-zone", "-03:00"},
  };
  for (const Arguments& time : cases) EXPECT_EQ(SecondOf(time), 30U) << time.front();
}

TEST_F(Times, AreRefusedWithTheReason) {
  const struct {
    Arguments time;
    const char* message;
  } cases[] = {
      {{"someday"},
       "zel3: TIME: 'someday' is not a time: times are written as 2024-05-01, "
       "2024-05-01T12:00:00+02:00, yesterday, -1h30m, @1714564800 or as integers\n"},
      {{"2024-02-30"}, "zel3: TIME: '2024-02-30' is not a time: there is no day 2024-02-30\n"},
      {{"-90"},
       "zel3: TIME: '-90' is not a time: a length of time before or after now has a unit: -90s\n"},
      {{"2024-03-31T02:30", "--time-zone", "Europe/Berlin"},
       "zel3: TIME: '2024-03-31T02:30' is not a time: clocks in Europe/Berlin are set forward over "
       "it\n"},
      {{"1", "--time-zone", "Berlin"},
       "zel3: --time-zone: 'Berlin' is not a time zone: do you mean Europe/Berlin?\n"},
  };
  for (const auto& each : cases) {
    const ProgramResult result = RunOn("seek", each.time);
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.err, each.message);
    EXPECT_EQ(result.out, "");
  }
}

TEST_F(Times, AreShownInTheZoneThatIsAskedFor) {
  const ProgramResult before =
      Run({"--time-zone", "Europe/Berlin", "seek", mFolder, "2024-05-01T02:00:30"});
  EXPECT_THAT(before.out, HasSubstr("2024-05-01T02:00:30.000+02:00"));
  const ProgramResult after =
      RunOn("seek", {"2024-05-01T02:00:30", "--time-zone", "Europe/Berlin"});
  EXPECT_EQ(after.out, before.out);
  EXPECT_THAT(RunOn("info", {"--time-zone", "UTC"}).out, HasSubstr("2024-05-01T00:00:00.000Z"));
  const ProgramResult json =
      RunOn("info", {"--time-zone", "-03:30", "--format", "json", "--time-format", "iso"});
  EXPECT_EQ(nlohmann::json::parse(json.out)["files"][0]["start"], "2024-04-30T20:30:00.000-03:30");
  const auto inTokyo = [] { setenv("TZ", "Asia/Tokyo", 1); };
  Start({"info", mFolder, "--time-zone", "local"}, inTokyo);
  EXPECT_THAT(Finish().out, HasSubstr("2024-05-01T09:00:00.000+09:00"));
  Start({"info", mFolder}, inTokyo);
  EXPECT_THAT(Finish().out, HasSubstr("2024-05-01T00:00:00.000Z"));
}

TEST_F(Times, WhatIsShownCanBeAskedForAgain) {
  const ProgramResult shown = RunOn("seek", {"@1714521630", "--format", "json", "--time-format",
                                             "iso", "--time-zone", "Asia/Kathmandu"});
  const std::string time = nlohmann::json::parse(shown.out)["time"];
  EXPECT_EQ(time, "2024-05-01T05:45:30.000+05:45");
  EXPECT_EQ(SecondOf({time}), 30U);
}

TEST_F(Times, ARangeCanBeGivenInManyWays) {
  const std::string whole = BytesOf({"2024-05-01T00:00:20Z", "2024-05-01T00:00:50Z"});
  EXPECT_THAT(whole, Not(testing::IsEmpty()));
  const std::vector<Arguments> cases = {
      {"@1714521620", "--until", "@1714521650"},
      {"--since", "@1714521620", "--until", "@1714521650"},
      {"--until", "@1714521650", "--since", "@1714521620"},
      {"--since", "@1714521620", "--for", "30"},
      {"--since=@1714521620", "--for=0m30.0s"},
      {"@1714521620", "--for", "30s"},
      {"--until", "@1714521650", "--for", "30s"},
  };
  for (const Arguments& range : cases) {
    EXPECT_EQ(BytesOf(range), whole) << testing::PrintToString(range);
  }
}

TEST_F(Times, ARangeIsRefusedThatIsNone) {
  const struct {
    const char* verb;
    Arguments range;
    const char* message;
  } cases[] = {
      {"read", {"1", "2", "--since", "1"}, "FROM and --since give the same end"},
      {"read", {"1", "2", "--until", "1"}, "TO and --until give the same end"},
      {"read",
       {"1", "2", "--for", "1"},
       "--for needs one end of the range, FROM, --since or --until"},
      {"events", {"--for", "1"}, "--for needs one end of the range, FROM, --since or --until"},
      {"events", {"1"}, "FROM needs TO, --until or --for; for an open end use --since TIME"},
      {"events", {"--since", "2", "--until", "1"}, "the range must begin before it ends"},
      {"events", {"--since", "2", "--for", "0"}, "the range must begin before it ends"},
      {"events", {"--until", "0"}, "the range must begin before it ends"},
      {"read", {}, "the range needs two ends: FROM and TO, or two of --since, --until and --for"},
      {"read",
       {"--since", "1"},
       "the range needs two ends: FROM and TO, or two of --since, --until and --for"},
      {"preview",
       {"--until", "1"},
       "the range needs two ends: FROM and TO, or two of --since, --until and --for"},
      {"read",
       {"--since", "1", "--for", "1x"},
       "--for: '1x' is not a length of time: 90, 15m, 1h30m or 1d12h"},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(testing::PrintToString(each.range));
    const ProgramResult result = RunOn(each.verb, each.range);
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.err, std::string("zel3: ") + each.message + "\n");
  }
}

TEST_F(Times, AnOpenEndIsThatOfWhatIsRecorded) {
  const auto from = [](std::uint32_t second) { return std::to_string(SampleTime(second)); };
  const ProgramResult late =
      RunOn("activity", {"--stream", "1", "--since", from(150), "--format", "json", "--bins", "5"});
  const nlohmann::json lateBins = nlohmann::json::parse(late.out);
  EXPECT_EQ(lateBins["from"], SampleTime(150));
  EXPECT_EQ(lateBins["to"], SampleTime(200));
  const ProgramResult early =
      RunOn("activity", {"--stream", "1", "--until", from(60), "--format", "json"});
  const nlohmann::json earlyBins = nlohmann::json::parse(early.out);
  EXPECT_EQ(earlyBins["from"], SampleTime(0));
  EXPECT_EQ(earlyBins["to"], SampleTime(60));
}

TEST_F(Times, EventsHaveOpenEnds) {
  const std::string folder = *this / "eventful";
  ASSERT_EQ(Run({"make", folder, "--length", "10m", "--events", "600"}).exitCode, 0);
  const auto events = [&](const Arguments& range) {
    Arguments arguments{"events", folder, "--format", "jsonl"};
    arguments.insert(arguments.end(), range.begin(), range.end());
    return LinesOf(Run(arguments).out);
  };
  const std::vector<std::string> all = events({});
  const std::vector<std::string> first = events({"--until", "2024-05-01T00:05Z"});
  const std::vector<std::string> last = events({"--since", "2024-05-01T00:05Z"});
  std::vector<std::string> joined = first;
  joined.insert(joined.end(), last.begin(), last.end());
  EXPECT_EQ(joined, all);
  EXPECT_THAT(first, Not(testing::IsEmpty()));
  EXPECT_THAT(last, Not(testing::IsEmpty()));
}

TEST_F(Times, AReportHasOpenEnds) {
  const auto rangeOf = [this](const Arguments& range) {
    Arguments arguments{"-o", "-"};
    arguments.insert(arguments.end(), range.begin(), range.end());
    const std::string page = RunOn("report", arguments).out;
    const std::string before = "id=\"report\">";
    const std::size_t start = page.find(before) + before.size();
    const auto data =
        nlohmann::json::parse(page.substr(start, page.find("</script>", start) - start));
    return std::pair<std::uint64_t, std::uint64_t>(data["from"], data["to"]);
  };
  EXPECT_EQ(rangeOf({"--since", "2024-05-01T00:02:00Z"}),
            std::pair(SampleTime(120), SampleTime(191)));
  EXPECT_EQ(rangeOf({"--until", "2024-05-01T00:02:00Z"}),
            std::pair(SampleTime(0), SampleTime(120)));
  EXPECT_EQ(rangeOf({"--since", "@1714521660", "--for", "1m"}),
            std::pair(SampleTime(60), SampleTime(120)));
}

TEST_F(Times, NothingIsRecordedBeyondTheEnds) {
  for (const char* const verb : {"events", "activity", "report"}) {
    for (const Arguments& range : {Arguments{"--since", "2024-06-01"},
                                   {"--until", "2024-04-01"},
                                   {"--since", "18446744073709551614"}}) {
      SCOPED_TRACE(verb + testing::PrintToString(range));
      Arguments arguments = range;
      if (verb == std::string("activity")) arguments.insert(arguments.end(), {"--stream", "1"});
      if (verb == std::string("report")) arguments.insert(arguments.end(), {"-o", "-"});
      const ProgramResult result = RunOn(verb, arguments);
      EXPECT_EQ(result.exitCode, 4);
      EXPECT_THAT(result.err, EndsWith("is recorded there\n"));
    }
  }
}

TEST_F(Times, ANumberThatLooksLikeSecondsIsTold) {
  const std::string hint = "; 1714521630 looks like seconds: write @1714521630\n";
  const std::vector<std::pair<std::string, Arguments>> cases = {
      {"seek", {"1714521630"}},
      {"read", {"1714521630", "1714521640"}},
      {"events", {"1714521630", "--for", "10"}},
      {"activity", {"--stream", "1", "1714521630", "1714521640"}},
      {"preview", {"1714521630", "1714521640"}},
      {"report", {"1714521630", "1714521640", "-o", "-"}},
      {"events", {"--until", "1714521630"}},
  };
  for (const auto& [verb, arguments] : cases) {
    const ProgramResult result = RunOn(verb, arguments);
    EXPECT_EQ(result.exitCode, 4) << verb;
    EXPECT_THAT(result.err, EndsWith(hint)) << verb;
  }
  // A day before what is recorded, and more.
  EXPECT_THAT(RunOn("seek", {"1714435200"}).err, HasSubstr("seconds"));
  EXPECT_THAT(RunOn("seek", {"1714435199"}).err, Not(HasSubstr("seconds")));
  EXPECT_THAT(RunOn("seek", {"1714608190"}).err, HasSubstr("seconds"));
  EXPECT_THAT(RunOn("seek", {"1714608191"}).err, Not(HasSubstr("seconds")));
}

TEST_F(Times, SecondsAreNotLookedForInArchivesOfAnotherUnit) {
  const std::string folder = *this / "early";
  ASSERT_EQ(Run({"make", folder, "--start", "100000", "--length", "1m"}).exitCode, 0);
  EXPECT_EQ(Run({"seek", folder, "99"}).exitCode, 4);
  EXPECT_THAT(Run({"seek", folder, "99"}).err, Not(HasSubstr("seconds")));
}

TEST_F(Times, ARecordingCanStartSomeTimeAgo) {
  const std::string folder = *this / "recent";
  EXPECT_EQ(Run({"make", folder, "--start", "-1h", "--length", "1m"}).exitCode, 0);
  EXPECT_EQ(Run({"seek", folder, "-59m30s"}).exitCode, 0);
}

TEST_F(RecentTimes, CanBeAskedForByHowLongAgoTheyAre) {
  const auto entries = [this](const Arguments& range) {
    Arguments arguments{"read", mFolder, "--format", "json", "-o", *this / "bytes"};
    arguments.insert(arguments.end(), range.begin(), range.end());
    const ProgramResult result = Run(arguments);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    return nlohmann::json::parse(result.out)["entries"].get<int>();
  };
  EXPECT_EQ(entries({"-2h", "now"}), 6);
  EXPECT_EQ(entries({"-2h30m", "-10m"}), 6);
  EXPECT_EQ(entries({"--since", "-2h", "--until", "now"}), 6);
  EXPECT_EQ(entries({"--since=-2h", "--for", "90m"}), 6);
  EXPECT_EQ(entries({"--until", "now", "--for", "2h"}), 6);
  EXPECT_EQ(entries({"-1d", "+5m"}), 6);
  EXPECT_EQ(Run({"seek", mFolder, "-2h"}).exitCode, 4);
}
