#pragma once

#include <QTimeZone>
#include <string>

#include "client/recorded_hours.h"

// The name of the time zone in force.
std::string ShownZone();

// Prints days and hours for people: up to a month with one day per line and two characters per
// hour; more days in two columns, with one character per hour. No line is wider than 80. A long
// time without anything takes one line. `zone` is that of the days.
// REQUIRES: there is a day.
void PrintCalendar(const RecordedDays& found, const QTimeZone& zone);
