#pragma once

#include <QDate>
#include <QTimeZone>
#include <cstdint>
#include <optional>
#include <vector>

#include "client/recorded_hours.h"

// Consecutive days on which nothing is recorded.
struct CalendarGap {
  QDate first;
  std::int64_t days = 0;
  bool isInDoubt = false;
};

// A day, or many days without anything.
struct CalendarRow {
  std::optional<RecordedDay> day;
  CalendarGap gap;  // where there is no day
};

// All days from the first to the last, or of the range if one is given. More than a week without
// anything is one row.
std::vector<CalendarRow> RowsOf(const RecordedDays& found, const QTimeZone& zone);
