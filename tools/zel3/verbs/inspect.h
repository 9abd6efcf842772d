#pragma once

#include <string>

#include "output/output_style.h"
#include "sources/host_options.h"

struct InspectOptions {
  std::string file;  // empty: all plug-ins that the host knows
  OutputFormat format = OutputFormat::kText;
};

// The verb inspect: what a plug-in accepts, answers and needs, as it shows on a small archive.
int RunInspect(const HostOptions& host, const InspectOptions& options);
