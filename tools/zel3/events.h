#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "archive_session.h"
#include "indexed_source.h"
#include "render.h"

struct EventsOptions {
  std::string source;
  std::uint64_t from = 0;                                        // archive time
  std::uint64_t to = std::numeric_limits<std::uint64_t>::max();  // not part of the range
  std::vector<std::uint8_t> types;                               // empty: all
  MissingIndexes missingIndexes = MissingIndexes::kBuild;
  OutputStyle style;
};

// The verb events: what has happened.
int RunEvents(const HostOptions& host, const EventsOptions& options);
