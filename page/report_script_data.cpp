#include "page/report_script_data.h"

#include <algorithm>
#include <map>
#include <utility>

#include "archive/event_types.h"
#include "page/round_bins.h"
#include "text/json_text.h"
#include "text/shown_text.h"
#include "times/local_time.h"
#include "times/time_reference.h"

namespace {

// One character for each bin: "-" for one that is missing, "?" for one that is not indexed, else
// its level, from 0 to 9, A to Z, a to z, + and /.
std::string LevelsText(const ReportActivity& activity) {
  constexpr char kLevels[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz+/";
  std::string text;
  for (std::size_t i = 0; i < activity.states.size(); ++i) {
    switch (activity.states[i]) {
      case BinState::kRecorded:
        text += kLevels[std::min<std::size_t>(activity.levels[i], sizeof(kLevels) - 2)];
        break;
      case BinState::kNotIndexed:
        text += '?';
        break;
      case BinState::kMissing:
        text += '-';
        break;
    }
  }
  return text;
}

// The types by name, and for each event its time and the number of its type. The texts are in the
// table.
void AddEventsJson(const ReportData& report, Json* json) {
  std::map<std::uint8_t, std::size_t> numbers;
  for (const RecordedEvent& event : report.events.items) numbers[event.type];
  for (const auto& later : report.laterEvents) numbers[later.first.first];
  (*json)["eventTypes"] = Json::array();
  for (auto& numbered : numbers) {
    numbered.second = (*json)["eventTypes"].size();
    (*json)["eventTypes"].push_back(event_types::Name(numbered.first));
  }
  Json events = Json::array();
  for (const RecordedEvent& event : report.events.items)
    events.push_back({event.time, numbers[event.type]});
  (*json)["events"] = std::move(events);
  (*json)["laterEventWidth"] = report.laterEventWidth;
  Json later = Json::array();
  for (const auto& counted : report.laterEvents) {
    later.push_back({counted.first.second * report.laterEventWidth, numbers[counted.first.first],
                     counted.second});
  }
  (*json)["laterEvents"] = std::move(later);
}

Json FilesJson(const ReportData& report) {
  Json files = Json::array();
  for (const ReportFile& file : report.files) {
    if (!file.HoldsEntries()) continue;
    files.push_back({{"name", Escaped(file.facts.name)},
                     {"from", file.facts.startTime},
                     {"to", file.facts.endTime},
                     {"indexed", file.indexed}});
  }
  return files;
}

// A finding without a time is about its whole file.
Json FindingsJson(const ReportData& report) {
  std::map<std::string, const ArchiveFacts*> files;
  for (const ReportFile& file : report.files) {
    if (file.HoldsEntries()) files[file.facts.name] = &file.facts;
  }
  Json findings = Json::array();
  for (const Finding& finding : report.findings.items) {
    // Charts show gaps anyway.
    if (finding.kind == FindingKind::kGap) continue;
    std::optional<ArchiveTime> from = finding.time;
    std::optional<ArchiveTime> to = finding.endTime ? finding.endTime : finding.time;
    const auto file = files.find(finding.file);
    if (!from && file != files.end()) {
      from = file->second->startTime;
      to = file->second->endTime;
    }
    if (!from) continue;
    findings.push_back({{"kind", Name(finding.kind)},
                        {"text", Escaped(finding.file + ": " + finding.text)},
                        {"from", *from},
                        {"to", *to}});
  }
  return findings;
}

// How far clocks of the zone in force are ahead of UTC, in milliseconds, and from when on: the
// browser may be in another zone, and know other rules.
Json OffsetsJson(const ReportRange& range) {
  const QTimeZone& zone = TimeReferenceInForce().zone;
  Json offsets = Json::array();
  if (zone == QTimeZone::utc()) return offsets;
  const auto from = static_cast<std::int64_t>(range.from);
  const auto to = static_cast<std::int64_t>(range.to);
  offsets.push_back({0, OffsetAt(from, zone)});
  for (const std::int64_t change : ChangesWithin(from, to, zone))
    offsets.push_back({change, OffsetAt(change, zone)});
  return offsets;
}

Json DataJson(const ReportData& report, TimeFormat times) {
  const ReportRange range = report.range.value_or(ReportRange{});
  Json json;
  json["timeFormat"] = times == TimeFormat::kIso ? "iso" : "integer";
  json["offsets"] = OffsetsJson(range);
  json["from"] = range.from;
  json["to"] = range.to;
  json["files"] = FilesJson(report);
  json["gaps"] = Json::array();
  for (const ReportGap& gap : report.gaps.items) {
    json["gaps"].push_back({{"from", gap.range.from}, {"to", gap.range.to}});
  }
  json["firstBin"] = report.fineBins.from;
  json["binWidths"] = WiderRoundWidths(report.range ? report.fineBins.width : 1);
  json["streams"] = Json::array();
  for (const ReportStream& stream : report.streams) {
    json["streams"].push_back(
        {{"id", stream.id}, {"name", Escaped(stream.name)}, {"levels", LevelsText(stream.fine)}});
  }
  AddEventsJson(report, &json);
  json["findings"] = FindingsJson(report);
  return json;
}

}  // namespace

std::string ReportScriptData(const ReportData& report, TimeFormat times) {
  // A "<" could end the element that holds the data.
  std::string data;
  for (const char character : JsonText(DataJson(report, times))) {
    if (character == '<') {
      data += "\\u003c";
    } else {
      data += character;
    }
  }
  return data;
}
