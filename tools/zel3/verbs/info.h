#pragma once

#include <string>

#include "output/output_style.h"
#include "sources/given_sources.h"
#include "sources/host_options.h"

struct InfoOptions {
  SourceArguments sources;
  OutputStyle style;
};

// The verb info: which archives a source holds.
int RunInfo(const HostOptions& host, const InfoOptions& options);
