#include "times/local_hours.h"

#include <gmock/gmock.h>

#include <QDate>
#include <string>

#include "times/time_zone.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr std::int64_t kMinute = 60 * 1000;
constexpr std::int64_t kFirstOfMay2024 = 1714521600000;

std::string TextOf(const LocalHours::Piece& piece) {
  return std::string(
             QDate::fromJulianDay(piece.julianDay).toString(Qt::ISODate).toLatin1().constData()) +
         " " + std::to_string(piece.hour) + ":" + std::to_string((piece.to - piece.from) / kMinute);
}

// The pieces, with their lengths in minutes.
std::vector<std::string> PiecesOf(const char* zone, std::int64_t from, std::int64_t to) {
  std::vector<std::string> pieces;
  LocalHours(from, to, TimeZoneNamed(zone))
      .ForEach(from, to, [&pieces](const LocalHours::Piece& piece) {
        pieces.push_back(TextOf(piece));
        return true;
      });
  return pieces;
}

}  // namespace

TEST(LocalHours, BeginAndEndWithTheTimeAskedFor) {
  const std::int64_t from = kFirstOfMay2024 + 22 * 60 * kMinute + 30 * kMinute;
  EXPECT_THAT(PiecesOf("UTC", from, from + 100 * kMinute),
              ElementsAre("2024-05-01 22:30", "2024-05-01 23:60", "2024-05-02 0:10"));
  EXPECT_THAT(PiecesOf("+01:45", from, from + 30 * kMinute), ElementsAre("2024-05-02 0:30"));
  EXPECT_THAT(PiecesOf("UTC", from, from), IsEmpty());
}

TEST(LocalHours, AreNotThereWhereClocksAreSetForward) {
  const std::int64_t change = 1774746000000;  // 2026-03-29 02:00 becomes 03:00
  EXPECT_THAT(PiecesOf("Europe/Berlin", change - 60 * kMinute, change + 60 * kMinute),
              ElementsAre("2026-03-29 1:60", "2026-03-29 3:60"));
}

TEST(LocalHours, ComeTwiceWhereClocksAreSetBack) {
  const std::int64_t change = 1792890000000;  // 2026-10-25 03:00 becomes 02:00
  EXPECT_THAT(PiecesOf("Europe/Berlin", change - 60 * kMinute, change + 120 * kMinute),
              ElementsAre("2026-10-25 2:60", "2026-10-25 2:60", "2026-10-25 3:60"));
}

TEST(LocalHours, AlsoBefore1970AndWestOfGreenwich) {
  EXPECT_THAT(PiecesOf("-05:30", -60 * kMinute, 60 * kMinute),
              ElementsAre("1969-12-31 17:30", "1969-12-31 18:60", "1969-12-31 19:30"));
}

TEST(LocalHours, OfADayAreAllOfIt) {
  const std::int64_t midnight = 1792879200000;
  const LocalHours hours(midnight, midnight, TimeZoneNamed("Europe/Berlin"));
  std::int64_t length = 0;
  hours.ForEachOfDay(QDate(2026, 10, 25).toJulianDay(), [&length](const LocalHours::Piece& piece) {
    length += piece.to - piece.from;
    return true;
  });
  EXPECT_EQ(length, 25 * 60 * kMinute);
}
