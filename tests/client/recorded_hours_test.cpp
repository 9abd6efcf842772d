#include "client/recorded_hours.h"

#include <gmock/gmock.h>

#include <fstream>

#include "made_archives.h"
#include "times/time_zone.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr IndexTime kHourOfIndex = 3600;
constexpr IndexTime kDayOfIndex = 24 * kHourOfIndex;
constexpr IndexTime kFirstOfMay = 1714521600;  // 2024-05-01 UTC

class RecordedHours : public testing::Test {
 protected:
  // An entry every minute from one time up to another.
  std::string Write(const std::string& name, IndexTime from, IndexTime to) {
    MadeArchives::Entries entries;
    for (IndexTime time = from; time < to; time += 60) entries.emplace_back(time, std::uint8_t{0});
    return mArchives.Write(name, entries);
  }

  RecordedDays Find(const std::string& zone = "UTC", std::optional<ArchiveTime> from = {},
                    std::optional<ArchiveTime> to = {}) {
    return mArchives.Ask([&](Timeline* timeline, const ServedSource& source) {
      const RecordedDays days = FindRecordedHours(from, to, TimeZoneNamed(zone), source, timeline);
      mIsWhole = timeline->IsWhole();
      return days;
    });
  }

  // "2024-05-01 10:500/1000": the hours of which anything was recorded, in thousandths of their
  // length; the length in minutes where it is not 60, and "!" for doubt.
  static std::vector<std::string> Texts(const RecordedDays& found) {
    std::vector<std::string> texts;
    for (const RecordedDay& day : found.days) {
      std::string text = day.date.toString(Qt::ISODate).toStdString();
      for (std::size_t i = 0; i < kHoursOfDay; ++i) {
        const RecordedHour& hour = day.hours[i];
        if (hour.recorded == 0 && hour.length == 3600000 && !hour.isInDoubt) continue;
        text += " " + std::to_string(i) + ":" + std::to_string(hour.Thousandths());
        if (hour.length != 3600000) text += "/" + std::to_string(hour.length / 60000);
        if (hour.isInDoubt) text += "!";
      }
      texts.push_back(text);
    }
    return texts;
  }

  MadeArchives mArchives;
  bool mIsWhole = false;
};

}  // namespace

TEST_F(RecordedHours, AreThoseOfTheZone) {
  Write("a.zel3", kFirstOfMay + 22 * kHourOfIndex + kHourOfIndex / 2,
        kFirstOfMay + 25 * kHourOfIndex);
  EXPECT_THAT(Texts(Find()), ElementsAre("2024-05-01 22:500 23:1000", "2024-05-02 0:1000"));
  EXPECT_THAT(Texts(Find("+01:30")), ElementsAre("2024-05-02 0:1000 1:1000 2:500"));
  EXPECT_TRUE(mIsWhole);
}

TEST_F(RecordedHours, HaveALengthWithinTheRangeOnly) {
  Write("a.zel3", kFirstOfMay, kFirstOfMay + kDayOfIndex);
  const ArchiveTime ten = ToArchiveTime(kFirstOfMay + 10 * kHourOfIndex);
  const RecordedDays found = Find("UTC", ten, ten + 5400000);
  ASSERT_EQ(found.days.size(), 1U);
  EXPECT_EQ(found.days[0].hours[9].length, 0U);
  EXPECT_EQ(found.days[0].hours[10].Thousandths(), 1000U);
  EXPECT_EQ(found.days[0].hours[11].length, 1800000U);
  EXPECT_EQ(found.days[0].hours[11].recorded, 1800000U);
  EXPECT_EQ(found.days[0].Sum().length, 5400000U);
}

TEST_F(RecordedHours, OfADayWithoutAnHour) {
  const IndexTime midnight = 1774738800;  // 2026-03-29 in Berlin
  Write("a.zel3", midnight, midnight + 23 * kHourOfIndex);
  const RecordedDays found = Find("Europe/Berlin");
  ASSERT_EQ(found.days.size(), 1U);
  EXPECT_EQ(found.days[0].date, QDate(2026, 3, 29));
  EXPECT_EQ(found.days[0].hours[2].length, 0U);
  EXPECT_EQ(found.days[0].hours[1].Thousandths(), 1000U);
  EXPECT_EQ(found.days[0].hours[3].Thousandths(), 1000U);
  EXPECT_EQ(found.days[0].Sum().length, 23 * 3600000U);
  EXPECT_EQ(found.days[0].Sum().Thousandths(), 1000U);
}

TEST_F(RecordedHours, OfADayWithAnHourTwice) {
  const IndexTime midnight = 1792879200;  // 2026-10-25 in Berlin
  Write("a.zel3", midnight + 3 * kHourOfIndex, midnight + 4 * kHourOfIndex);
  EXPECT_THAT(Texts(Find("Europe/Berlin")), ElementsAre("2026-10-25 2:500/120"));
}

TEST_F(RecordedHours, OfAZoneThatSetsClocksByHalfAnHour) {
  const IndexTime change = 1728142200;  // 02:00 becomes 02:30
  Write("a.zel3", change - kHourOfIndex, change + kHourOfIndex);
  EXPECT_THAT(Texts(Find("Australia/Lord_Howe")), ElementsAre("2024-10-06 1:1000 2:1000/30 3:500"));
}

