#include "times/time_zone.h"

#include <gmock/gmock.h>

#include <QDateTime>
#include <stdexcept>

#include "support/environment_value.h"

namespace {

// How far clocks are ahead of UTC in the summer of 2024, in seconds.
int OffsetIn(const char* name) {
  const QDateTime summer = QDateTime::fromMSecsSinceEpoch(1719792000000, Qt::UTC);
  return TimeZoneNamed(name).offsetFromUtc(summer);
}

std::string RefusalOfZone(const std::string& name) {
  try {
    TimeZoneNamed(name);
  } catch (const std::invalid_argument& refusal) {
    return refusal.what();
  }
  return "";
}

}  // namespace

TEST(TimeZoneNamed, KnowsNamesAndOffsets) {
  const struct {
    const char* name;
    int offset;
  } cases[] = {
      {"UTC", 0},
      {"utc", 0},
      {"Europe/Berlin", 7200},
      {"America/New_York", -14400},
      {"Asia/Calcutta", 19800},
      {"CET", 7200},
      {"Etc/GMT+5", -18000},
      {"+02:00", 7200},
      {"-0330", -12600},
      {"+05", 18000},
  };
  for (const auto& each : cases) EXPECT_EQ(OffsetIn(each.name), each.offset) << each.name;
}

TEST(TimeZoneNamed, LocalIsThatOfTheSystem) {
  const EnvironmentValue zone("TZ", "Asia/Tokyo");
  EXPECT_EQ(OffsetIn("local"), 32400);
  EXPECT_EQ(OffsetIn("Local"), 32400);
}

TEST(TimeZoneNamed, ASystemWithoutOneIsSaid) {
  const EnvironmentValue zone("TZ", "Nowhere/Town");
  EXPECT_EQ(RefusalOfZone("local"), "the time zone of this system is not known");
}

TEST(TimeZoneNamed, OffersNamesForWhatIsNone) {
  const struct {
    const char* name;
    const char* hint;
  } cases[] = {
      {"europe/berlin", "do you mean Europe/Berlin?"},
      {"Berlin", "do you mean Europe/Berlin?"},
      {"new york", "do you mean America/New_York?"},
      {"", "names are UTC, local, +02:00, or as Europe/Berlin"},
      {"Berlin1", "names are UTC, local, +02:00, or as Europe/Berlin"},
      {"CET-1CEST,M3.5.0,M10.5.0/3", "names are UTC, local, +02:00, or as Europe/Berlin"},
      {"../../etc/passwd", "names are UTC, local, +02:00, or as Europe/Berlin"},
      {"+23:59", "names are UTC, local, +02:00, or as Europe/Berlin"},
      {"\xd9\xa1", "names are UTC, local, +02:00, or as Europe/Berlin"},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(RefusalOfZone(each.name),
              "'" + std::string(each.name) + "' is not a time zone: " + each.hint);
  }
}
