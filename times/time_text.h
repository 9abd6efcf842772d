#pragma once

#include <QTimeZone>
#include <string>

#include "blocks/units.h"

enum class TimeFormat { kInteger, kIso };

// An archive time as an integer, or as milliseconds since 1970 in a time zone:
// 2024-05-01T06:00:00.000Z for UTC, else 2024-05-01T08:00:00.000+02:00. Times after the year 9999
// are always shown as integers.
std::string TimeText(ArchiveTime archiveTime, TimeFormat format, const QTimeZone& zone);
// In the zone in force.
std::string TimeText(ArchiveTime archiveTime, TimeFormat format);
