#pragma once

#include <string>

#include "checkup/severity.h"
#include "output/output_style.h"
#include "sources/given_sources.h"
#include "sources/host_options.h"

struct DoctorOptions {
  SourceArguments sources;
  bool rebuild = false;
  Severity failOn = Severity::kWarning;  // the lowest that makes the verb end as damaged
  OutputStyle style;
};

// The verb doctor: what is wrong with archive files and their caches, found without a reader. With
// `rebuild`, caches that are missing or unsound are rebuilt. Archives are never written.
int RunDoctor(const HostOptions& host, const DoctorOptions& options);
