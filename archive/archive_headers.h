#pragma once

#include <bitset>
#include <optional>
#include <string>
#include <vector>

#include "blocks/units.h"
#include "indexer/plain_file.h"
#include "parser/framing.h"

// What the headers of an archive file say by themselves. Only headers are read, not the whole file.

// Streams with data.
struct DeclaredStreams {
  std::vector<unsigned> ids;  // ascending
  // False: only of the first header; a later one may declare more.
  bool ofAllHeaders = false;
};

// The streams that the headers at these positions declare active. Without positions, or when there
// is no header at one of them, those of the first header, searched for where readers search.
// Nothing when that one is damaged or missing, or the file cannot be read.
std::optional<DeclaredStreams> StreamsOfHeaders(const std::string& path,
                                                const std::vector<FilePosition>& headerPositions);

// The header that stands at `position`; nothing when there is none, or a damaged one.
std::optional<ArchiveHeader> HeaderAt(const PlainFile& file, FilePosition position);

// By data type: whether a parser knows such data after a header, as that of an active stream or an
// event.
using KnownTypes = std::bitset<256>;
KnownTypes TypesKnownBy(const ArchiveHeader& header);
