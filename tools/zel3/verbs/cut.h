#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "output/output_style.h"
#include "sources/given_sources.h"
#include "sources/host_options.h"
#include "verbs/part_size.h"
#include "verbs/time_range.h"

struct CutOptions {
  SourceArguments sources;
  RangeOptions range;
  std::string output;
  std::vector<std::uint8_t> streams;  // empty: all
  bool leavesOutEvents = false;
  std::optional<PartSize> split;
  bool mayReplace = false;
  OutputStyle style;
};

// The verb cut: a range of time as a new archive.
int RunCut(const HostOptions& host, const CutOptions& options);
