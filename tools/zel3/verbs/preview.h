#pragma once

#include <cstdint>
#include <string>

#include "blocks/units.h"
#include "output/output_style.h"
#include "sources/host_options.h"

struct PreviewOptions {
  std::string source;
  ArchiveTime from = 0;
  ArchiveTime to = 0;  // not part of the range
  std::uint32_t count = 10;
  OutputStyle style;
};

// The verb preview: which entries to show for evenly spaced times of a range.
int RunPreview(const HostOptions& host, const PreviewOptions& options);
