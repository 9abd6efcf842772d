#pragma once

#include <optional>
#include <string>
#include <vector>

#include "blocks/units.h"

// What the headers of an archive file say by themselves. Only headers are read, not all of the
// file.

// Streams with data.
struct DeclaredStreams {
  std::vector<unsigned> ids;  // ascending
  // False: of the first header only; a later one may declare more.
  bool ofAllHeaders = false;
};

// The streams that the headers at these positions declare active. Without positions, and when one
// of them has no header, those of the first header, which is where readers look for it. Nothing
// when that one is damaged or missing, or the file cannot be read.
std::optional<DeclaredStreams> StreamsOfHeaders(const std::string& path,
                                                const std::vector<FilePosition>& headerPositions);

// The time of the index record that the first header points to; nothing when either is damaged or
// missing, or the file cannot be read.
std::optional<IndexTime> TimeOfFirstIndex(const std::string& path);
