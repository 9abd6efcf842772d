#include "report_tables.h"

#include <fmt/format.h>

#include <algorithm>

#include "archive_source.h"
#include "event_types.h"
#include "html.h"

namespace report_tables {

namespace {

std::string LengthText(std::uint64_t archiveTime, TimeFormat times) {
  if (times == TimeFormat::kInteger) return std::to_string(archiveTime);
  const std::uint64_t seconds = archiveTime / 1000;
  return fmt::format("{}:{:02}:{:02}", seconds / 3600, seconds / 60 % 60, seconds % 60);
}

std::string OptionalNumber(const std::optional<std::uint64_t>& number) {
  return number ? std::to_string(*number) : "";
}

std::string StreamIds(const ArchiveFacts& facts) {
  std::string ids;
  for (std::size_t id = 0; id < facts.streams.size(); ++id) {
    if (facts.streams[id]) ids += (ids.empty() ? "" : " ") + std::to_string(id);
  }
  return ids;
}

// How much of the range is in this state.
std::uint64_t TimeIn(BinState state, const ReportActivity& activity) {
  std::uint64_t time = 0;
  for (std::uint32_t i = 0; i < activity.bins.count; ++i) {
    if (activity.states[i] == state) time += activity.bins.End(i) - activity.bins.Start(i);
  }
  return time;
}

}  // namespace

std::string Findings(const ReportData& report, TimeFormat times) {
  if (report.findings.empty())
    return html::Section("findings", "Findings",
                         html::Paragraph("Nothing is wrong with the files."));
  html::Table table({"Severity", "Kind", "File", "Position", "Bytes", "Time", "What"});
  for (const Finding& finding : report.findings) {
    table.BeginRow();
    table.Cell(Name(finding.severity), Name(finding.severity));
    table.Cell(finding.kind);
    table.Cell(finding.file);
    table.Number(OptionalNumber(finding.position));
    table.Number(OptionalNumber(finding.bytes));
    if (finding.time) {
      table.Time(TimeText(*finding.time, times), *finding.time,
                 finding.endTime.value_or(*finding.time));
    } else {
      table.Cell("");
    }
    table.Cell(finding.text);
    table.EndRow();
  }
  return html::Section("findings", "Findings", table.Finish());
}

std::string Files(const ReportData& report, TimeFormat times) {
  html::Table table({"File", "Start", "End", "Entries", "Bytes", "Streams", "Index"});
  for (const ReportFile& file : report.files) {
    const ArchiveFacts& facts = file.facts;
    table.BeginRow();
    table.Cell(archive_source::FileName(facts.path));
    if (facts.entries > 0) {
      table.Time(TimeText(facts.startTime, times), facts.startTime, facts.endTime);
      table.Cell(TimeText(facts.endTime, times));
    } else {
      table.Cell("");
      table.Cell("");
    }
    table.Number(std::to_string(facts.entries));
    table.Number(std::to_string(facts.bytes));
    table.Cell(StreamIds(facts));
    table.Cell(file.indexed ? "indexed" : "not indexed", file.indexed ? "text" : "not-indexed");
    table.EndRow();
  }
  return html::Section("files", "Files", table.Finish());
}

std::string Gaps(const ReportData& report, TimeFormat times) {
  if (!report.range) return "";
  if (report.gaps.empty())
    return html::Section("gaps", "Gaps", html::Paragraph("There is no gap."));
  html::Table table({"From", "To", "Length", "In or before file"});
  for (const ReportGap& gap : report.gaps) {
    table.BeginRow();
    table.Time(TimeText(gap.range.from, times), gap.range.from, gap.range.to);
    table.Cell(TimeText(gap.range.to, times));
    table.Number(LengthText(gap.range.to - gap.range.from, times));
    table.Cell(gap.file);
    table.EndRow();
  }
  return html::Section("gaps", "Gaps", table.Finish());
}

std::string Streams(const ReportData& report, TimeFormat times) {
  if (report.streams.empty()) return "";
  html::Table table(
      {"Stream", "Name", "Recorded", "Missing", "Not indexed", "Highest level", "First reached"});
  for (const ReportStream& stream : report.streams) {
    const ReportActivity& activity = stream.fine;
    const auto highest = std::max_element(activity.levels.begin(), activity.levels.end());
    const auto bin = static_cast<std::uint32_t>(highest - activity.levels.begin());
    table.BeginRow();
    table.Number(std::to_string(stream.id));
    table.Cell(stream.name);
    for (const BinState state : {BinState::kRecorded, BinState::kMissing, BinState::kNotIndexed})
      table.Number(LengthText(TimeIn(state, activity), times));
    table.Number(std::to_string(*highest));
    if (*highest > 0) {
      table.Time(TimeText(activity.bins.Start(bin), times), activity.bins.Start(bin),
                 activity.bins.End(bin));
    } else {
      table.Cell("");
    }
    table.EndRow();
  }
  return html::Section("streams", "Streams", table.Finish());
}

std::string Activity(const ReportData& report, TimeFormat times) {
  if (report.streams.empty()) return "";
  const ActivityBins& bins = report.streams.front().coarse.bins;
  std::vector<std::string> headings{"From"};
  for (const ReportStream& stream : report.streams)
    headings.push_back(fmt::format("Stream {}", stream.id));
  html::Table table(headings);
  for (std::uint32_t i = 0; i < bins.count; ++i) {
    table.BeginRow();
    table.Time(TimeText(bins.Start(i), times), bins.Start(i), bins.End(i));
    for (const ReportStream& stream : report.streams) {
      const ReportActivity& activity = stream.coarse;
      switch (activity.states[i]) {
        case BinState::kRecorded:
          table.Number(std::to_string(activity.levels[i]));
          break;
        case BinState::kMissing:
          table.Cell("missing", "missing");
          break;
        case BinState::kNotIndexed:
          table.Cell("not indexed", "not-indexed");
          break;
      }
    }
    table.EndRow();
  }
  return html::Section("activity", "Activity", table.Finish());
}

std::string Events(const ReportData& report, TimeFormat times) {
  if (!report.range) return "";
  if (report.events.empty())
    return html::Section("events", "Events", html::Paragraph("There is no event."));
  html::Table table({"Time", "Type", "Text"});
  for (const RecordedEvent& event : report.events) {
    table.BeginRow();
    table.Time(TimeText(event.time, times), event.time, event.time);
    table.Cell(event_types::Name(event.type));
    table.Cell(event.text);
    table.EndRow();
  }
  std::string heading = "Events";
  if (report.events.size() < report.eventCount) {
    heading = fmt::format("Events: the first {} of {}; a shorter range shows the others",
                          report.events.size(), report.eventCount);
  }
  return html::Section("events", heading, table.Finish());
}

}  // namespace report_tables
