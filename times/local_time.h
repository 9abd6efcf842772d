#pragma once

#include <QDate>
#include <QTimeZone>
#include <cstdint>
#include <optional>
#include <vector>

// What clocks of a time zone show. Instants are milliseconds since 1970 UTC. What clocks show is
// counted in the same way, as if they were set to UTC.

// How far clocks are ahead of UTC, in milliseconds.
std::int64_t OffsetAt(std::int64_t instant, const QTimeZone& zone);

// The instants between two others at which clocks are set forward or back, ascending.
std::vector<std::int64_t> ChangesWithin(std::int64_t from, std::int64_t to, const QTimeZone& zone);

// The instants at which clocks show a time, ascending: two when it is repeated because clocks are
// set back, none when it is skipped because they are set forward.
std::vector<std::int64_t> InstantsOf(std::int64_t shown, const QTimeZone& zone);

// The first instant of a day; nothing for a day that a zone has skipped as a whole.
std::optional<std::int64_t> StartOfDay(const QDate& day, const QTimeZone& zone);

// The day at an instant.
QDate DayAt(std::int64_t instant, const QTimeZone& zone);
