#include "times/local_hours.h"

#include <QDate>
#include <algorithm>

#include "times/local_time.h"

namespace {

constexpr std::int64_t kHourLength = 3600 * 1000;
constexpr std::int64_t kDayLength = 24 * kHourLength;
// More than clocks have ever been ahead of UTC, or after it; a day that is repeated takes as much
// longer.
constexpr std::int64_t kLongestAhead = 26 * kHourLength;

std::int64_t FloorOf(std::int64_t value, std::int64_t unit) {
  const std::int64_t quotient = value / unit;
  return value % unit < 0 ? quotient - 1 : quotient;
}

std::int64_t JulianDayOf1970() {
  static const std::int64_t day = QDate(1970, 1, 1).toJulianDay();
  return day;
}

}  // namespace

LocalHours::LocalHours(std::int64_t from, std::int64_t to, const QTimeZone& zone) {
  from -= kDayLength + kLongestAhead;
  to += kDayLength + kLongestAhead;
  mOffsets.push_back({from, OffsetAt(from, zone)});
  for (const std::int64_t change : ChangesWithin(from, to, zone))
    mOffsets.push_back({change, OffsetAt(change, zone)});
}

void LocalHours::ForEach(std::int64_t from, std::int64_t to, const Visit& visit) const {
  auto next = std::upper_bound(
      mOffsets.begin() + 1, mOffsets.end(), from,
      [](std::int64_t instant, const Offset& offset) { return instant < offset.from; });
  while (from < to) {
    const std::int64_t ahead = (next - 1)->ahead;
    const std::int64_t hour = FloorOf(from + ahead, kHourLength);
    std::int64_t end = std::min(to, (hour + 1) * kHourLength - ahead);
    if (next != mOffsets.end() && next->from <= end) end = (next++)->from;
    const std::int64_t day = FloorOf(hour, 24);
    const Piece piece = {JulianDayOf1970() + day, static_cast<unsigned>(hour - day * 24), from,
                         end};
    if (from < end && !visit(piece)) return;
    from = end;
  }
}

void LocalHours::ForEachOfDay(std::int64_t julianDay, const Visit& visit) const {
  const std::int64_t midnight = (julianDay - JulianDayOf1970()) * kDayLength;
  ForEach(midnight - kLongestAhead, midnight + kDayLength + kLongestAhead,
          [&](const Piece& piece) { return piece.julianDay != julianDay || visit(piece); });
}
