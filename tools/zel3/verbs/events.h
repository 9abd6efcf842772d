#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "blocks/units.h"
#include "output/output_style.h"
#include "sources/host_options.h"
#include "sources/served_source.h"

struct EventsOptions {
  std::string source;
  ArchiveTime from = 0;
  ArchiveTime to = std::numeric_limits<ArchiveTime>::max();  // not part of the range
  std::vector<std::uint8_t> types;                           // empty: all
  MissingIndexes missingIndexes = MissingIndexes::kBuild;
  OutputStyle style;
};

// The verb events: what has happened.
int RunEvents(const HostOptions& host, const EventsOptions& options);
