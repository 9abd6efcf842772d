#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "blocks/units.h"

// A length of time as people give it on the command line, in milliseconds: 90 or 90s, 15m, 1h30m,
// 1d12h, 2.5s; a day has 24 hours. What does not fit in 64 bits becomes the largest value that
// does. Nothing for other texts.
std::optional<ArchiveTime> LengthFromText(const std::string& text);

// The same in whole seconds. Nothing for fractions, or for what does not fit in 32 bits.
std::optional<std::uint32_t> SecondsFromText(const std::string& text);
