#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "output/output_style.h"
#include "sources/given_sources.h"
#include "sources/host_options.h"
#include "sources/served_source.h"
#include "verbs/time_range.h"

struct ActivityOptions {
  SourceArguments sources;
  std::uint8_t streamId = 0;
  RangeOptions range;  // default: from the start of the first archive to the last end
  std::optional<std::uint32_t> binCount;  // default: as many as fit
  MissingIndexes missingIndexes = MissingIndexes::kBuild;
  OutputStyle style;
};

// The verb activity: how active a stream was, and where nothing is recorded.
int RunActivity(const HostOptions& host, const ActivityOptions& options);
