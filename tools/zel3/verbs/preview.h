#pragma once

#include <cstdint>
#include <string>

#include "output/output_style.h"
#include "sources/given_sources.h"
#include "sources/host_options.h"
#include "verbs/time_range.h"

struct PreviewOptions {
  SourceArguments sources;
  RangeOptions range;
  std::uint32_t count = 10;
  OutputStyle style;
};

// The verb preview: which entries to show for evenly spaced times of a range.
int RunPreview(const HostOptions& host, const PreviewOptions& options);
