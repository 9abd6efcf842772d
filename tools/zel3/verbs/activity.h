#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "blocks/units.h"
#include "output/output_style.h"
#include "sources/host_options.h"
#include "sources/served_source.h"

struct ActivityOptions {
  std::string source;
  std::uint8_t streamId = 0;
  std::optional<ArchiveTime> from;  // none: the start of the first archive
  std::optional<ArchiveTime> to;    // not part of the range; none: the last end
  std::uint32_t binCount = 96;
  MissingIndexes missingIndexes = MissingIndexes::kBuild;
  OutputStyle style;
};

// The verb activity: how active a stream was, and where nothing is recorded.
int RunActivity(const HostOptions& host, const ActivityOptions& options);
