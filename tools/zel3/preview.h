#pragma once

#include <cstdint>
#include <string>

#include "archive_session.h"
#include "render.h"

struct PreviewOptions {
  std::string source;
  std::uint64_t from = 0;  // archive time
  std::uint64_t to = 0;    // archive time, not part of the range
  std::uint32_t count = 10;
  OutputStyle style;
};

// The verb preview: which entries to show for evenly spaced times of a range.
int RunPreview(const HostOptions& host, const PreviewOptions& options);
