#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "output/output_style.h"
#include "sources/given_sources.h"
#include "sources/host_options.h"
#include "sources/served_source.h"
#include "verbs/time_range.h"

struct EventsOptions {
  SourceArguments sources;
  RangeOptions range;
  std::vector<std::uint8_t> types;  // empty: all
  bool follow = false;              // goes on with events as they are written
  MissingIndexes missingIndexes = MissingIndexes::kBuild;
  OutputStyle style;
};

// The verb events: what happened.
int RunEvents(const HostOptions& host, const EventsOptions& options);
