#pragma once

#include <string>

#include "blocks/units.h"
#include "client/timeline.h"
#include "output/output_style.h"
#include "sources/given_sources.h"
#include "sources/host_options.h"

struct SeekOptions {
  SourceArguments sources;
  ArchiveTime time = 0;
  Lookup lookup = Lookup::kAtOrBefore;
  bool explain = false;
  OutputStyle style;
};

// The verb seek: which entry a time belongs to, and why.
int RunSeek(const HostOptions& host, const SeekOptions& options);
