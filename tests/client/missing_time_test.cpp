#include "client/missing_time.h"

#include <gmock/gmock.h>

#include "made_archives.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Times = std::vector<IndexTime>;

class Missing : public testing::Test {
 protected:
  void Write(const std::string& name, const Times& times) {
    MadeArchives::Entries entries;
    for (const IndexTime time : times) entries.emplace_back(time, std::uint8_t{0});
    mArchives.Write(name, entries);
  }

  std::optional<MissingTime> Ask(std::optional<ArchiveTime> from = {},
                                 std::optional<ArchiveTime> to = {}) {
    return mArchives.Ask([=](Timeline* timeline) { return FindMissingTime(from, to, timeline); });
  }

  MissingTime Find(std::optional<ArchiveTime> from = {}, std::optional<ArchiveTime> to = {}) {
    return Ask(from, to).value();
  }

  // "40000-71000 0-0": from and to, the archives before and after it.
  static std::vector<std::string> Texts(const MissingTime& missing) {
    const auto text = [](std::optional<std::size_t> number) {
      return number ? std::to_string(*number) : std::string("none");
    };
    std::vector<std::string> texts;
    for (const MissingStretch& gap : missing.gaps) {
      texts.push_back(std::to_string(gap.from) + "-" + std::to_string(gap.to) + " " +
                      text(gap.before) + "-" + text(gap.after));
    }
    return texts;
  }

  MadeArchives mArchives;
};

}  // namespace

TEST_F(Missing, NothingFromTheFirstEntryToTheEndOfTheLast) {
  Write("a.zel3", {10, 20, 30});
  Write("b.zel3", {50, 60});
  const MissingTime missing = Find();
  EXPECT_EQ(missing.from, 10000U);
  EXPECT_EQ(missing.to, 70000U);
  EXPECT_EQ(missing.recorded, 60000U);
  EXPECT_EQ(missing.Longest(), 0U);
  EXPECT_THAT(missing.gaps, IsEmpty());
}

TEST_F(Missing, IsWhatLiesInAFileBetweenFilesAndAroundThem) {
  Write("a.zel3", {10, 20, 30, 71, 81});
  Write("b.zel3", {200, 210});
  const MissingTime missing = Find(5000, 300000);
  EXPECT_THAT(Texts(missing), ElementsAre("5000-10000 none-0", "40000-71000 0-0",
                                          "91000-200000 0-1", "220000-300000 1-none"));
  EXPECT_EQ(missing.recorded, 70000U);
  EXPECT_EQ(missing.Longest(), 109000U);
  EXPECT_THAT(Texts(Find()), ElementsAre("40000-71000 0-0", "91000-200000 0-1"));
}

TEST_F(Missing, IsCutToTheRangeAndStillToldWhereItLies) {
  Write("a.zel3", {10, 20, 30, 71, 81});
  Write("b.zel3", {200, 210});
  EXPECT_THAT(Texts(Find(50000, 60000)), ElementsAre("50000-60000 0-0"));
  EXPECT_THAT(Texts(Find(60000, 80000)), ElementsAre("60000-71000 0-0"));
  EXPECT_THAT(Texts(Find(100000, 150000)), ElementsAre("100000-150000 0-1"));
  EXPECT_THAT(Texts(Find(0, 10000)), ElementsAre("0-10000 none-0"));
  EXPECT_THAT(Texts(Find(220000, 220001)), ElementsAre("220000-220001 1-none"));
  EXPECT_THAT(Texts(Find(15000, 25000)), IsEmpty());
}

TEST_F(Missing, OneEndOfTheRangeMayBeLeftOpen) {
  Write("a.zel3", {10, 20, 30, 71, 81});
  EXPECT_THAT(Texts(Find(5000, {})), ElementsAre("5000-10000 none-0", "40000-71000 0-0"));
  EXPECT_THAT(Texts(Find({}, 95000)), ElementsAre("40000-71000 0-0", "91000-95000 0-none"));
  EXPECT_FALSE(Ask(91000, {}));
  EXPECT_FALSE(Ask({}, 10000));
}

TEST_F(Missing, IsNotWhatAnotherArchiveHolds) {
  Write("a.zel3", {10, 20, 30, 200, 210});
  Write("b.zel3", {25, 35, 45, 55, 65});
  EXPECT_THAT(Texts(Find()), ElementsAre("75000-200000 1-0"));
}

TEST_F(Missing, ASingleEntryLastsAUnitOfTime) {
  Write("a.zel3", {10});
  Write("b.zel3", {12});
  Write("c.zel3", {15});
  EXPECT_THAT(Texts(Find()), ElementsAre("13000-15000 1-2"));
}

TEST_F(Missing, AllOfTimeIsARange) {
  Write("a.zel3", {10, 20});
  constexpr ArchiveTime kLast = 18446744073709551615U;
  const MissingTime missing = Find(0, kLast);
  EXPECT_THAT(Texts(missing),
              ElementsAre("0-10000 none-0", "30000-" + std::to_string(kLast) + " 0-none"));
  EXPECT_EQ(missing.recorded, 20000U);
}
