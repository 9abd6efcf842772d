#pragma once

#include <QTimeZone>
#include <cstdint>

// The zone and the present time by which times are read and shown.
struct TimeReference {
  QTimeZone zone = QTimeZone::utc();
  std::int64_t now = 0;  // in milliseconds since 1970 UTC
};

// The one of this process: its zone is UTC until another is chosen, its time that of the first
// call.
const TimeReference& TimeReferenceInForce();

// Chooses the zone, before any time is read or shown. Not for several threads at once.
void UseTimeZone(const QTimeZone& zone);
