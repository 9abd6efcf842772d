#pragma once

#include <QTimeZone>
#include <string>

#include "client/recorded_hours.h"

// The name of the time zone in force.
std::string ShownZone();

// Prints days and hours for people: up to a month a day on each line, with two characters for an
// hour; more days side by side, with one character. No line is wider than 80. A long time without
// anything takes one line. `zone` is that of the days.
// REQUIRES: there is a day.
void PrintCalendar(const RecordedDays& found, const QTimeZone& zone);
