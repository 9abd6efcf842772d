#pragma once

#include <cstdint>
#include <limits>
#include <string>

#include "sources/host_options.h"

struct ConsoleOptions {
  std::string source;
  bool showAll = false;  // also blocks that are not answers
  std::uint64_t byteLimit = std::numeric_limits<std::uint64_t>::max();  // of raw data shown
};

// The verb console: commands as JSON lines on the standard input, blocks as JSON lines on the
// standard output.
int RunConsole(const HostOptions& host, const ConsoleOptions& options);
