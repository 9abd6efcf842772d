#pragma once

#include <string>

#include "output/output_style.h"
#include "sources/given_sources.h"
#include "sources/host_options.h"
#include "verbs/time_range.h"

struct ReadOptions {
  SourceArguments sources;
  RangeOptions range;
  std::string output;  // "-": the standard output; empty: the same, unless it is a terminal
  bool stopAtGap = false;
  bool follow = false;  // goes on with records as they are written
  OutputStyle style;    // of the report about the bytes
};

// The verb read: the archive bytes of a range of time.
int RunRead(const HostOptions& host, const ReadOptions& options);
