#include "verbs/report.h"

#include <algorithm>

#include "output/notice.h"
#include "output/output_file.h"
#include "output/output_refusal.h"
#include "output/progress_bar.h"
#include "page/report_data.h"
#include "page/report_page.h"
#include "system/failure.h"
#include "verbs/exit_by_severity.h"
#include "verbs/time_range.h"

namespace {

std::optional<ReportRange> RangeOf(const ReportOptions& options) {
  if (!options.from || !options.to) return std::nullopt;
  CheckTimeRange(*options.from, *options.to);
  if (*options.from >= kEndOfTimes) throw Failure(kNothingRecorded, kExitNothing);
  return ReportRange{*options.from, std::min(*options.to, kEndOfTimes)};
}

}  // namespace

int RunReport(const HostOptions& host, const ReportOptions& options) {
  const std::optional<ReportRange> range = RangeOf(options);
  ServedSource source(host, options.source, MissingIndexes::kBuild, PrintNotice);
  RefuseToHarm(source.Facts(), options.output);

  ProgressBar progress;
  const ReportData report = CollectReport(&source, range, &progress);
  const bool holdsEntries = std::any_of(report.files.begin(), report.files.end(),
                                        [](const ReportFile& file) { return file.HoldsEntries(); });
  if (range && !holdsEntries) throw Failure(kNothingRecorded, kExitNothing);
  const std::string page = ReportPage(report, options.askedTimeFormat.value_or(TimeFormat::kIso));
  OutputFile output(options.output);
  output.Write(std::vector<unsigned char>(page.begin(), page.end()));
  output.Finish();
  return ExitBySeverity(report.severities, options.failOn, CountNotIndexed(report));
}
