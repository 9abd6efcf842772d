#pragma once

#include <QDate>
#include <QTimeZone>
#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "blocks/units.h"
#include "client/doubt.h"
#include "client/timeline.h"

// What was recorded in each hour of each day, as clocks of a time zone show days and hours: for
// archives whose times are milliseconds since 1970 UTC.

constexpr std::size_t kHoursOfDay = 24;

// An hour that clocks show, or the sum of some. Lengths are archive times.
struct RecordedHour {
  // How much of it there is in the range: 0 for one that lies outside or that clocks skip, two
  // hours for one that they show twice.
  ArchiveTime length = 0;
  ArchiveTime recorded = 0;  // at most `length`
  std::uint64_t events = 0;
  // Entries may be lost there, or what is known of it may be wrong.
  bool isInDoubt = false;

  // How many thousandths were recorded, rounded down, so that only an hour recorded as a whole has
  // 1000; an hour of which anything was recorded has at least one. 0 without a length.
  unsigned Thousandths() const;
};

struct RecordedDay {
  QDate date;
  std::array<RecordedHour, kHoursOfDay> hours;

  RecordedHour Sum() const;
};

struct RecordedDays {
  // The range, where it was given: archive times, `to` is not part of it.
  std::optional<ArchiveTime> from;
  std::optional<ArchiveTime> to;
  // Ascending. Days without a recording, an event or a doubt are left out; of a long time in doubt
  // with nothing else in it, only the first days and the last one are listed.
  std::vector<RecordedDay> days;
  // When entries may be lost or have other times: ascending and apart.
  std::vector<DoubtedTime> doubts;

  // Whether anything is in doubt from one time up to another.
  bool IsInDoubt(ArchiveTime first, ArchiveTime end) const;
};

// What the archives of a timeline recorded in each hour of a range, by the rule of RecordedTime;
// with an open end, the days there are whole. Events are those that indexes keep; where one does
// not keep all, its archive is read. Tells the user where something is in doubt, as DoubtRecorded
// does, and marks the timeline. Each archive is asked once. Throws what Timeline::Open and
// ForEachEvent throw. REQUIRES: Timeline::IndexAll; `source` is that of the timeline.
RecordedDays FindRecordedHours(std::optional<ArchiveTime> from, std::optional<ArchiveTime> to,
                               const QTimeZone& zone, const ServedSource& source,
                               Timeline* timeline);
