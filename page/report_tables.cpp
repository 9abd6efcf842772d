#include "page/report_tables.h"

#include <fmt/format.h>

#include <algorithm>

#include "archive/event_types.h"
#include "page/html.h"
#include "times/length_text.h"

namespace report_tables {

namespace {

std::string StreamIds(const ArchiveFacts& facts) {
  std::string ids;
  for (std::size_t id = 0; id < facts.streams.size(); ++id) {
    if (facts.streams[id]) ids += (ids.empty() ? "" : " ") + std::to_string(id);
  }
  return ids;
}

// How much of the range is in this state, by whole bins.
ArchiveTime TimeIn(BinState state, const ReportActivity& activity, const ReportData& report) {
  ArchiveTime time = 0;
  for (std::uint32_t i = 0; i < report.fineBins.count; ++i) {
    if (activity.states[i] != state) continue;
    time += std::min(report.fineBins.End(i), report.range->to) -
            std::max(report.fineBins.Start(i), report.range->from);
  }
  return time;
}

std::string WhereText(const ReportGap& gap) {
  if (gap.file && gap.nextFile)
    return *gap.file == *gap.nextFile ? "in " + *gap.file
                                      : "between " + *gap.file + " and " + *gap.nextFile;
  if (gap.file) return "after " + *gap.file;
  return gap.nextFile ? "before " + *gap.nextFile : "";
}

template <class Item>
std::string Heading(const char* what, const FirstOf<Item>& told) {
  if (!told.IsCut()) return what;
  return fmt::format("{}: {} of {}", what, told.items.size(), told.count);
}

}  // namespace

std::string Files(const ReportData& report, TimeFormat times) {
  html::Table table("Files, by start",
                    {"File", "Start", "End", "#Entries", "#Bytes", "Streams", "Index"});
  for (const ReportFile& file : report.files) {
    const ArchiveFacts& facts = file.facts;
    table.BeginRow();
    table.Cell(facts.name);
    if (file.HoldsEntries()) {
      table.LinkedTime(TimeText(facts.startTime, times), facts.startTime, facts.endTime);
      table.Time(TimeText(facts.endTime, times));
    } else {
      table.Time("");
      table.Time("");
    }
    table.Number(std::to_string(facts.entries));
    table.Number(std::to_string(facts.bytes));
    table.Cell(StreamIds(facts));
    table.Cell(file.indexed ? "indexed" : "not indexed", file.indexed ? "" : "not-indexed");
    table.EndRow();
  }
  return html::Section("files", "Files", html::Scrolled("Files", table.Finish()));
}

std::string Gaps(const ReportData& report, TimeFormat times) {
  if (!report.range) return "";
  if (report.gaps.items.empty()) {
    const bool isKnown = report.share && report.share->isWhole && CountNotIndexed(report) == 0;
    return html::Section("gaps", "Gaps",
                         html::Paragraph(isKnown ? "There are no gaps." : "No gap was found."));
  }
  html::Table table("Gaps, by start", {"From", "To", "#Length", "Where"});
  for (const ReportGap& gap : report.gaps.items) {
    table.BeginRow();
    table.LinkedTime(TimeText(gap.range.from, times), gap.range.from, gap.range.to);
    table.Time(TimeText(gap.range.to, times));
    table.Number(LengthInHours(gap.range.to - gap.range.from, times));
    table.Cell(WhereText(gap));
    table.EndRow();
  }
  return html::Section("gaps", Heading("Gaps", report.gaps),
                       html::Scrolled("Gaps", table.Finish()));
}

std::string Streams(const ReportData& report, TimeFormat times) {
  if (report.streams.empty()) return "";
  html::Table table("Streams, by number", {"#Stream", "Name", "#Recorded", "#Missing",
                                           "#Not indexed", "#Highest level", "First reached"});
  for (const ReportStream& stream : report.streams) {
    const ReportActivity& activity = stream.fine;
    const auto highest = std::max_element(activity.levels.begin(), activity.levels.end());
    const auto bin = static_cast<std::uint32_t>(highest - activity.levels.begin());
    table.BeginRow();
    table.Number(std::to_string(stream.id));
    table.Cell(stream.name);
    for (const BinState state : {BinState::kRecorded, BinState::kMissing, BinState::kNotIndexed})
      table.Number(LengthInHours(TimeIn(state, activity, report), times));
    table.Number(std::to_string(*highest));
    if (*highest > 0) {
      const ArchiveTime start = report.fineBins.Start(bin);
      table.LinkedTime(TimeText(start, times), start, report.fineBins.End(bin));
    } else {
      table.Time("");
    }
    table.EndRow();
  }
  const std::string step = LengthInHours(report.fineBins.width, times);
  return html::Section("streams", "Streams, measured in steps of " + step,
                       html::Scrolled("Streams", table.Finish()));
}

std::string Activity(const ReportData& report, TimeFormat times) {
  if (report.streams.empty()) return "";
  const ActivityBins& bins = report.coarseBins;
  std::vector<std::string> headings{"From"};
  for (const ReportStream& stream : report.streams)
    headings.push_back(fmt::format("#Stream {}", stream.id));
  html::Table table("Highest level of each stream in each part of the time", headings);
  for (std::uint32_t i = 0; i < bins.count; ++i) {
    table.BeginRow();
    table.LinkedTime(TimeText(bins.Start(i), times), bins.Start(i), bins.End(i));
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
  return html::Section("activity", "Activity", html::Scrolled("Activity", table.Finish()));
}

std::string Events(const ReportData& report, TimeFormat times) {
  if (!report.range) return "";
  if (report.events.items.empty())
    return html::Section("events", "Events", html::Paragraph("There are no events."));
  html::Table table("Events, by time", {"Time", "Type", "Text"});
  for (const RecordedEvent& event : report.events.items) {
    table.BeginRow();
    table.LinkedTime(TimeText(event.time, times), event.time, event.time);
    table.Cell(event_types::Name(event.type));
    table.Cell(event.text);
    table.EndRow();
  }
  return html::Section("events", Heading("Events", report.events),
                       html::Scrolled("Events", table.Finish()));
}

}  // namespace report_tables
