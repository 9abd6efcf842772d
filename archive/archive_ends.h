#pragma once

#include <optional>

#include "blocks/units.h"
#include "indexer/plain_file.h"

// When an archive without an index begins and ends, as its first and last index records say.
struct ArchiveEnds {
  ArchiveTime start = 0;
  ArchiveTime end = 0;
  bool isCutOff = false;  // the last record is not whole
};

// Reads only the two ends of the file. Nothing unless a header leads to the first record and the
// framing leads from the last one to the end of the file without damage. Throws Failure when the
// user interrupts.
std::optional<ArchiveEnds> EndsOf(const PlainFile& file);
