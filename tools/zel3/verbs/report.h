#pragma once

#include <optional>
#include <string>

#include "checkup/severity.h"
#include "sources/given_sources.h"
#include "sources/host_options.h"
#include "times/time_text.h"
#include "verbs/time_range.h"

struct ReportOptions {
  SourceArguments sources;
  RangeOptions range;                    // default: from the first to the last entry
  std::string output;                    // where the page goes; -: the standard output
  Severity failOn = Severity::kWarning;  // the lowest that makes the verb end as damaged
  std::optional<TimeFormat> askedTimeFormat;
};

// The verb report: what an archive holds and what is wrong with it, as one page for a browser.
int RunReport(const HostOptions& host, const ReportOptions& options);
