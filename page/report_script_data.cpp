#include "page/report_script_data.h"

#include <map>

#include "archive/event_types.h"
#include "text/json_text.h"
#include "text/shown_text.h"
#include "times/local_time.h"
#include "times/time_reference.h"

namespace {

const char* Name(BinState state) {
  switch (state) {
    case BinState::kRecorded:
      return "recorded";
    case BinState::kNotIndexed:
      return "not-indexed";
    case BinState::kMissing:
      break;
  }
  return "missing";
}

// Neighbouring bins of one state: the state and the number of the first one.
Json Stretches(const ReportActivity& activity) {
  Json stretches = Json::array();
  for (std::size_t i = 0; i < activity.states.size(); ++i) {
    if (i == 0 || activity.states[i] != activity.states[i - 1])
      stretches.push_back({Name(activity.states[i]), i});
  }
  return stretches;
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

// A finding without a time is of all its file.
Json FindingsJson(const ReportData& report) {
  std::map<std::string, const ArchiveFacts*> files;
  for (const ReportFile& file : report.files) {
    if (file.HoldsEntries()) files[file.facts.name] = &file.facts;
  }
  Json findings = Json::array();
  for (const Finding& finding : report.findings.items) {
    // A chart shows gaps by themselves.
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
// browser's own zone need not be that, and it may know other rules.
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
    json["gaps"].push_back(
        {{"from", gap.range.from}, {"to", gap.range.to}, {"file", Escaped(gap.file)}});
  }
  json["firstBin"] = report.fineBins.from;
  json["binWidth"] = report.fineBins.width;
  json["streams"] = Json::array();
  for (const ReportStream& stream : report.streams) {
    json["streams"].push_back({{"id", stream.id},
                               {"name", Escaped(stream.name)},
                               {"levels", stream.fine.levels},
                               {"stretches", Stretches(stream.fine)}});
  }
  json["events"] = Json::array();
  for (const RecordedEvent& event : report.events.items) {
    json["events"].push_back({{"time", event.time},
                              {"type", event_types::Name(event.type)},
                              {"text", Escaped(event.text)}});
  }
  json["laterEvents"] = report.laterEventBins;
  json["findings"] = FindingsJson(report);
  return json;
}

}  // namespace

std::string ReportScriptData(const ReportData& report, TimeFormat times) {
  // A "<" could end the element that the data stands in.
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
