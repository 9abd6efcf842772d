#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "archive/archive_writer.h"
#include "support/folder_snapshot.h"
#include "support/program.h"
#include "support/sample_archive.h"
#include "system/file_handle.h"

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

namespace {

namespace fs = std::filesystem;

using Texts = std::vector<std::string>;

class Caches : public ProgramTest {
 protected:
  Caches() {
    fs::create_directory(mArchives);
    WriteArchive("a.zel3");
    WriteArchive("b.zel3");
  }

  void WriteArchive(const std::string& name) {
    const std::string path = mArchives + "/" + name;
    ArchiveWriter writer(path);
    writer.WriteHeader(OneStreamHeader());
    for (std::uint32_t time = 10; time <= 30; time += 10) {
      writer.WriteIndex({time, 0, 0});
      writer.WriteData(1, 3, reinterpret_cast<const unsigned char*>("data"), 4);
    }
    writer.Close();
    SetModificationTime(path, 1367935389);
  }

  void Index(const Arguments& options = {}) {
    Arguments arguments{"index", mArchives};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const ProgramResult result = Run(arguments);
    ASSERT_EQ(result.exitCode, 0) << result.err;
  }

  // Builds the index of a.zel3 where it cannot be beside it.
  void IndexAPrivately() {
    WriteFile(mArchives + "/a.hdr", "What stands here is precious.");
    Index();
    ASSERT_TRUE(FileExists(OfA(".id3")));
  }

