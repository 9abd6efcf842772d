#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

#include "cache_test.h"

// Whose cache files an indexing run may replace, and who may not meanwhile.

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

const char* const kKinds[] = {"hdr", "id3", "evt"};

class CacheClaims : public CacheTest {
 protected:
  // The start of a run of `run` over the archive.
  bool Begin(cZel3Indexer& run) {
    run.Open_file(Path(archive), 9000);
    const bool claimed = run.Reopen_for_write();
    run.BeginIntake();
    run.Add_index(IndexAt(100));
    return claimed;
  }
  // The index that such a run makes.
  const Contents collected = {{"100@0"}, {}, {}};

  static Contents Opened(cZel3Indexer& run, const std::string& path) {
    EXPECT_TRUE(run.Open_file(Path(path), 9000)) << path;
    return ContentsOf(run.Current());
  }
};

class CachesBehindLinks : public CacheClaims {};

TEST_F(CachesBehindLinks, AreReplacedWithoutTouchingWhatTheLinksLeadTo) {
  for (const bool isSymbolic : {true, false}) {
    for (const char* kind : kKinds) {
      SCOPED_TRACE(testing::Message() << (isSymbolic ? "symbolic " : "hard ") << kind);
      const TempFolder elsewhere;
      const std::string foreign = elsewhere / "letter.txt";
      WriteFile(foreign, std::string("the words of somebody else"));
      WriteSmallCache();
      fs::remove(Beside(kind));
      if (isSymbolic) {
        fs::create_symlink(foreign, Beside(kind));
      } else {
        fs::create_hard_link(foreign, Beside(kind));
      }
      cZel3Indexer run;
      ASSERT_TRUE(Begin(run));
      EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(Beside(kind))));
      EXPECT_EQ(fs::hard_link_count(Beside(kind)), 1U);
      run.Save_files();
      EXPECT_EQ(ReadFile(foreign).size(), 26U);
      EXPECT_EQ(Text(run.cacheFolder), "");
      EXPECT_EQ(Opened(run, archive), collected);
    }
  }
}

TEST_F(CachesBehindLinks, AreNotMadeThroughALinkThatAppearsDuringTheRun) {
  const TempFolder elsewhere;
  const std::string foreign = elsewhere / "letter.txt";
  WriteFile(foreign, std::string("the words of somebody else"));
  for (const char* name : {"cam.hdr", "cam.evt", "cam.id3.unfinished.id3"}) {
    SCOPED_TRACE(name);
    cZel3Indexer run;
    ASSERT_TRUE(Begin(run));
    fs::remove(folder / name);
    fs::create_symlink(foreign, folder / name);
    run.Save_files();
    EXPECT_EQ(ReadFile(foreign).size(), 26U);
    EXPECT_THAT(ArchiveFolderNames(), ElementsAre("cam.evt", "cam.hdr", "cam.id3", "cam.zel3"));
    EXPECT_EQ(Opened(run, archive), collected);
  }
}

class TwoRuns : public CacheClaims {
 protected:
  cZel3Indexer first;
  cZel3Indexer second;
};

TEST_F(TwoRuns, DoNotShareAPlace) {
  ASSERT_TRUE(Begin(first));
  ASSERT_TRUE(Begin(second));
  EXPECT_THAT(CacheSubfolderNames(), SizeIs(3));
  second.Save_files();
  for (const char* kind : kKinds) EXPECT_THAT(ReadFile(Beside(kind)), IsEmpty()) << kind;
  first.Save_files();
  EXPECT_EQ(Opened(first, archive), collected);
}

TEST_F(TwoRuns, FindTheirOwnIndexWhenTheyOpenTheArchiveAtTheirEnd) {
  ASSERT_TRUE(Begin(first));
  ASSERT_TRUE(Begin(second));
  second.Save_files();
  EXPECT_EQ(Opened(second, archive), collected);
  EXPECT_EQ(Text(second.Current().id3Path), CacheSubfolder() + kArchiveTimeInNames + "cam.id3");
}

TEST_F(TwoRuns, LeaveTheCachesOfOtherArchivesWhereTheyAre) {
  const std::string other = MakeArchive(folder / "other.zel3");
  for (const char* kind : kKinds) {
    WriteSmallCache();
    fs::copy(Beside(kind), folder / (std::string("other.") + kind));
  }
  ASSERT_TRUE(Begin(first));
  ASSERT_TRUE(Begin(second));
  EXPECT_EQ(Text(second.cacheFolder), "");
  second.Save_files();
  EXPECT_EQ(Opened(second, other), (Contents{{"100@700"}, {5}, {"100@700 x1 80'door'"}}));
  EXPECT_EQ(Opened(second, archive), collected);
  EXPECT_EQ(Text(second.cacheFolder), "");
}

