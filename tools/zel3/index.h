#pragma once

#include <string>

#include "archive_session.h"
#include "render.h"

struct IndexOptions {
  std::string source;
  OutputStyle style;
};

// The verb index: gives every archive file of a source its index.
int RunIndex(const HostOptions& host, const IndexOptions& options);
