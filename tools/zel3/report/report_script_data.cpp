#include "report_script_data.h"

#include "archive_source.h"
#include "event_types.h"

namespace {

using Json = nlohmann::ordered_json;

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

// Neighbouring bins of one state.
Json Stretches(const ReportActivity& activity) {
  Json stretches = Json::array();
  for (std::uint32_t i = 0; i < activity.bins.count; ++i) {
    if (i == 0 || activity.states[i] != activity.states[i - 1])
      stretches.push_back({{"state", Name(activity.states[i])}, {"from", activity.bins.Start(i)}});
    stretches.back()["to"] = activity.bins.End(i);
  }
  return stretches;
}

Json FilesJson(const ReportData& report) {
  Json files = Json::array();
  for (const ReportFile& file : report.files) {
    if (file.facts.entries == 0) continue;
    files.push_back({{"name", Escaped(archive_source::FileName(file.facts.path))},
                     {"from", file.facts.startTime},
                     {"to", file.facts.endTime},
                     {"indexed", file.indexed}});
  }
  return files;
}

Json FindingsJson(const ReportData& report) {
  Json findings = Json::array();
  for (const Finding& finding : report.findings) {
    const std::optional<std::uint64_t> end = finding.endTime ? finding.endTime : finding.time;
    findings.push_back({{"kind", finding.kind},
                        {"text", Escaped(finding.file + ": " + finding.text)},
                        {"from", finding.time ? Json(*finding.time) : Json(nullptr)},
                        {"to", end ? Json(*end) : Json(nullptr)}});
  }
  return findings;
}

Json DataJson(const ReportData& report, TimeFormat times) {
  const ReportRange range = report.range.value_or(ReportRange{});
  Json json;
  json["timeFormat"] = times == TimeFormat::kIso ? "iso" : "integer";
  json["from"] = range.from;
  json["to"] = range.to;
  json["files"] = FilesJson(report);
  json["gaps"] = Json::array();
  for (const ReportGap& gap : report.gaps) {
    json["gaps"].push_back(
        {{"from", gap.range.from}, {"to", gap.range.to}, {"file", Escaped(gap.file)}});
  }
  json["streams"] = Json::array();
  for (const ReportStream& stream : report.streams) {
    json["firstBin"] = stream.fine.bins.from;
    json["binWidth"] = stream.fine.bins.width;
    json["streams"].push_back({{"id", stream.id},
                               {"name", Escaped(stream.name)},
                               {"levels", stream.fine.levels},
                               {"stretches", Stretches(stream.fine)}});
  }
  json["events"] = Json::array();
  for (const RecordedEvent& event : report.events) {
    json["events"].push_back({{"time", event.time},
                              {"type", event_types::Name(event.type)},
                              {"text", Escaped(event.text)}});
  }
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
