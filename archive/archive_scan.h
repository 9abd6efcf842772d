#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "archive/file_scan.h"

// Numbers of bytes.
struct ScannedBytes {
  std::uint64_t all = 0;         // the size of the file
  std::uint64_t unreadable = 0;  // of these; the parser got zeros for them
};

// Hands everything that a parser finds in an archive file to `sink`, as the file is now: what is
// appended meanwhile is left out, so that a dump into the folder that it reads comes to an end.
// Holes of the file are zeros and cost next to nothing. Throws Failure when the file cannot be
// opened or the user interrupts, and what the sink throws.
ScannedBytes ScanArchive(
    const std::string& path, FramingSink& sink,
    const OnBytesRead& onBytesRead = [](std::uint64_t) {});

// Waits until a file that is being written has more bytes than `position`, and returns how many can
// then be read; no more than `position` when the file is whole.
using WaitForBytes = std::function<FilePosition(FilePosition position)>;

// The same for a file that is being written.
ScannedBytes ScanArchive(const std::string& path, FramingSink& sink, const OnBytesRead& onBytesRead,
                         const WaitForBytes& waitForBytes);