TEST_F(RecordedHours, AreAsManyAsAreRecordedAlsoAfterAWrongClock) {
  Write("a.zel3", 60, 120);
  Write("b.zel3", kFirstOfMay, kFirstOfMay + kHourOfIndex);
  EXPECT_THAT(Texts(Find()), ElementsAre("1970-01-01 0:1", "2024-05-01 0:1000"));
}

TEST_F(RecordedHours, WithDamageAtAGapAreInDoubt) {
  const std::string path =
      Write("a.zel3", kFirstOfMay + kHourOfIndex, kFirstOfMay + 2 * kHourOfIndex);
  std::ofstream(path, std::ios::app) << std::string(500, 'x');
  Write("b.zel3", kFirstOfMay + 4 * kHourOfIndex, kFirstOfMay + 5 * kHourOfIndex);
  const RecordedDays found = Find();
  EXPECT_THAT(Texts(found), ElementsAre("2024-05-01 1:1000! 2:0! 3:0! 4:1000"));
  EXPECT_FALSE(mIsWhole);
  ASSERT_EQ(found.doubts.size(), 1U);
  EXPECT_EQ(found.doubts[0].from, ToArchiveTime(kFirstOfMay + 2 * kHourOfIndex) - 1000);
  EXPECT_EQ(found.doubts[0].to, ToArchiveTime(kFirstOfMay + 4 * kHourOfIndex));
  EXPECT_TRUE(found.IsInDoubt(found.doubts[0].from, found.doubts[0].from + 1));
  EXPECT_FALSE(found.IsInDoubt(found.doubts[0].to, found.doubts[0].to + 1));
}

TEST_F(RecordedHours, AfterTheLastOneAreInDoubtForADay) {
  const std::string path =
      Write("a.zel3", kFirstOfMay + 23 * kHourOfIndex, kFirstOfMay + kDayOfIndex);
  std::ofstream(path, std::ios::app) << std::string(500, 'x');
  const RecordedDays found = Find();
  ASSERT_EQ(found.days.size(), 2U);
  EXPECT_TRUE(found.days[0].hours[23].isInDoubt);
  EXPECT_FALSE(found.days[0].hours[22].isInDoubt);
  EXPECT_TRUE(found.days[1].hours[23].isInDoubt);
}

TEST_F(RecordedHours, WithAWrongTimeAreInDoubt) {
  MadeArchives::Entries entries;
  for (IndexTime i = 0; i < 120; ++i) entries.emplace_back(kFirstOfMay + i * 60, std::uint8_t{0});
  entries[70].first = kFirstOfMay + 500 * kDayOfIndex;
  mArchives.Write("a.zel3", entries);
  EXPECT_THAT(Texts(Find()), ElementsAre("2024-05-01 0:1000 1:1000!"));
  EXPECT_FALSE(mIsWhole);
}

TEST_F(RecordedHours, OfATimeWithoutAnythingAreNotThere) {
  Write("a.zel3", kFirstOfMay, kFirstOfMay + kHourOfIndex);
  const RecordedDays found = Find("UTC", ToArchiveTime(kFirstOfMay + kDayOfIndex),
                                  ToArchiveTime(kFirstOfMay + 2 * kDayOfIndex));
  EXPECT_THAT(found.days, IsEmpty());
  EXPECT_THAT(found.doubts, IsEmpty());
  const ArchiveTime last = std::numeric_limits<ArchiveTime>::max();
  EXPECT_THAT(Find("UTC", last - 1, last).days, IsEmpty());
}

TEST_F(RecordedHours, BeforeTheFirstOneAreInDoubtUpToWhatElseIsRecorded) {
  Write("a.zel3", kFirstOfMay + 10 * kHourOfIndex, kFirstOfMay + 11 * kHourOfIndex);
  const std::string path =
      Write("b.zel3", kFirstOfMay + 13 * kHourOfIndex, kFirstOfMay + 14 * kHourOfIndex);
  const auto header = mArchives.Ask([](Timeline* timeline) {
    return static_cast<std::size_t>(timeline->Open(1)->Index().PositionOf(0));
  });
  std::ifstream in(path, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  std::ofstream(path, std::ios::binary) << std::string(bytes).insert(header, 300, 'x');
  EXPECT_THAT(Texts(Find()), ElementsAre("2024-05-01 10:1000 11:0! 12:0! 13:1000!"));
}

// One camera goes on where the recording of another breaks off.
TEST_F(RecordedHours, ThatOthersHaveRecordedAreNotInDoubtBesideTheDamage) {
  const std::string path =
      Write("a.zel3", kFirstOfMay + kHourOfIndex, kFirstOfMay + 2 * kHourOfIndex);
  std::ofstream(path, std::ios::app) << std::string(500, 'x');
  Write("b.zel3", kFirstOfMay + kHourOfIndex, kFirstOfMay + 5 * kHourOfIndex);
  EXPECT_THAT(Texts(Find()), ElementsAre("2024-05-01 1:1000! 2:1000 3:1000 4:1000"));
}
