#pragma once

#include <string>

#include "blocks/units.h"
#include "output/output_style.h"
#include "sources/host_options.h"

struct ReadOptions {
  std::string source;
  ArchiveTime from = 0;
  ArchiveTime to = 0;  // not part of the range
  std::string output;  // "-": the standard output; empty: the same, unless it is a terminal
  bool stopAtGap = false;
  OutputStyle style;  // of what is told about the bytes
};

// The verb read: the archive bytes of a range of time.
int RunRead(const HostOptions& host, const ReadOptions& options);