TEST_F(TwoRuns, LookInTheUsualPlaceAgainAfterwards) {
  ASSERT_TRUE(Begin(first));
  ASSERT_TRUE(Begin(second));
  second.Save_files();
  second.EndRun();
  EXPECT_FALSE(second.Open_file(Path(archive), 9000)) << "the first one is still at work";
  EXPECT_EQ(Text(second.Current().id3Path), Beside("id3"));
  first.Save_files();
  EXPECT_EQ(Opened(second, archive), collected);
}

TEST_F(TwoRuns, AndAThirdOneWriteNothingAnywhereElse) {
  cZel3Indexer third;
  ASSERT_TRUE(Begin(first));
  ASSERT_TRUE(Begin(second));
  EXPECT_FALSE(Begin(third));
  third.Save_files();
  EXPECT_THAT(CacheSubfolderNames(), SizeIs(3));
  second.Save_files();
  first.Save_files();
  EXPECT_EQ(Opened(first, archive), collected);
}

struct EndOfRunCase {
  const char* what;
  void (*end)(cZel3Indexer& run);
};

TEST_F(TwoRuns, TakeTurnsWhenTheFirstIsOver) {
  const EndOfRunCase cases[] = {
      {"saved", [](cZel3Indexer& run) { run.Save_files(); }},
      {"given up", [](cZel3Indexer& run) { run.EndRun(); }},
      {"opening again", [](cZel3Indexer& run) { run.Open_file_draft(run.Current().fileName); }},
      {"destroyed", [](cZel3Indexer& run) { run.~cZel3Indexer(), new (&run) cZel3Indexer; }},
  };
  for (const EndOfRunCase& row : cases) {
    SCOPED_TRACE(row.what);
    cZel3Indexer run;
    ASSERT_TRUE(Begin(run));
    row.end(run);
    cZel3Indexer next;
    EXPECT_TRUE(Begin(next));
    EXPECT_THAT(CacheSubfolderNames(), IsEmpty());
    next.Save_files();
    EXPECT_EQ(Opened(next, archive), collected);
  }
}

TEST_F(TwoRuns, TakeTurnsWhenTheFirstIsKilled) {
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    Begin(first);
    _exit(0);
  }
  ASSERT_EQ(waitpid(child, nullptr, 0), child);
  ASSERT_TRUE(Begin(second));
  EXPECT_THAT(CacheSubfolderNames(), IsEmpty());
}

TEST_F(TwoRuns, AreKeptApartInProcessesOfTheirOwn) {
  ASSERT_TRUE(Begin(first));
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    second.Open_file(Path(archive), 9000);
    second.Reopen_for_write();
    _exit(Text(second.cacheFolder).empty() && CacheSubfolderNames().size() == 3 ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  first.Save_files();
  EXPECT_EQ(Opened(first, archive), collected);
}

struct RightsCase {
  unsigned archive;
  unsigned cache;
};

class CacheRightsTest : public CacheClaims {
 protected:
  static unsigned RightsOf(const std::string& path) {
    return static_cast<unsigned>(fs::status(path).permissions());
  }
};

TEST_F(CacheRightsTest, AreNoMoreThanThoseOfTheArchive) {
  const RightsCase cases[] = {{0644, 0644}, {0600, 0600}, {0640, 0640}, {0444, 0644},
                              {0400, 0600}, {0666, 0644}, {0604, 0604}, {0777, 0644}};
  for (const RightsCase& row : cases) {
    SCOPED_TRACE(row.archive);
    for (const char* kind : kKinds) fs::remove(Beside(kind));
    fs::permissions(archive, static_cast<fs::perms>(row.archive));
    const mode_t before = umask(022);
    cZel3Indexer run;
    Begin(run);
    for (const char* kind : kKinds) EXPECT_EQ(RightsOf(Beside(kind)), row.cache) << kind;
    run.Save_files();
    umask(before);
    for (const char* kind : kKinds) EXPECT_EQ(RightsOf(Beside(kind)), row.cache) << kind;
  }
}

TEST_F(CacheRightsTest, DoNotPassToTheMembersOfAnotherGroup) {
  if (geteuid() != 0) GTEST_SKIP() << "only root gives files to other groups";
  const RightsCase cases[] = {{0640, 0600}, {0644, 0644}, {0660, 0600}, {0604, 0600}};
  for (const RightsCase& row : cases) {
    SCOPED_TRACE(row.archive);
    for (const char* kind : kKinds) fs::remove(Beside(kind));
    ASSERT_EQ(chown(archive.c_str(), 0, 12345), 0);
    fs::permissions(archive, static_cast<fs::perms>(row.archive));
    const mode_t before = umask(022);
    cZel3Indexer run;
    Begin(run);
    run.Save_files();
    umask(before);
    for (const char* kind : kKinds) EXPECT_EQ(RightsOf(Beside(kind)), row.cache) << kind;
  }
}

}  // namespace
