#pragma once

#include <cstdint>
#include <string>

#include "archive_session.h"
#include "render.h"

struct ReadOptions {
  std::string source;
  std::uint64_t from = 0;  // archive time
  std::uint64_t to = 0;    // archive time, not part of the range
  std::string output;      // "-": the standard output; empty: the same, unless it is a terminal
  bool stopAtGap = false;
  OutputStyle style;  // of what is told about the bytes
};

// The verb read: the archive bytes of a range of time.
int RunRead(const HostOptions& host, const ReadOptions& options);
