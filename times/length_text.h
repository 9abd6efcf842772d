#pragma once

#include <string>

#include "blocks/units.h"
#include "times/time_text.h"

// Lengths of time. As for a time, `format` says whether archive times are shown as integers or
// stand for milliseconds.

// 12.500 s
std::string LengthInSeconds(ArchiveTime length, TimeFormat format);

// 1:02:03; fractions of a second are not shown.
std::string LengthInHours(ArchiveTime length, TimeFormat format);
