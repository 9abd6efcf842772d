#pragma once

#include <string>

#include "blocks/units.h"

enum class TimeFormat { kInteger, kIso };

// An archive time as an integer, or as milliseconds since 1970 UTC: 2024-05-01T06:00:00.000Z. Times
// after the year 9999 are always shown as integers.
std::string TimeText(ArchiveTime archiveTime, TimeFormat format);
