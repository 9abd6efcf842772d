#pragma once

#include <cstdint>
#include <string>

#include "archive_client.h"
#include "archive_session.h"
#include "render.h"
#include "units.h"

struct SeekOptions {
  std::string source;
  ArchiveTime time = 0;
  Lookup lookup = Lookup::kAtOrBefore;
  bool explain = false;
  OutputStyle style;
};

// The verb seek: which entry a time belongs to, and why.
int RunSeek(const HostOptions& host, const SeekOptions& options);
