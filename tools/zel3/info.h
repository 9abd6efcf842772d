#pragma once

#include <string>

#include "archive_session.h"
#include "render.h"

struct InfoOptions {
  std::string source;
  OutputStyle style;
};

// The verb info: which archives a source holds.
int RunInfo(const HostOptions& host, const InfoOptions& options);
