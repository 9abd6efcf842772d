#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "blocks/units.h"

// Where an archive is split into parts. Exactly one of the two is set.
struct PartSize {
  ArchiveTime time = 0;     // at multiples of this time since 1970
  std::uint64_t bytes = 0;  // before it gets larger than that
};

// 1h, 15m, 1h30m; 500MB, 2GiB. Nothing for another text, and for a number without a unit.
std::optional<PartSize> PartSizeFromText(const std::string& text);
