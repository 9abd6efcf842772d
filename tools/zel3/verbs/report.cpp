#include "verbs/report.h"

#include <algorithm>

#include "output/output_file.h"
#include "output/output_refusal.h"
#include "output/progress_bar.h"
#include "page/report_data.h"
#include "page/report_page.h"
#include "system/failure.h"
#include "verbs/asked_source.h"
#include "verbs/exit_by_severity.h"

namespace {

OpenRange WithinTimes(OpenRange range) {
  if (range.from.value_or(0) >= kEndOfTimes) throw Failure(kNothingRecorded, kExitNothing);
  if (range.to) range.to = std::min(*range.to, kEndOfTimes);
  return range;
}

std::string HintFor(const OpenRange& asked, const std::optional<ReportRange>& recorded) {
  if (!recorded) return "";
  const std::string hint = SecondsHint(asked.from, recorded->from, recorded->to);
  return hint.empty() ? SecondsHint(asked.to, recorded->from, recorded->to) : hint;
}

int Report(const HostOptions& host, const ReportOptions& options, const OpenRange& range,
           const AskedSource& asked) {
  ServedSource source(host, asked.Given(), MissingIndexes::kBuild, asked.Teller());
  RefuseToHarm(source.Facts(), options.output);

  ProgressBar progress;
  const ReportData report = CollectReport(&source, range.from, range.to, &progress);
  const bool holdsEntries = std::any_of(report.files.begin(), report.files.end(),
                                        [](const ReportFile& file) { return file.HoldsEntries(); });
  if ((range.from || range.to) && !holdsEntries)
    throw Failure(kNothingRecorded + HintFor(range, report.recorded), kExitNothing);
  const std::string page = ReportPage(report, options.askedTimeFormat.value_or(TimeFormat::kIso));
  OutputFile output(options.output);
  output.Write(std::vector<unsigned char>(page.begin(), page.end()));
  output.Finish();
  return ExitBySeverity(report.severities, options.failOn, CountNotIndexed(report));
}

}  // namespace

int RunReport(const HostOptions& host, const ReportOptions& options) {
  const OpenRange range = WithinTimes(RangeOf(options.range));
  return AnswerForOne(options.sources, "report", [&](const AskedSource* asked) {
    return Report(host, options, range, *asked);
  });
}
