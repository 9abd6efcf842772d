#pragma once

#include <string>

#include "output/output_style.h"
#include "sources/given_sources.h"
#include "sources/host_options.h"

struct IndexOptions {
  SourceArguments sources;
  bool refresh = false;  // also rebuild indexes that exist
  bool watch = false;    // go on with files as they are finished
  std::size_t jobs = 1;  // how many files are indexed at once
  OutputStyle style;
};

// The verb index: gives every archive file of a source its index.
int RunIndex(const HostOptions& host, const IndexOptions& options);
