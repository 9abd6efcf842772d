#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "blocks/units.h"

// A time as people give it on the command line: an integer archive time, or a date and time in UTC
// that stands for the milliseconds since 1970: 2024-05-01, 2024-05-01T06:00:00Z or
// 2024-05-01T06:00:00.250Z. Nothing for another text.
std::optional<ArchiveTime> ArchiveTimeFromText(const std::string& text);

// A length of time in seconds: 90, 90s, 15m, 6h or 1d. Nothing for another text.
std::optional<std::uint32_t> SecondsFromText(const std::string& text);
