#pragma once

#include <string>

#include "output/output_style.h"
#include "sources/host_options.h"

struct InfoOptions {
  std::string source;
  OutputStyle style;
};

// The verb info: which archives a source holds.
int RunInfo(const HostOptions& host, const InfoOptions& options);
