#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "framing_parser.h"

// Gets the number of bytes that have been read from a file since the last call.
using OnBytesRead = std::function<void(std::size_t)>;

// Hands everything that a parser finds in an archive file to `sink`, as the file is now: what is
// appended meanwhile is left out, so that a dump into the folder that it reads ends. The size of
// the file. Throws ToolError when the file cannot be read or the user interrupts, and what the sink
// throws.
std::uint64_t ScanArchive(
    const std::string& path, FramingSink& sink,
    const OnBytesRead& onBytesRead = [](std::size_t) {});
