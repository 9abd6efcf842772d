#include "page/report_findings.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>

#include "page/html.h"
#include "text/shown_text.h"

namespace {

// The findings of one kind that are shown, and how many there are.
struct Cause {
  FindingKind kind;
  const KindOfFindings* all;
  std::vector<const Finding*> shown;
};

// The worst first, and those that explain others before them.
std::vector<Cause> CausesOf(const ReportData& report) {
  std::map<FindingKind, std::vector<const Finding*>> shown;
  for (const Finding& finding : report.findings.items) shown[finding.kind].push_back(&finding);
  std::vector<Cause> causes;
  for (const auto& [kind, all] : report.kinds) causes.push_back({kind, &all, shown[kind]});
  std::sort(causes.begin(), causes.end(), [](const Cause& one, const Cause& other) {
    const Severity severity = SeverityOf(one.kind);
    const Severity otherSeverity = SeverityOf(other.kind);
    return severity != otherSeverity ? severity > otherSeverity : one.kind < other.kind;
  });
  return causes;
}

std::string NumberText(const std::optional<std::uint64_t>& number) {
  return number ? std::to_string(*number) : "";
}

std::string TableOf(const Cause& cause, TimeFormat times) {
  const std::string caption = fmt::format("Findings of the kind {}", Name(cause.kind));
  html::Table table(caption, {"File", "What", "From", "To", "#Position", "#Bytes"});
  for (const Finding* const finding : cause.shown) {
    table.BeginRow();
    table.Cell(finding->file);
    table.Cell(finding->text);
    if (finding->time) {
      table.LinkedTime(TimeText(*finding->time, times), *finding->time,
                       finding->endTime.value_or(*finding->time));
    } else {
      table.Time("");
    }
    table.Time(finding->endTime ? TimeText(*finding->endTime, times) : "");
    table.Number(NumberText(finding->position));
    table.Number(NumberText(finding->bytes));
    table.EndRow();
  }
  return html::Scrolled(caption, table.Finish());
}

// Notes stay closed until somebody opens them.
std::string PartOf(const Cause& cause, TimeFormat times) {
  const Severity severity = SeverityOf(cause.kind);
  return fmt::format(
      "<details class=\"cause\"{}><summary><span class=\"{}\">{}</span> <b>{}</b>: {} in {}; "
      "<span class=\"remedy\">{}</span></summary>\n{}\n</details>\n",
      severity > Severity::kNote ? " open" : "", Name(severity), Name(severity), Name(cause.kind),
      cause.all->count, Counted(cause.all->files.size(), "file"),
      html::FromText(RemedyOf(cause.kind)),
      cause.shown.empty() ? html::Paragraph("None of these is listed.") : TableOf(cause, times));
}

// A finding may stand for many.
std::string HeadingOf(const ReportData& report) {
  if (!report.findings.IsCut()) return "Findings";
  std::uint64_t shown = 0;
  for (const Finding& finding : report.findings.items) shown += finding.Count();
  std::uint64_t all = 0;
  for (const auto& [kind, ofKind] : report.kinds) all += ofKind.count;
  return fmt::format("Findings: {} of {}", shown, all);
}

}  // namespace

std::string FindingsSection(const ReportData& report, TimeFormat times) {
  if (report.findings.items.empty())
    return html::Section("findings", "Findings",
                         html::Paragraph("Nothing is wrong with the files."));
  std::string content;
  for (const Cause& cause : CausesOf(report)) content += PartOf(cause, times);
  return html::Section("findings", HeadingOf(report), content);
}
