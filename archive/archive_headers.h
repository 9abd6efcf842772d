#pragma once

#include <bitset>
#include <optional>
#include <string>
#include <vector>

#include "blocks/units.h"
#include "indexer/plain_file.h"
#include "parser/framing.h"

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

// The header that stands at `position`; nothing when there is none, or a damaged one.
std::optional<ArchiveHeader> HeaderAt(const PlainFile& file, FilePosition position);

// By data type: whether a parser knows such data after a header, of an active stream or an event.
using KnownTypes = std::bitset<256>;
KnownTypes TypesKnownBy(const ArchiveHeader& header);
