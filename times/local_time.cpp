#include "times/local_time.h"

#include <QDateTime>
#include <algorithm>

namespace {

// More than clocks have ever been ahead of UTC or behind it.
constexpr std::int64_t kMostOffset = std::int64_t{16} * 3600 * 1000;

QDateTime InUtc(std::int64_t instant) {
  return QDateTime::fromMSecsSinceEpoch(instant, Qt::UTC);
}

// When clocks are set forward or back between two instants. REQUIRES: their offsets differ.
std::int64_t ChangeBetween(std::int64_t before, std::int64_t after, const QTimeZone& zone) {
  const std::int64_t offset = OffsetAt(before, zone);
  while (after - before > 1) {
    const std::int64_t middle = before + (after - before) / 2;
    (OffsetAt(middle, zone) == offset ? before : after) = middle;
  }
  return after;
}

}  // namespace

std::int64_t OffsetAt(std::int64_t instant, const QTimeZone& zone) {
  return std::int64_t{zone.offsetFromUtc(InUtc(instant))} * 1000;
}

std::vector<std::int64_t> ChangesWithin(std::int64_t from, std::int64_t to, const QTimeZone& zone) {
  std::vector<std::int64_t> changes;
  for (const QTimeZone::OffsetData& change : zone.transitions(InUtc(from), InUtc(to)))
    changes.push_back(change.atUtc.toMSecsSinceEpoch());
  return changes;
}

std::vector<std::int64_t> InstantsOf(std::int64_t shown, const QTimeZone& zone) {
  std::vector<std::int64_t> instants;
  for (const std::int64_t around : {shown - kMostOffset, shown + kMostOffset}) {
    const std::int64_t instant = shown - OffsetAt(around, zone);
    const bool isThere = shown - OffsetAt(instant, zone) == instant;
    if (isThere && (instants.empty() || instants.front() != instant)) instants.push_back(instant);
  }
  std::sort(instants.begin(), instants.end());
  return instants;
}

std::optional<std::int64_t> StartOfDay(const QDate& day, const QTimeZone& zone) {
  const std::int64_t midnight = QDateTime(day, QTime(0, 0), Qt::UTC).toMSecsSinceEpoch();
  const std::vector<std::int64_t> instants = InstantsOf(midnight, zone);
  if (!instants.empty()) return instants.front();
  const std::int64_t change = ChangeBetween(midnight - kMostOffset, midnight + kMostOffset, zone);
  if (DayAt(change, zone) != day) return std::nullopt;
  return change;
}

QDate DayAt(std::int64_t instant, const QTimeZone& zone) {
  return InUtc(instant + OffsetAt(instant, zone)).date();
}
