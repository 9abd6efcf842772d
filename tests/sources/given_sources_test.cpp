#include "sources/given_sources.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "support/temp_folder.h"
#include "support/unprivileged.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class GivenSources : public testing::Test {
 protected:
  // Writes empty files, and the folders that they lie in.
  void Write(const std::vector<std::string>& names) {
    for (const std::string& name : names) {
      std::filesystem::create_directories(std::filesystem::path(mFolder / name).parent_path());
      WriteFile(mFolder / name, "");
    }
  }

  void Link(const std::string& target, const std::string& name) {
    ASSERT_EQ(symlink((mFolder / target).c_str(), (mFolder / name).c_str()), 0);
  }

  FoundSources Find(const std::vector<std::string>& names, bool recursive = false,
                    bool merge = false) const {
    SourceArguments arguments;
    for (const std::string& name : names) arguments.paths.push_back(mFolder / name);
    arguments.recursive = recursive;
    arguments.merge = merge;
    return FindSources(arguments);
  }

  // Each as its path and its files, from the folder of the test: "cam1: a.zel3 b.zel3".
  std::vector<std::string> Shown(const FoundSources& found) const {
    std::vector<std::string> shown;
    for (const GivenSource& source : found.sources) {
      std::string text = Below(source.path, mFolder.Path()) + (source.isFolder ? ":" : "");
      for (const std::string& file : source.files) {
        if (source.isFolder) text += " " + Below(file, source.path);
      }
      shown.push_back(text);
    }
    return shown;
  }

  static std::string Below(const std::string& path, const std::string& folder) {
    return path == folder ? "." : path.substr(folder.size() + 1);
  }

  static std::vector<std::string> ProblemsOf(const FoundSources& found) {
    std::vector<std::string> problems;
    for (const SourceProblem& problem : found.problems)
      problems.push_back(std::to_string(problem.exitCode) + " " + problem.text);
    return problems;
  }

  const TempFolder mFolder;
};

}  // namespace

TEST_F(GivenSources, AFolderAndAFileAreOneTimelineEach) {
  Write({"cam1/b.zel3", "cam1/a.zel3", "cam1/notes.txt", "cam1/.hidden.zel3", "alone.zel3"});
  const FoundSources folder = Find({"cam1"});
  EXPECT_THAT(Shown(folder), ElementsAre("cam1: a.zel3 b.zel3"));
  EXPECT_FALSE(folder.areMany);
  const FoundSources file = Find({"alone.zel3"});
  EXPECT_THAT(Shown(file), ElementsAre("alone.zel3"));
  EXPECT_FALSE(file.areMany);
}

TEST_F(GivenSources, FilesNamedOneByOneAreATimelineOfTheirFolder) {
  Write({"cam1/a.zel3", "cam1/b.zel3", "cam1/c.zel3", "cam2/a.zel3", "cam2/b.zel3"});
  const FoundSources found =
      Find({"cam1/c.zel3", "cam2/b.zel3", "cam1/a.zel3", "cam1/../cam2/a.zel3"});
  EXPECT_THAT(Shown(found), ElementsAre("cam1: a.zel3 c.zel3", "cam2: a.zel3 b.zel3"));
  EXPECT_TRUE(found.areMany);
  EXPECT_FALSE(Find({"cam1/c.zel3", "cam1/a.zel3"}).areMany) << "as a shell gives cam1/*.zel3";
}

TEST_F(GivenSources, WhatIsNamedTwiceCountsOnce) {
  Write({"cam1/a.zel3", "cam1/b.zel3"});
  Link("cam1", "again");
  Link("cam1/a.zel3", "link.zel3");
  std::filesystem::create_hard_link(mFolder / "cam1/b.zel3", mFolder / "hard.zel3");
  EXPECT_THAT(Shown(Find({"cam1", "cam1/", "again"})), ElementsAre("cam1: a.zel3 b.zel3"));
  EXPECT_THAT(Shown(Find({"cam1/a.zel3", "link.zel3", "again/a.zel3"})),
              ElementsAre("cam1/a.zel3"));
  for (const char* const other : {"cam1/a.zel3", "link.zel3", "hard.zel3"}) {
    EXPECT_THAT(Shown(Find({other, "cam1"})), ElementsAre("cam1: a.zel3 b.zel3")) << other;
    EXPECT_FALSE(Find({other, "cam1"}).areMany) << other;
  }
}

