#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "archive_session.h"
#include "render.h"

struct ReportOptions {
  std::string source;
  std::optional<std::uint64_t> from;  // archive time; none: the first entry
  std::optional<std::uint64_t> to;    // archive time, not part of the range; none: the last entry
  std::string output;                 // where the page goes; -: the standard output
  std::optional<TimeFormat> askedTimeFormat;
};

// The verb report: what an archive holds and what is wrong with it, as one page for a browser.
int RunReport(const HostOptions& host, const ReportOptions& options);
