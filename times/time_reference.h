#pragma once

#include <QTimeZone>
#include <cstdint>

// What times are read and shown by.
struct TimeReference {
  QTimeZone zone = QTimeZone::utc();
  std::int64_t now = 0;  // in milliseconds since 1970 UTC
};

// That of this process: its zone is UTC until another is chosen, its time that of the first call.
const TimeReference& TimeReferenceInForce();

// Chooses the zone, before any time is read or shown. Not for several threads at once.
void UseTimeZone(const QTimeZone& zone);
