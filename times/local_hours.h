#pragma once

#include <QTimeZone>
#include <cstdint>
#include <functional>
#include <vector>

// Goes through time in the hours that the clocks of a zone show. Instants are milliseconds since
// 1970 UTC.
class LocalHours {
 public:
  // A time in which clocks show one hour of one day.
  struct Piece {
    std::int64_t julianDay = 0;  // as of QDate
    unsigned hour = 0;           // 0-23
    std::int64_t from = 0;
    std::int64_t to = 0;  // not part of it
  };
  // Whether to go on.
  using Visit = std::function<bool(const Piece&)>;

  // For times between the two instants, at most some thousand years.
  LocalHours(std::int64_t from, std::int64_t to, const QTimeZone& zone);

  // Visits the pieces from `from` up to `to`, ascending. An hour comes twice where clocks are set
  // back, and not at all where it is skipped; it may come in two pieces.
  void ForEach(std::int64_t from, std::int64_t to, const Visit& visit) const;
  // The same for all of a day that lies between the instants.
  void ForEachOfDay(std::int64_t julianDay, const Visit& visit) const;

 private:
  struct Offset {
    std::int64_t from = 0;
    std::int64_t ahead = 0;  // of UTC
  };

  std::vector<Offset> mOffsets;  // ascending; there is one at least
};
