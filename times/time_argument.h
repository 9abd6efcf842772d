#pragma once

#include <string>

#include "blocks/units.h"
#include "times/time_reference.h"

// A time as people give it on the command line. Letters may be in upper or lower case.
//
//   1714564800000                an archive time
//   2024-05-01T12:00:00.250Z     with a blank for the T, without seconds or minutes, with any
//                                fraction of a second (cut to milliseconds), with an offset as
//                                +02:00, +0200 or +02, or without: in the zone in force
//   20240501T120000Z             the same without separators
//   2024-05-01                   the first moment of a day in the zone in force
//   today, yesterday 12:00, now  by the time in force
//   -1h30m, +10m, now-1h30m      before and after now
//   @1714564800.5                seconds since 1970 UTC
//
// All but the first are milliseconds since 1970. Throws std::invalid_argument, with a line for
// people, for any other text; for a day, hour or offset that does not exist; for a time that clocks
// of the zone skip or show twice; and for one that is before 1970 or does not fit in 64 bits.
ArchiveTime TimeFromText(const std::string& text, const TimeReference& reference);