  nlohmann::json Ask(const Arguments& options, int exitCode = 0) {
    Arguments arguments{"caches", "--format", "json"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    mResult = Run(arguments);
    EXPECT_EQ(mResult.exitCode, exitCode) << mResult.err;
    return nlohmann::json::parse(mResult.out);
  }

  // "in-use beside a": for everything except what was found out about archives.
  Texts Told(const Arguments& options, int exitCode = 0) {
    Texts texts;
    const nlohmann::json caches = Ask(options, exitCode)["caches"];
    for (const nlohmann::json& cache : caches) {
      if (cache["place"] == "checked") continue;
      texts.push_back(cache["state"].get<std::string>() + " " + cache["place"].get<std::string>() +
                      " " + cache["name"].get<std::string>());
    }
    return texts;
  }

  // The names of the files that a run removed.
  Texts Removed(const Arguments& options, int exitCode = 0) {
    Texts names;
    const nlohmann::json caches = Ask(options, exitCode)["caches"];
    for (const nlohmann::json& cache : caches) {
      for (const nlohmann::json& name : cache["removed"]) names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  std::string Home() const { return CacheHome() + "/zel3"; }
  // The private folder of the archives.
  std::string Private() const {
    for (const std::string& name : EntryNames(Home())) {
      if (name.size() == 32) return Home() + "/" + name;
    }
    return Home() + "/none";
  }
  std::string OfA(const std::string& suffix) const { return Private() + "/" + kStemOfA + suffix; }

  static constexpr char kStemOfA[] = "13.05.07 14-03-09 a";
  const std::string mArchives = *this / "archives";
  ProgramResult mResult;
};

}  // namespace

TEST_F(Caches, WithoutAnyThereIsNothing) {
  const ProgramResult result = Run({"caches"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out, "0 caches in 0 files, 0 bytes\n");
  EXPECT_EQ(result.err, "");
  EXPECT_FALSE(FileExists(CacheHome()));
  EXPECT_EQ(Run({"caches", "--remove-all"}).out,
            "removed 0 caches in 0 files, 0 bytes of 0 caches in 0 files, 0 bytes\n");
}

TEST_F(Caches, BesideArchivesAreToldOfSourcesOnly) {
  Index();
  EXPECT_THAT(Told({}), IsEmpty());
  EXPECT_THAT(Told({mArchives}), ElementsAre("in-use beside a", "in-use beside b"));
  EXPECT_THAT(Told({mArchives + "/b.zel3"}), ElementsAre("in-use beside b"));
  EXPECT_THAT(Told({mArchives + "/b.zel3", mArchives}),
              ElementsAre("in-use beside b", "in-use beside a"))
      << "once each";
  const nlohmann::json first = Ask({mArchives})["caches"][0];
  EXPECT_EQ(first["source"], mArchives + "/a.zel3");
  EXPECT_EQ(first["folder"], mArchives);
  EXPECT_EQ(first["cacheFiles"], (Texts{"a.evt", "a.hdr", "a.id3"}));
  EXPECT_EQ(first["bytes"], 8 + 3 * 24);
}

TEST_F(Caches, TextIsATableWithTotals) {
  Index();
  const ProgramResult result = Run({"caches", mArchives});
  const std::vector<std::string> lines = LinesOf(result.out);
  ASSERT_EQ(lines.size(), 4U) << result.out;
  EXPECT_THAT(lines[0], MatchesRegex("state +place +bytes +path +of"));
  EXPECT_EQ(lines[1], "in-use  beside  80     " + mArchives + "/a.*  " + mArchives + "/a.zel3");
  EXPECT_EQ(lines[3], "2 caches in 6 files, 160 bytes");
}

TEST_F(Caches, OfAnArchiveThatIsGoneIsAnOrphan) {
  Index();
  fs::remove(mArchives + "/a.zel3");
  EXPECT_THAT(Told({mArchives}), ElementsAre("orphan beside a", "in-use beside b"));
  EXPECT_THAT(Removed({mArchives, "--remove-orphans", "--dry-run"}),
              ElementsAre("a.evt", "a.hdr", "a.id3"));
  EXPECT_TRUE(FileExists(mArchives + "/a.id3"));
  EXPECT_THAT(Removed({mArchives, "--remove-orphans"}), ElementsAre("a.evt", "a.hdr", "a.id3"));
  EXPECT_THAT(EntryNames(mArchives), ElementsAre("b.evt", "b.hdr", "b.id3", "b.zel3"));
}

TEST_F(Caches, AnArchiveOfAnotherNameOrALinkToOneIsNotGone) {
  Index();
  fs::rename(mArchives + "/a.zel3", *this / "elsewhere");
  fs::create_symlink(*this / "nowhere", mArchives + "/a.zel3");
  EXPECT_THAT(Told({mArchives}, 0), ElementsAre("unused beside a", "in-use beside b"));
  fs::remove(mArchives + "/a.zel3");
  fs::rename(*this / "elsewhere", mArchives + "/a.old");
  EXPECT_THAT(Told({mArchives}), ElementsAre("unused beside a", "in-use beside b"));
  WriteFile(mArchives + "/a.old", "no archive any more");
  EXPECT_THAT(Told({mArchives}), ElementsAre("orphan beside a", "in-use beside b"));
}

TEST_F(Caches, OfTheCacheHomeAreKnownByTheirSource) {
  IndexAPrivately();
  const std::string privately = std::string(" private ") + kStemOfA;
  EXPECT_THAT(Told({}), ElementsAre("unknown" + privately));
  EXPECT_THAT(Told({mArchives}),
              ElementsAre("stranger beside a", "in-use beside b", "in-use" + privately));
  EXPECT_THAT(Removed({"--remove-orphans"}), IsEmpty());

  SetModificationTime(mArchives + "/a.zel3", 1367935390);
  EXPECT_THAT(Told({mArchives}), Contains("outdated" + privately));
  fs::remove(mArchives + "/a.zel3");
  EXPECT_THAT(Told({mArchives}), Contains("orphan" + privately));
  EXPECT_THAT(Removed({mArchives, "--remove-orphans"}),
              ElementsAre(std::string(kStemOfA) + ".evt", std::string(kStemOfA) + ".hdr",
                          std::string(kStemOfA) + ".id3"));
  EXPECT_THAT(EntryNames(Private()), IsEmpty());
  EXPECT_EQ(ReadFile(mArchives + "/a.hdr").size(), 29U);
}

TEST_F(Caches, OfAnEmptyFolderNothingIsKnown) {
  IndexAPrivately();
  fs::rename(mArchives, *this / "unmounted");
  fs::create_directory(mArchives);
  EXPECT_THAT(Told({mArchives}), ElementsAre(std::string("unknown private ") + kStemOfA));
  EXPECT_THAT(Removed({mArchives, "--remove-orphans"}), IsEmpty());
}

TEST_F(Caches, AreKnownByALinkToTheirArchive) {
  const std::string odd = mArchives + "/odd\xff.zel3";
  fs::rename(mArchives + "/a.zel3", odd);
  Index();
  const nlohmann::json caches = Ask({})["caches"];
  ASSERT_FALSE(caches.empty());
  EXPECT_EQ(caches[0]["state"], "in-use");
  EXPECT_THAT(caches[0]["source"], HasSubstr("/archives/odd"));
  fs::remove(odd);
  EXPECT_EQ(Told({})[0].substr(0, 6), "orphan");
  EXPECT_EQ(Removed({"--remove-orphans"}).size(), 3U);
  EXPECT_EQ(EntryNames(Private()).size(), 1U) << "the link stays";
}

TEST_F(Caches, OfAFolderThatIsAskedFor) {
  const std::string folder = *this / "indexes";
  Index({"--cache-folder", folder});
  EXPECT_THAT(Told({"--cache-folder", folder}), ElementsAre("unknown folder 13.05.07 14-03-09 a",
                                                            "unknown folder 13.05.07 14-03-09 b"));
  EXPECT_THAT(
      Told({mArchives, "--cache-folder", folder}),
      ElementsAre("in-use folder 13.05.07 14-03-09 a", "in-use folder 13.05.07 14-03-09 b"));
  EXPECT_THAT(Removed({"--cache-folder", folder, "--remove-orphans"}), IsEmpty());
  EXPECT_EQ(Removed({"--cache-folder", folder, "--remove-all"}).size(), 6U);
  EXPECT_THAT(EntryNames(folder), IsEmpty());
  WriteFile(folder + "/notes", "");
  EXPECT_EQ(Run({"caches", "--cache-folder", folder, "--remove-all"}).exitCode, 2);
}

TEST_F(Caches, AllAreRemovedAndBuiltAgain) {
  IndexAPrivately();
  fs::create_directory(Home() + "/checked");
  WriteFile(Home() + "/checked/" + std::string(32, 'a'), "zel3 checked 1 0\n");
  const Bytes archive = ReadFile(mArchives + "/a.zel3");
  EXPECT_EQ(Removed({mArchives, "--remove-all"}).size(), 7U)
      << "two indexes, and what was found out";
  EXPECT_THAT(EntryNames(mArchives), ElementsAre("a.hdr", "a.zel3", "b.zel3"));
  EXPECT_THAT(EntryNames(Private()), IsEmpty());
  EXPECT_THAT(EntryNames(Home() + "/checked"), IsEmpty());
  EXPECT_EQ(ReadFile(mArchives + "/a.zel3"), archive);
  Index();
  EXPECT_TRUE(FileExists(OfA(".id3")));
}

TEST_F(Caches, WhatASaveHasLeftBehindIsALeftover) {
  Index();
  WriteFile(mArchives + "/b.id3.unfinished.id3", "");
  SetModificationTime(mArchives + "/b.id3.unfinished.id3", 1367935389);
  fs::remove(mArchives + "/a.evt");
  EXPECT_THAT(Told({mArchives}),
              ElementsAre("leftover beside a", "in-use beside b", "leftover beside b"));
  EXPECT_THAT(Removed({mArchives, "--remove-orphans"}),
              ElementsAre("a.hdr", "a.id3", "b.id3.unfinished.id3"));
  WriteFile(mArchives + "/b.id3.unfinished.id3", "");
  EXPECT_THAT(Told({mArchives}), Contains("busy beside b")) << "it is new";
}

// The name of an unfinished file has a number in place of a name that would be too long.
TEST_F(Caches, AFolderWithWhatASaveOfALongNameHasLeftBehindIsStillOne) {
  fs::create_directory(*this / "kept");
  const std::string unfinished = std::string(32, 'c') + ".unfinished.evt";
  WriteFile(*this / "kept/" + unfinished, "");
  SetModificationTime(*this / "kept/" + unfinished, 1367935389);
  EXPECT_THAT(Removed({"--cache-folder", *this / "kept", "--remove-orphans"}),
              ElementsAre(unfinished));
  WriteFile(*this / "kept/" + std::string(32, 'c') + ".evt", "");
  EXPECT_EQ(Run({"caches", "--cache-folder", *this / "kept"}).exitCode, 2);
}

TEST_F(Caches, WhatAVerbHasBegunToWriteIsALeftoverAfterADay) {
  const std::string name = ".zel3-unfinished-aB3xYz.zel3";
  const std::string path = mArchives + "/" + name;
  const auto now = static_cast<std::int64_t>(time(nullptr));
  WriteFile(path, "half an archive");
  SetModificationTime(path, now - 23 * 3600);
  EXPECT_THAT(Told({mArchives}), ElementsAre("busy beside " + name));
  EXPECT_THAT(Removed({mArchives, "--remove-all"}, 3), IsEmpty());
  SetModificationTime(path, now - 25 * 3600);
  EXPECT_THAT(Told({mArchives}), ElementsAre("leftover beside " + name));
  EXPECT_THAT(Told({mArchives + "/a.zel3"}), IsEmpty()) << "it is not of one archive";
  EXPECT_THAT(Removed({mArchives, "--remove-orphans", "--dry-run"}), ElementsAre(name));
  {
    const FileHandle locked(open(path.c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_EQ(flock(locked.Get(), LOCK_EX | LOCK_NB), 0);
    EXPECT_THAT(Told({mArchives}), ElementsAre("busy beside " + name));
    EXPECT_THAT(Removed({mArchives, "--remove-orphans"}, 3), IsEmpty());
  }
  EXPECT_THAT(Removed({mArchives, "--remove-orphans"}), ElementsAre(name));
  EXPECT_FALSE(FileExists(path));
}

TEST_F(Caches, WhatOnlyLooksLikeWhatAVerbWritesStays) {
  const std::string path = mArchives + "/.zel3-";
  WriteFile(path + "backup", "precious");
  WriteFile(path + "unfinished-backup.txt", "precious");
  WriteFile(*this / "elsewhere", "precious");
  fs::create_symlink(*this / "elsewhere", path + "unfinished-aaaaaa");
  fs::create_hard_link(*this / "elsewhere", path + "unfinished-bbbbbb");
  fs::create_directory(path + "unfinished-cccccc");
  for (const char* const name : {"backup", "unfinished-backup.txt"})
    SetModificationTime(path + name, 1367935389);
  SetModificationTime(*this / "elsewhere", 1367935389);
  const FolderSnapshot before = SnapshotOf(mArchives);
  EXPECT_THAT(Removed({mArchives, "--remove-all"}, 3), IsEmpty());
  EXPECT_THAT(mResult.err, HasSubstr("bbbbbb stays: it no longer has the shape"));
  EXPECT_EQ(SnapshotOf(mArchives), before);
}

TEST_F(Caches, WhatEarlierVersionsHaveFoundOutIsOutdated) {
  fs::create_directories(Home() + "/checked");
  const std::string file = " 54 1025 2147483649 1367935389000000000 1367935389000000001";
  const std::string name = Home() + "/checked/";
  const std::string earlier(32, 'a'), empty(32, 'b'), notes(32, 'c'), begun = notes + ".aB3xYz";
  WriteFile(name + earlier,
            "zel3 checked 1 0\na.zel3" + file + file + file + " - 3 10000 30000 10000 0 0 0 1\n");
  WriteFile(name + empty, "");
  WriteFile(name + notes, "zel3 checked 1 0\na.zel3 and what I think of it\n");
  WriteFile(name + begun, "");
  SetModificationTime(name + begun, 1367935389);
  Texts states;
  const nlohmann::json caches = Ask({})["caches"];
  for (const nlohmann::json& cache : caches) states.push_back(cache["state"]);
  EXPECT_THAT(states, ElementsAre("outdated", "outdated", "stranger", "leftover"));
  EXPECT_THAT(Removed({"--remove-orphans"}), ElementsAre(earlier, empty, begun));
  EXPECT_THAT(EntryNames(Home() + "/checked"), ElementsAre(notes));
}

TEST_F(Caches, OfASaveThatIsOnStay) {
  Index();
  const std::string unfinished = mArchives + "/b.id3.unfinished.id3";
  WriteFile(unfinished, "");
  SetModificationTime(unfinished, 1367935389);
  const FileHandle locked(open(unfinished.c_str(), O_RDWR | O_CLOEXEC));
  ASSERT_EQ(flock(locked.Get(), LOCK_EX | LOCK_NB), 0);
  EXPECT_THAT(Told({mArchives}), Contains("busy beside b"));
  EXPECT_THAT(Removed({mArchives, "--remove-orphans"}, 3), IsEmpty());
  EXPECT_TRUE(FileExists(unfinished));
}

TEST_F(Caches, WhatIsBeingFoundOutStays) {
  Index();
  fs::create_directories(Home() + "/checked");
  const std::string unfinished = Home() + "/checked/" + std::string(32, 'a') + ".abc123";
  WriteFile(unfinished, "zel3 checked 1 0\n");
  EXPECT_THAT(Removed({"--remove-orphans"}, 3), IsEmpty());
  SetModificationTime(unfinished, 1367935389);
  EXPECT_THAT(Removed({"--remove-orphans"}), ElementsAre(std::string(32, 'a') + ".abc123"));
}

// Names in folders of indexes contain the local time.
TEST_F(Caches, UnderTheClockOfAnotherTimeZoneAreUnused) {
  IndexAPrivately();
  SetModificationTime(mArchives + "/a.zel3", 1367935389 + 9 * 3600);
  EXPECT_THAT(Told({mArchives}), Contains(std::string("unused private ") + kStemOfA));
  EXPECT_THAT(Removed({mArchives, "--remove-orphans"}), IsEmpty());
}

TEST_F(Caches, StrangersSurviveEverything) {
  IndexAPrivately();
  const std::string text = "No cache has such a shape.";
  const Bytes entries = ReadFile(OfA(".id3"));
  const std::string folder = Private() + "/";
  for (const std::string name : {"notes", "24.05.01 00-00-00 x.id3", "24.05.01 00-00-00 x.hdr",
                                 "24.05.01 00-00-00 x.evt", ".hidden.id3"}) {
    WriteFile(folder + name, text);
  }
  WriteFile(folder + "song.id3", entries);
  WriteFile(*this / "kept", entries);
  fs::create_symlink(*this / "kept", folder + "24.05.01 00-00-00 link.id3");
  fs::create_hard_link(*this / "kept", folder + "24.05.01 00-00-00 hard.id3");
  fs::create_directory(folder + "24.05.01 00-00-00 folder.id3");
  WriteFile(Home() + "/notes", text);
  fs::create_directory(Home() + "/0123456789abcdef");
  fs::create_directory_symlink(mArchives, Home() + "/" + std::string(32, 'f'));
  fs::create_directories(Home() + "/checked");
  WriteFile(Home() + "/checked/" + std::string(32, 'b'), "zel3 checked 1 of my own notes\n");
  WriteFile(Home() + "/checked/notes", "zel3 checked 1 0\n");
  for (const char* const name : {"/song.hdr", "/b.evt.unfinished.evt"})
    WriteFile(mArchives + name, text);
  for (const char* const suffix : {".evt", ".hdr", ".id3"}) fs::remove(OfA(suffix));
  for (const char* const suffix : {".evt", ".hdr", ".id3"}) fs::remove(mArchives + "/b" + suffix);
  const FolderSnapshot home = SnapshotOf(Home());
  const FolderSnapshot all = SnapshotOf(Folder());
  for (const char* const wish : {"--remove-orphans", "--remove-all"}) {
    EXPECT_THAT(Removed({mArchives, wish}), IsEmpty());
    EXPECT_EQ(SnapshotOf(Home()), home);
    EXPECT_EQ(SnapshotOf(Folder()), all);
  }
  EXPECT_THAT(Run({"caches"}).out, HasSubstr("0 caches in 0 files, 0 bytes; "));
}

TEST_F(Caches, BesideArchivesAreOnlyThoseOfArchives) {
  WriteFile(mArchives + "/scan.hdr", Bytes(8, 0));
  for (const char* const name : {"/x.id3", "/x.evt"}) WriteFile(mArchives + name, "");
  EXPECT_THAT(Told({mArchives}), IsEmpty());
  EXPECT_THAT(Removed({mArchives, "--remove-all"}), IsEmpty());
  EXPECT_TRUE(FileExists(mArchives + "/scan.hdr"));
  EXPECT_TRUE(FileExists(mArchives + "/x.evt"));
}

TEST_F(Caches, InTheHandsOfAnotherProcessStay) {
  IndexAPrivately();
  const FileHandle locked(open(OfA(".id3").c_str(), O_RDWR | O_CLOEXEC));
  ASSERT_EQ(flock(locked.Get(), LOCK_EX | LOCK_NB), 0);
  EXPECT_THAT(Told({mArchives}), Contains(std::string("busy private ") + kStemOfA));
  for (const char* const wish : {"--remove-orphans", "--remove-all"}) {
    const ProgramResult result = Run({"caches", wish});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.err, "zel3: " + OfA(".*") + " stays: another process is using it\n");
    EXPECT_TRUE(FileExists(OfA(".id3")));
  }
}

TEST_F(Caches, OfAnotherUserStay) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can give a file to another user";
  IndexAPrivately();
  ASSERT_EQ(chown(OfA(".evt").c_str(), 1, 1), 0);
  const ProgramResult result = Run({"caches", "--remove-all"});
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_THAT(result.err, HasSubstr("stays: it belongs to another user"));
  EXPECT_TRUE(FileExists(OfA(".id3")));
}

TEST_F(Caches, PlacesThatOthersCanWriteAreNotLookedInto) {
  IndexAPrivately();
  fs::permissions(Private(), fs::perms::all);
  EXPECT_THAT(Told({}), ElementsAre("stranger private " + Private().substr(Home().size() + 1)));
  EXPECT_THAT(Removed({"--remove-all"}), Each(Not(StartsWith(kStemOfA))));
  EXPECT_TRUE(FileExists(OfA(".id3")));
  fs::permissions(Private(), fs::perms::owner_all);
  fs::rename(Home(), *this / "home");
  fs::create_directory_symlink(*this / "home", Home());
  const ProgramResult result = Run({"caches", "--remove-all"});
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(result.err,
            "zel3: " + Home() + " is not a folder that only this user can write; skipped\n");
  EXPECT_TRUE(FileExists(OfA(".id3")));
}

TEST_F(Caches, LookingChangesNothing) {
  IndexAPrivately();
  const FolderSnapshot home = SnapshotOf(Home());
  const FolderSnapshot all = SnapshotOf(Folder());
  for (const Arguments& options : {Arguments{}, Arguments{"--remove-all", "--dry-run"}}) {
    Arguments arguments{"caches", mArchives};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const ProgramResult result = Run(arguments);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
  }
  EXPECT_EQ(SnapshotOf(Home()), home);
  EXPECT_EQ(SnapshotOf(Folder()), all);
}

TEST_F(Caches, NamesAreShownSafely) {
  fs::rename(mArchives + "/a.zel3", mArchives + "/a\x1b[31m.zel3");
  Index();
  EXPECT_THAT(Run({"caches", mArchives}).out, HasSubstr("a\\u001b[31m.*"));
}

TEST_F(Caches, BadArgumentsAreUsageErrors) {
  for (const Arguments& arguments :
       {Arguments{"--dry-run"}, Arguments{"--remove-all", "--remove-orphans"},
        Arguments{"--format", "csv"}}) {
    Arguments all{"caches"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    EXPECT_EQ(Run(all).exitCode, 2);
  }
  EXPECT_EQ(Run({"caches", *this / "missing"}).exitCode, 1);
}
