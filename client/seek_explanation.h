#pragma once

#include <cstdint>
#include <optional>
#include <utility>

#include "blocks/units.h"
#include "client/timeline.h"

// Bytes of a file, from the first one up to the second, which is not part of them.
using ByteRange = std::pair<FilePosition, FilePosition>;

// Why a time has the answer that it has, and where the bytes are.
struct SeekExplanation {
  enum class Rule {
    kAt,        // an entry has this very time
    kBefore,    // the time lies after an entry, before the next one
    kGap,       // nothing is recorded then: the first entry after the gap
    kNext,      // the entry after the one that holds the time
    kPrevious,  // the entry before the one that holds the time
  };

  Rule rule = Rule::kAt;
  std::optional<std::uint32_t> fileBeforeGap;  // the number of the file that ends there
  std::optional<ByteRange> bytes;              // of the entry
  std::optional<ByteRange> header;             // that a parser needs for it
};

// REQUIRES: `timeline` has found the entry.
SeekExplanation Explain(const FoundEntry& found, ArchiveTime time, Lookup lookup,
                        Timeline* timeline);
