#pragma once

#include <cstdint>

#include "output/output_style.h"
#include "sources/given_sources.h"
#include "sources/host_options.h"
#include "sources/served_source.h"
#include "verbs/time_range.h"

struct GapsOptions {
  SourceArguments sources;
  RangeOptions range;                   // default: from the first entry to the end of the last one
  std::uint32_t longerThanSeconds = 0;  // shorter gaps are only counted
  MissingIndexes missingIndexes = MissingIndexes::kBuild;
  OutputStyle style;
};

// The verb gaps: when nothing was recorded.
int RunGaps(const HostOptions& host, const GapsOptions& options);
