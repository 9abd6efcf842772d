#include "times/utc_time.h"

#include <cstdio>

namespace {

bool IsLeapYear(unsigned year) {
  return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

unsigned DaysInYear(unsigned year) {
  return IsLeapYear(year) ? 366 : 365;
}

unsigned DaysInMonth(unsigned year, unsigned month) {
  if (month == 2) return IsLeapYear(year) ? 29 : 28;
  return month == 4 || month == 6 || month == 9 || month == 11 ? 30 : 31;
}

}  // namespace

std::string FileNameTime(std::uint32_t seconds) {
  unsigned days = seconds / kSecondsPerDay;
  unsigned year = 1970;
  for (; days >= DaysInYear(year); ++year) days -= DaysInYear(year);
  unsigned month = 1;
  for (; days >= DaysInMonth(year, month); ++month) days -= DaysInMonth(year, month);

  const unsigned secondOfDay = seconds % kSecondsPerDay;
  char text[48];
  std::snprintf(text, sizeof(text), "%04u-%02u-%02u_%02u-%02u-%02u", year, month, days + 1,
                secondOfDay / kSecondsPerHour, secondOfDay / 60 % 60, secondOfDay % 60);
  return text;
}
