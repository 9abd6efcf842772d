#include "verbs/calendar.h"

#include <fmt/format.h>

#include <iostream>
#include <utility>
#include <vector>

#include "client/recorded_hours.h"
#include "json/json_line.h"
#include "output/progress_bar.h"
#include "output/standard_output.h"
#include "system/failure.h"
#include "times/time_reference.h"
#include "times/time_text.h"
#include "verbs/asked_source.h"
#include "verbs/calendar_text.h"
#include "verbs/empty_answer.h"

namespace {

const std::vector<std::string> kCalendarHeadings = {
    "date", "hour", "length", "recorded", "recordedFraction", "events", "inDoubt"};

std::string DateText(const RecordedDay& day) {
  return day.date.toString(Qt::ISODate).toLatin1().constData();
}

void AddHour(const RecordedHour& hour, Json* json) {
  (*json)["length"] = hour.length;
  (*json)["recorded"] = hour.recorded;
  (*json)["recordedFraction"] = hour.Thousandths() / 1000.0;
  (*json)["events"] = hour.events;
  (*json)["inDoubt"] = hour.isInDoubt;
}

Json AsJson(const RecordedDay& day) {
  Json json;
  json["date"] = DateText(day);
  AddHour(day.Sum(), &json);
  Json& hours = json["hours"] = Json::array();
  for (std::size_t i = 0; i < kHoursOfDay; ++i) {
    Json hour;
    hour["hour"] = i;
    AddHour(day.hours[i], &hour);
    hours.push_back(std::move(hour));
  }
  return json;
}

void PrintAsJson(const RecordedDays& found, TimeFormat times, AskedSource* asked) {
  Json json;
  json["from"] = found.from ? TimeJson(*found.from, times) : Json(nullptr);
  json["to"] = found.to ? TimeJson(*found.to, times) : Json(nullptr);
  json["timeZone"] = ShownZone();
  Json& doubts = json["doubts"] = Json::array();
  for (const DoubtedTime& doubt : found.doubts)
    doubts.push_back({{"from", TimeJson(doubt.from, times)}, {"to", TimeJson(doubt.to, times)}});
  const std::string text = JsonText(json);
  asked->BeginJson();
  std::cout << text.substr(1, text.size() - 2) << R"(,"days":[)";
  const char* separator = "";
  for (const RecordedDay& day : found.days) {
    std::cout << std::exchange(separator, ",") << JsonText(AsJson(day));
    CheckStandardOutput();
  }
  std::cout << ']';
  asked->EndJson();
}

void PrintAsJsonLines(const std::vector<RecordedDay>& days, AskedSource* asked) {
  for (const RecordedDay& day : days) {
    asked->PrintJsonRow(AsJson(day));
    CheckStandardOutput();
  }
}

void PrintAsCsv(const std::vector<RecordedDay>& days, AskedSource* asked) {
  asked->PrintCsv({kCalendarHeadings});
  for (const RecordedDay& day : days) {
    std::vector<std::vector<std::string>> rows{kCalendarHeadings};
    for (std::size_t i = 0; i < kHoursOfDay; ++i) {
      const RecordedHour& hour = day.hours[i];
      rows.push_back({DateText(day), std::to_string(i), std::to_string(hour.length),
                      std::to_string(hour.recorded),
                      fmt::format("{:.3f}", hour.Thousandths() / 1000.0),
                      std::to_string(hour.events), hour.isInDoubt ? "true" : "false"});
    }
    asked->PrintCsv(rows);
    CheckStandardOutput();
  }
}

void Print(const RecordedDays& found, const OutputStyle& style, AskedSource* asked) {
  switch (style.format) {
    case OutputFormat::kText:
      asked->BeginText();
      return PrintCalendar(found, TimeReferenceInForce().zone);
    case OutputFormat::kCsv:
      return PrintAsCsv(found.days, asked);
    case OutputFormat::kJson:
      return PrintAsJson(found, style.Times(), asked);
    case OutputFormat::kJsonLines:
      return PrintAsJsonLines(found.days, asked);
  }
}

int Calendar(const HostOptions& host, const CalendarOptions& options, const OpenRange& range,
             AskedSource* asked) {
  ServedSource source(host, asked->Given(), options.missingIndexes, asked->Teller());
  ProgressBar progress;
  Timeline timeline(&source, &progress);
  timeline.IndexAll();
  timeline.RequireOne();
  const RecordedDays found =
      FindRecordedHours(range.from, range.to, TimeReferenceInForce().zone, source, &timeline);
  if (found.days.empty()) timeline.FailWithNothing(kNothingRecorded, SecondsHint(range, timeline));
  Print(found, options.style, asked);
  return timeline.IsWhole() ? kExitDone : kExitDamaged;
}

// Nothing is recorded, or known.
void PrintEmpty(const OpenRange& range, const OutputStyle& style, AskedSource* asked) {
  if (style.format != OutputFormat::kText) Print({range.from, range.to, {}, {}}, style, asked);
}

}  // namespace

int RunCalendar(const HostOptions& host, const CalendarOptions& options) {
  const OpenRange range = RangeOf(options.range);
  return AnswerForEach(options.sources, options.style.format, [&](AskedSource* asked) {
    return RunOrPrintEmpty([&] { return Calendar(host, options, range, asked); },
                           [&] { PrintEmpty(range, options.style, asked); });
  });
}
