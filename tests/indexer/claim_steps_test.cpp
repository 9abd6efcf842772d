#include <array>
#include <cerrno>
#include <filesystem>
#include <new>

#include "cache_test.h"
#include "indexer/cache_claim.h"
#include "support/file_faults.h"
#include "support/read_only_folder.h"
#include "support/sanitized.h"
#include "support/scarce_memory.h"

// A claim on cache files, where one of its steps fails or another run comes between two of them.

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class ClaimSteps : public CacheTest {
 protected:
  using Answer = CacheClaim::Answer;
  static constexpr auto kOnce = FileFaults::Repeats::kOnce;
  static constexpr auto kFromThenOn = FileFaults::Repeats::kFromThenOn;

  // The cache files of the archive, by another stem if wanted.
  CacheFileNames Names(const std::string& stem = "cam") const {
    return {Path(folder / (stem + ".hdr")), Path(folder / (stem + ".id3")),
            Path(folder / (stem + ".evt"))};
  }
  Answer Take(CacheClaim& claim) const { return claim.Take(Names(), Path(archive)); }
  static bool Save(CacheClaim& claim) {
    return claim.Save([](PlainFile& headers, PlainFile& entries, PlainFile& events) {
      return headers.Write("h", 1) && entries.Write("i", 1) && events.Write("e", 1);
    });
  }
};

TEST_F(ClaimSteps, OfOtherFilesOfTheArchiveMakeThoseAndGiveUpTheFirst) {
  CacheClaim claim;
  ASSERT_EQ(Take(claim), Answer::kGiven);
  ASSERT_EQ(claim.Take(Names("other"), Path(archive)), Answer::kGiven);
  EXPECT_TRUE(FileExists(folder / "other.id3"));
  CacheClaim next;
  EXPECT_EQ(Take(next), Answer::kGiven);
}

TEST_F(ClaimSteps, WithoutMemoryGiveUpTheFilesClaimedBefore) {
  if (kIsSanitized) GTEST_SKIP() << "sanitizers bring their own allocation";
  CacheClaim claim;
  ASSERT_EQ(Take(claim), Answer::kGiven);
  const CacheFileNames others = Names("other");
  const QString path = Path(archive);
  bool threw = false;
  {
    const ScarceMemory none(0);
    try {
      claim.Take(others, path);
    } catch (const std::bad_alloc&) {
      threw = true;
    }
  }
  EXPECT_TRUE(threw);
  CacheClaim next;
  EXPECT_EQ(Take(next), Answer::kGiven);
}

TEST_F(ClaimSteps, ThatAreRefusedLeaveTheFilesToOthers) {
  WriteSmallCache();
  CacheClaim refused;
  {
    const FileFaults faults(FileOperation::kRemove, 0, kOnce, EIO);
    ASSERT_EQ(Take(refused), Answer::kRefused);
  }
  CacheClaim next;
  EXPECT_EQ(Take(next), Answer::kGiven);
}

// At whatever step of the first run a second one claims the files, one of the two gets them.
TEST_F(ClaimSteps, OfTwoRunsGiveTheFilesOfACacheToOne) {
  int steps = 0;
  for (bool struck = true; struck; ++steps) {
    SCOPED_TRACE(steps);
    WriteSmallCache();
    CacheClaim first;
    CacheClaim second;
    Answer ofSecond = Answer::kRefused;
    Answer ofFirst = Answer::kRefused;
    {
      const FileFaults between(steps, [&] { ofSecond = Take(second); });
      ofFirst = Take(first);
      struck = between.Struck() > 0;
    }
    if (!struck) ofSecond = Take(second);
    EXPECT_THAT((std::array{ofFirst, ofSecond}),
                UnorderedElementsAre(Answer::kGiven, Answer::kHeldByAnother));
    EXPECT_THAT(ArchiveFolderNames(), ElementsAre("cam.evt", "cam.hdr", "cam.id3", "cam.zel3"));
  }
  EXPECT_GT(steps, 10);
}

