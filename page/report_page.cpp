#include "page/report_page.h"

#include <fmt/format.h>

#include <QCryptographicHash>
#include <map>

#include "page/html.h"
#include "page/page_assets.h"
#include "page/report_calendar.h"
#include "page/report_findings.h"
#include "page/report_judgement.h"
#include "page/report_overview.h"
#include "page/report_script_data.h"
#include "page/report_tables.h"
#include "sources/archive_source.h"
#include "text/shown_text.h"

namespace {

std::string Digest(const std::string& text) {
  const QByteArray bytes(text.data(), static_cast<int>(text.size()));
  const QByteArray hash = QCryptographicHash::hash(bytes, QCryptographicHash::Sha256);
  return fmt::format("'sha256-{}'", hash.toBase64().constData());
}

std::string Policy() {
  return fmt::format(
      "default-src 'none'; script-src {}; style-src {}; base-uri 'none'; form-action 'none'",
      Digest(page_assets::kScript), Digest(page_assets::kStyle));
}

std::string SizeText(std::uint64_t bytes) {
  if (bytes < 1000000) return Counted(bytes, "byte");
  return fmt::format("{:.1f} MB", static_cast<double>(bytes) / 1e6);
}

std::string SummaryOf(const ReportData& report, TimeFormat times) {
  std::uint64_t bytes = 0;
  for (const ReportFile& file : report.files) bytes += file.facts.bytes;
  std::string text = SizeText(bytes);
  if (report.range) {
    text += fmt::format(", {}, {}; {} to {}", Counted(report.streams.size(), "stream"),
                        Counted(report.events.count, "event"), TimeText(report.range->from, times),
                        TimeText(report.range->to, times));
  }
  return text;
}

// Why the report is incomplete; empty when it is complete.
std::string WarningOf(const ReportData& report) {
  const std::uint64_t left = CountNotIndexed(report);
  const SeverityCounts& found = report.severities;
  if (left + found.From(Severity::kWarning) == 0) return "";
  return fmt::format("<p class=\"warning\">{} not indexed, {}, {}</p>", Counted(left, "file"),
                     Counted(found.Of(Severity::kError), "error"),
                     Counted(found.Of(Severity::kWarning), "warning"));
}

// The page with its places filled in.
std::string Filled(const std::string& page, const std::map<std::string, std::string>& contents) {
  std::string filled;
  std::size_t done = 0;
  for (std::size_t open; (open = page.find("{{", done)) != std::string::npos;) {
    const std::size_t close = page.find("}}", open);
    filled += page.substr(done, open - done);
    filled += contents.at(page.substr(open + 2, close - open - 2));
    done = close + 2;
  }
  return filled + page.substr(done);
}

}  // namespace

std::string ReportPage(const ReportData& report, TimeFormat times) {
  return Filled(page_assets::kPage,
                {{"policy", Policy()},
                 {"version", ZEL3_VERSION},
                 {"title", html::FromText(archive_source::FileName(report.source))},
                 {"judgement", html::FromText(JudgementOf(report, times))},
                 {"summary", html::FromText(SummaryOf(report, times))},
                 {"warning", WarningOf(report)},
                 {"style", page_assets::kStyle},
                 {"script", page_assets::kScript},
                 {"overview", OverviewSection(report, times)},
                 {"calendar", CalendarSection(report, times)},
                 {"findings", FindingsSection(report, times)},
                 {"files", report_tables::Files(report, times)},
                 {"gaps", report_tables::Gaps(report, times)},
                 {"streams", report_tables::Streams(report, times)},
                 {"activity", report_tables::Activity(report, times)},
                 {"events", report_tables::Events(report, times)},
                 {"data", ReportScriptData(report, times)}});
}
