#pragma once

#include "output/output_style.h"
#include "sources/given_sources.h"
#include "sources/host_options.h"
#include "sources/served_source.h"
#include "verbs/time_range.h"

struct CalendarOptions {
  SourceArguments sources;
  RangeOptions range;  // default: all days on which something is recorded
  MissingIndexes missingIndexes = MissingIndexes::kBuild;
  OutputStyle style;
};

// The verb calendar: how much of each hour of each day is recorded, and what is in doubt.
int RunCalendar(const HostOptions& host, const CalendarOptions& options);