// The .id3 file is made first, then .hdr and .evt.
TEST_F(ClaimSteps, LeaveNoFileWhereNotAllCanBeMade) {
  for (const int made : {0, 1, 2}) {
    SCOPED_TRACE(made);
    const FileFaults faults(FileOperation::kOpen, made, kOnce, ENOSPC);
    CacheClaim claim;
    EXPECT_EQ(Take(claim), Answer::kRefused);
    EXPECT_EQ(faults.Struck(), 1);
    EXPECT_THAT(ArchiveFolderNames(), ElementsAre("cam.zel3"));
  }
}

TEST_F(ClaimSteps, KeepTheHeadersThatSomebodyElseMakesMeanwhile) {
  constexpr int kHeadersAreMade = 5;  // after three names are removed, and .id3 is made and locked
  CacheClaim claim;
  const FileFaults between(kHeadersAreMade,
                           [this] { WriteFile(Beside("hdr"), std::string("of somebody else")); });
  EXPECT_EQ(Take(claim), Answer::kRefused);
  EXPECT_THAT(ArchiveFolderNames(), ElementsAre("cam.hdr", "cam.zel3"));
  EXPECT_EQ(ReadFile(Beside("hdr")).size(), 16U);
}

TEST_F(ClaimSteps, EmptyFilesThatCannotBeMadeAnew) {
  WriteSmallCache();
  const ReadOnlyFolder readOnly(folder.Path());
  CacheClaim claim;
  ASSERT_EQ(Take(claim), Answer::kGiven);
  for (const char* kind : {"hdr", "id3", "evt"}) EXPECT_THAT(ReadFile(Beside(kind)), IsEmpty());
}

TEST_F(ClaimSteps, AreRefusedWhereAFileCannotBeEmptied) {
  for (const int failing : {0, 1, 2}) {
    SCOPED_TRACE(failing);
    WriteSmallCache();
    const ReadOnlyFolder readOnly(folder.Path());
    const FileFaults faults(FileOperation::kWrite, failing, kOnce, EIO);
    CacheClaim claim;
    EXPECT_EQ(Take(claim), Answer::kRefused);
  }
}

TEST_F(ClaimSteps, SaySoWhenTheFilesAreSaved) {
  CacheClaim claim;
  ASSERT_EQ(Take(claim), Answer::kGiven);
  EXPECT_TRUE(Save(claim));
  EXPECT_EQ(ReadFile(Beside("id3")), Bytes{'i'});
  WriteSmallCache();
  const ReadOnlyFolder readOnly(folder.Path());
  ASSERT_EQ(Take(claim), Answer::kGiven);
  EXPECT_TRUE(Save(claim));
  EXPECT_EQ(ReadFile(Beside("id3")), Bytes{'i'});
}

TEST_F(ClaimSteps, SaySoWhenAFileCannotBeWrittenInPlace) {
  for (const int failing : {0, 1, 2}) {
    SCOPED_TRACE(failing);
    WriteSmallCache();
    const ReadOnlyFolder readOnly(folder.Path());
    CacheClaim claim;
    ASSERT_EQ(Take(claim), Answer::kGiven);
    const FileFaults faults(FileOperation::kOpen, failing, kOnce, EMFILE);
    EXPECT_FALSE(Save(claim));
  }
}

TEST_F(ClaimSteps, SaySoWhenNoFileCanBeMade) {
  CacheClaim claim;
  ASSERT_EQ(Take(claim), Answer::kGiven);
  const FileFaults faults(FileOperation::kOpen, 0, kFromThenOn, ENOSPC);
  EXPECT_FALSE(Save(claim));
}

TEST_F(ClaimSteps, SaySoWhenTheNewFileCannotBeLocked) {
  CacheClaim claim;
  ASSERT_EQ(Take(claim), Answer::kGiven);
  const FileFaults faults(FileOperation::kLock, 0, kOnce, EWOULDBLOCK);
  EXPECT_FALSE(Save(claim));
  EXPECT_THAT(ReadFile(Beside("id3")), IsEmpty());
  EXPECT_THAT(ArchiveFolderNames(), ElementsAre("cam.evt", "cam.hdr", "cam.id3", "cam.zel3"));
}

}  // namespace
