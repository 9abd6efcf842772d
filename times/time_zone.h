#pragma once

#include <QTimeZone>
#include <string>

// The time zone of a name: UTC; local for that of the system; a name of the time zone database,
// such as Europe/Berlin; or how far clocks are ahead of UTC, such as +02:00. Throws
// std::invalid_argument, with a line for people, for any other name.
QTimeZone TimeZoneNamed(const std::string& name);