TEST_F(GivenSources, OfATreeEachFolderWithArchivesIsATimeline) {
  Write({"cams/top.zel3", "cams/b/day2/x.zel3", "cams/b/day1/x.zel3", "cams/b/day1/y.zel3",
         "cams/a/notes.txt", "cams/.hidden/x.zel3"});
  std::filesystem::create_directory(mFolder / "cams/empty");
  const FoundSources found = Find({"cams"}, true);
  EXPECT_THAT(Shown(found),
              ElementsAre("cams: top.zel3", "cams/b/day1: x.zel3 y.zel3", "cams/b/day2: x.zel3"));
  EXPECT_TRUE(found.areMany);
  EXPECT_THAT(found.problems, IsEmpty());
  EXPECT_TRUE(Find({"cams/b/day2"}, true).areMany) << "also with one";
}

TEST_F(GivenSources, ATreeIsLeftByNoLoop) {
  Write({"cams/a/x.zel3", "elsewhere/y.zel3"});
  Link("cams", "cams/a/loop");
  Link("cams/a", "cams/0");
  Link("elsewhere", "cams/far");
  EXPECT_THAT(Shown(Find({"cams"}, true)), ElementsAre("cams/a: x.zel3", "cams/far: y.zel3"));
  EXPECT_THAT(Shown(Find({"cams", "cams/a", "elsewhere"}, true)),
              ElementsAre("cams/a: x.zel3", "cams/far: y.zel3"));
}

TEST_F(GivenSources, WhatCannotBeFoundIsAProblem) {
  Write({"cam1/a.zel3"});
  std::filesystem::create_directory(mFolder / "empty");
  const FoundSources missing = Find({"cam1", "missing"});
  EXPECT_THAT(Shown(missing), ElementsAre("cam1: a.zel3"));
  EXPECT_THAT(ProblemsOf(missing), ElementsAre("1 nothing exists at " + mFolder / "missing"));
  EXPECT_TRUE(missing.areMany);
  const FoundSources empty = Find({"empty"}, true);
  EXPECT_THAT(Shown(empty), IsEmpty());
  EXPECT_THAT(ProblemsOf(empty), ElementsAre("1 no archive in " + mFolder / "empty or below"));
}

TEST_F(GivenSources, AFolderThatCannotBeLookedIntoIsAProblem) {
  Write({"cams/a/x.zel3", "cams/closed/y.zel3"});
  chmod((mFolder / "cams/closed").c_str(), 0);
  const FoundSources found = [this] {
    const Unprivileged likeOthers;
    return Find({"cams"}, true);
  }();
  chmod((mFolder / "cams/closed").c_str(), 0700);
  EXPECT_THAT(Shown(found), ElementsAre("cams/a: x.zel3"));
  EXPECT_THAT(ProblemsOf(found),
              ElementsAre("3 cannot look into " + mFolder / "cams/closed" + ": Permission denied"));
}

TEST_F(GivenSources, MergedTheyAreOneTimelineOfTheFolderAboveAll) {
  Write({"all/cam1/a.zel3", "all/cam2/a.zel3", "all/cam2/b.zel3", "all/alone.zel3"});
  const FoundSources found = Find({"all/cam2", "all/cam1", "all/alone.zel3"}, false, true);
  EXPECT_THAT(Shown(found), ElementsAre("all: cam2/a.zel3 cam2/b.zel3 cam1/a.zel3 alone.zel3"));
  EXPECT_FALSE(found.areMany);
  EXPECT_THAT(Shown(Find({"all"}, true, true)),
              ElementsAre("all: alone.zel3 cam1/a.zel3 cam2/a.zel3 cam2/b.zel3"));
  EXPECT_THAT(Shown(Find({"all/cam1"}, false, true)), ElementsAre("all/cam1: a.zel3"));
  EXPECT_THAT(Shown(Find({"all/cam1/a.zel3"}, false, true)), ElementsAre("all/cam1/a.zel3"));
}

TEST_F(GivenSources, MergedFilesCountOnce) {
  Write({"cam1/a.zel3"});
  std::filesystem::create_directory(mFolder / "best");
  Link("cam1/a.zel3", "best/copy.zel3");
  EXPECT_THAT(Shown(Find({"cam1", "best"}, false, true)), ElementsAre(".: cam1/a.zel3"));
}

TEST_F(GivenSources, FoldersWithoutArchivesAreMissedWhenTheyAreMerged) {
  Write({"cam1/a.zel3"});
  std::filesystem::create_directory(mFolder / "empty");
  const FoundSources found = Find({"cam1", "empty"}, false, true);
  EXPECT_THAT(Shown(found), ElementsAre("cam1: a.zel3"));
  EXPECT_THAT(ProblemsOf(found), ElementsAre("1 no archive in " + mFolder / "empty"));
}
