#include "client/calendar_rows.h"

#include <algorithm>

#include "client/activity_bins.h"
#include "times/local_hours.h"
#include "times/local_time.h"

namespace {

constexpr std::int64_t kMostEmptyDays = 7;

QDate DateAt(ArchiveTime time, const QTimeZone& zone) {
  return DayAt(static_cast<std::int64_t>(std::min(time, kEndOfTimes)), zone);
}

// The time of an instant; 0 for those before 1970.
ArchiveTime TimeOf(std::int64_t instant) {
  return static_cast<ArchiveTime>(std::max(instant, std::int64_t{0}));
}

class Rows {
 public:
  Rows(const RecordedDays& found, const QTimeZone& zone)
      : mFound(found), mZone(zone), mHours(0, static_cast<std::int64_t>(kEndOfTimes), zone) {}

  void Add(const RecordedDay& day) { mRows.push_back({day, {}}); }

  // Adds the days from `first` up to `end`, on which nothing is recorded.
  void AddEmpty(const QDate& first, const QDate& end) {
    const std::int64_t count = first.daysTo(end);
    if (count > kMostEmptyDays) {
      mRows.push_back({{}, {first, count, IsInDoubt(first, end)}});
      return;
    }
    for (QDate date = first; date < end; date = date.addDays(1)) Add(EmptyDay(date));
  }

  std::vector<CalendarRow> Take() { return std::move(mRows); }

 private:
  ArchiveTime StartOf(const QDate& date) const {
    std::optional<std::int64_t> start = StartOfDay(date, mZone);
    if (!start) start = StartOfDay(date.addDays(1), mZone);
    return TimeOf(start.value_or(0));
  }

  bool IsInDoubt(const QDate& first, const QDate& end) const {
    return mFound.IsInDoubt(StartOf(first), StartOf(end));
  }

  RecordedDay EmptyDay(const QDate& date) const {
    RecordedDay day;
    day.date = date;
    const ArchiveTime earliest = std::min(mFound.from.value_or(0), kEndOfTimes);
    const ArchiveTime latest = std::min(mFound.to.value_or(kEndOfTimes), kEndOfTimes);
    mHours.ForEachOfDay(date.toJulianDay(), [&](const LocalHours::Piece& piece) {
      const auto from = std::max(TimeOf(piece.from), earliest);
      const auto to = std::min(TimeOf(piece.to), latest);
      if (from >= to) return true;
      RecordedHour& hour = day.hours[piece.hour];
      hour.length += to - from;
      hour.isInDoubt = hour.isInDoubt || mFound.IsInDoubt(from, to);
      return true;
    });
    return day;
  }

  const RecordedDays& mFound;
  const QTimeZone& mZone;
  const LocalHours mHours;
  std::vector<CalendarRow> mRows;
};

}  // namespace

std::vector<CalendarRow> RowsOf(const RecordedDays& found, const QTimeZone& zone) {
  Rows rows(found, zone);
  if (found.days.empty()) return {};
  QDate next = found.from ? DateAt(*found.from, zone) : found.days.front().date;
  for (const RecordedDay& day : found.days) {
    rows.AddEmpty(next, day.date);
    rows.Add(day);
    next = day.date.addDays(1);
  }
  if (found.to) rows.AddEmpty(next, DateAt(*found.to - 1, zone).addDays(1));
  return rows.Take();
}
