#pragma once

#include <string>

#include "output/output_style.h"
#include "sources/given_sources.h"
#include "sources/host_options.h"

struct IndexOptions {
  SourceArguments sources;
  bool refresh = false;  // also indexes that are there are built again
  bool watch = false;    // goes on with files as they are finished
  std::size_t jobs = 1;  // files that are indexed at once
  OutputStyle style;
};

// The verb index: gives every archive file of a source its index.
int RunIndex(const HostOptions& host, const IndexOptions& options);
