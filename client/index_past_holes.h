#pragma once

#include <cstdint>
#include <string>

#include "sources/served_source.h"
#include "system/progress.h"

// Files may have holes: parts that were never written, which read as zeros. A reader that builds an
// index reads through them, however large they are.

// Whether an archive has so many that no reader should do that.
bool IsMostlyHoles(const std::string& archive);

// Builds the index of an archive without reading its holes, keeps it where a reader would, and
// shows how far it is. False when the index cannot be kept. Throws Failure when the archive cannot
// be opened or the user interrupts.
bool IndexPastHoles(const std::string& archive, const ServedSource& source, Progress* progress);

// How many bytes of an archive are read to build its index.
std::uint64_t BytesToIndex(const std::string& archive);
