#include <gmock/gmock.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "support/folder_snapshot.h"
#include "support/program.h"
#include "support/read_only_folder.h"
#include "support/sample_archive.h"
#include "support/unprivileged.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

namespace fs = std::filesystem;

class Outputs : public ProgramTest {
 protected:
  Outputs() { fs::create_directory(mOut); }

  Arguments ReadTo(const std::string& path) const {
    return {"read", mArchives, "0", std::to_string(SampleTime(60)), "-o", path};
  }

  static void LimitFiles() {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit small{1000, 1000};
    setrlimit(RLIMIT_FSIZE, &small);
  }

  const GroundTruth mTruth = WriteScenario(Folder() + "/archives", SampleScenario());
  const std::string mArchives = *this / "archives";
  const std::string mOut = *this / "out";
  const std::string mFirst = SampleFile(mArchives, mTruth, 0);
  const Bytes mBytes = ReadFile(mFirst);
};

std::string TextOf(const std::string& path) {
  const Bytes bytes = ReadFile(path);
  return std::string(bytes.begin(), bytes.end());
}

}  // namespace

TEST_F(Outputs, AFileIsReplacedAndKeepsItsRights) {
  const std::string path = mOut + "/range";
  ASSERT_EQ(Run(ReadTo(path)).exitCode, 0);
  EXPECT_EQ(ReadFile(path), mBytes);
  WriteFile(path, "earlier");
  ASSERT_EQ(chmod(path.c_str(), 0640), 0);
  ASSERT_EQ(Run(ReadTo(path)).exitCode, 0);
  EXPECT_EQ(ReadFile(path), mBytes);
  EXPECT_EQ(static_cast<unsigned>(fs::status(path).permissions()), 0640U);
  EXPECT_THAT(EntryNames(mOut), ElementsAre("range"));
}

TEST_F(Outputs, ANewFileHasTheRightsThatTheUserGivesNewFiles) {
  const std::string path = mOut + "/range";
  Start(ReadTo(path), [] { umask(027); });
  ASSERT_EQ(Finish().exitCode, 0);
  EXPECT_EQ(static_cast<unsigned>(fs::status(path).permissions()), 0640U);
}

TEST_F(Outputs, TheEarlierFileStaysWhenTheDiskIsFull) {
  ASSERT_EQ(Run({"index", mArchives}).exitCode, 0);
  const std::vector<Arguments> verbs{
      ReadTo(mOut + "/range"),
      {"report", mArchives, "-o", mOut + "/page"},
      {"make", *this / "made", "--length", "30s", "--files", "1", "--payload", "8", "--interval",
       "1s", "--events", "0", "--truth", mOut + "/truth"},
  };
  for (const char* const name : {"range", "page", "truth"}) WriteFile(mOut + "/" + name, "earlier");
  const FolderSnapshot before = SnapshotOf(mOut);
  for (const Arguments& arguments : verbs) {
    Start(arguments, LimitFiles);
    const ProgramResult result = Finish();
    EXPECT_EQ(result.exitCode, 1) << arguments[0];
    EXPECT_THAT(result.err, HasSubstr("cannot write")) << arguments[0];
    EXPECT_EQ(SnapshotOf(mOut), before) << arguments[0];
  }
}

TEST_F(Outputs, TheEarlierFileStaysWhenNothingIsFound) {
  WriteFile(mOut + "/range", "earlier");
  EXPECT_EQ(Run({"read", mArchives, "5", "6", "-o", mOut + "/range"}).exitCode, 4);
  EXPECT_EQ(TextOf(mOut + "/range"), "earlier");
}

TEST_F(Outputs, TheFileThatALinkLeadsToIsReplaced) {
  fs::create_symlink("range", mOut + "/link");
  fs::create_symlink("link", mOut + "/far");
  for (int i = 0; i < 2; ++i) {
    ASSERT_EQ(Run(ReadTo(mOut + "/far")).exitCode, 0);
    EXPECT_EQ(ReadFile(mOut + "/range"), mBytes);
    EXPECT_TRUE(fs::is_symlink(mOut + "/link"));
    WriteFile(mOut + "/range", "earlier");
  }
}

TEST_F(Outputs, AnotherNameOfAFileKeepsTheEarlierOne) {
  WriteFile(mOut + "/range", "earlier");
  fs::create_hard_link(mOut + "/range", mOut + "/other");
  ASSERT_EQ(Run(ReadTo(mOut + "/range")).exitCode, 0);
  EXPECT_EQ(ReadFile(mOut + "/range"), mBytes);
  EXPECT_EQ(TextOf(mOut + "/other"), "earlier");
}

TEST_F(Outputs, WhatTheUserMayNotWriteStays) {
  WriteFile(mOut + "/range", "earlier");
  ASSERT_EQ(chmod((mOut + "/range").c_str(), 0444), 0);
  Start(ReadTo(mOut + "/range"), BecomeUnprivileged);
  const ProgramResult result = Finish();
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.err, HasSubstr("Permission denied"));
  EXPECT_EQ(TextOf(mOut + "/range"), "earlier");
}

TEST_F(Outputs, NoNewArchiveReplacesWhatTheUserMayNotWrite) {
  const std::string path = mOut + "/a.zel3";
  WriteFile(path, "earlier");
  for (const char* const name : {"/a.id3", "/a.evt", "/a.hdr"}) WriteFile(mOut + name, "");
  ASSERT_EQ(chmod(path.c_str(), 0444), 0);
  Start({"mend", mFirst, "-o", path, "--force"}, BecomeUnprivileged);
  const ProgramResult result = Finish();
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.err, HasSubstr("Permission denied"));
  EXPECT_EQ(TextOf(path), "earlier");
  EXPECT_TRUE(fs::exists(mOut + "/a.id3"));
}

TEST_F(Outputs, AnArchiveOrItsIndexIsNeverTheOutput) {
  ASSERT_EQ(Run({"index", mArchives}).exitCode, 0);
  const std::string stem = mFirst.substr(0, mFirst.size() - 4);
  fs::create_symlink(mFirst, mOut + "/link");
  fs::create_symlink("link", mOut + "/far");
  fs::create_hard_link(mFirst, mOut + "/other name");
  fs::create_directory_symlink(mArchives, *this / "folder");
  const std::string throughAFolder = *this / ("folder/" + mTruth.files[0].name);
  fs::remove(stem + "hdr");
  const FolderSnapshot before = SnapshotOf(Folder());
  for (const std::string& output :
       {mFirst, mOut + "/link", mOut + "/far", mOut + "/other name", throughAFolder, stem + "id3",
        stem + "hdr", stem + "evt", throughAFolder.substr(0, throughAFolder.size() - 4) + "hdr"}) {
    for (const Arguments& arguments : {ReadTo(output), Arguments{"report", mFirst, "-o", output}}) {
      SCOPED_TRACE(testing::PrintToString(arguments));
      fs::remove(stem + "hdr");
      const ProgramResult result = Run(arguments);
      EXPECT_EQ(result.exitCode, 2);
      EXPECT_THAT(result.err, StartsWith("zel3: the output is "));
    }
  }
  EXPECT_EQ(SnapshotOf(Folder()), before);
}

TEST_F(Outputs, WhatTakesBytesAsTheyComeIsWrittenInPlace) {
  const std::string text(mBytes.begin(), mBytes.end());
  for (const char* const path : {"-", "/dev/stdout", "/dev/fd/1", "/proc/self/fd/1"}) {
    const ProgramResult result = Run(ReadTo(path));
    EXPECT_EQ(result.exitCode, 0) << path;
    EXPECT_EQ(result.out, text) << path;
  }
  EXPECT_EQ(Run(ReadTo("/dev/null")).exitCode, 0);
  EXPECT_TRUE(fs::is_character_file("/dev/null"));
  fs::create_symlink("/dev/null", mOut + "/null");
  EXPECT_EQ(Run(ReadTo(mOut + "/null")).exitCode, 0);
  EXPECT_TRUE(fs::is_symlink(mOut + "/null"));
}

TEST_F(Outputs, MakeReplacesOnlyWhatItHasMadeItself) {
  const std::string folder = *this / "made";
  const Arguments make{"make", folder,    "--length",  "1m", "--files",
                       "1",    "--force", "--payload", "100"};
  ASSERT_EQ(Run(make).exitCode, 0);
  const std::string name = EntryNames(folder).at(0);
  const std::string path = folder + "/" + name;
  const std::string stem = path.substr(0, path.size() - 4);
  EXPECT_EQ(Run(make).exitCode, 0) << "its own";

  const std::string mine = *this / "mine";
  const struct {
    const char* what;
    std::function<void()> put;
  } cases[] = {
      {"another archive",
       [&] {
         fs::copy_file(mFirst, path);
         WriteFile(path, TextOf(path).replace(10, 1, "X"));
       }},
      {"a file", [&] { WriteFile(path, "precious"); }},
      {"a link", [&] { fs::create_symlink(mine, path); }},
      {"a link to nothing", [&] { fs::create_symlink(folder + "/nothing", path); }},
      {"a folder", [&] { fs::create_directory(path); }},
      {"a pipe", [&] { ASSERT_EQ(mkfifo(path.c_str(), 0600), 0); }},
      {"a file with the name of its index", [&] { WriteFile(stem + "hdr", "precious"); }},
      {"a link with the name of its index", [&] { fs::create_symlink(mine, stem + "evt"); }},
  };
  WriteFile(mine, "precious");
  for (const auto& row : cases) {
    SCOPED_TRACE(row.what);
    fs::remove_all(folder);
    fs::create_directory(folder);
    row.put();
    const FolderSnapshot before = SnapshotOf(Folder());
    const ProgramResult result = Run(make);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, HasSubstr("is in the way: it was not made by this program"));
    EXPECT_EQ(SnapshotOf(Folder()), before);
  }
}

TEST_F(Outputs, MakeKeepsTheGroundTruthOffItsArchives) {
  const std::string folder = *this / "made";
  const Arguments make{"make", folder, "--length", "1m", "--files", "1", "--payload", "100"};
  ASSERT_EQ(Run(make).exitCode, 0);
  const std::string path = folder + "/" + EntryNames(folder).at(0);
  const FolderSnapshot before = SnapshotOf(folder);
  for (const std::string& truth : {path, path.substr(0, path.size() - 4) + "id3"}) {
    Arguments arguments = make;
    arguments.insert(arguments.end(), {"--force", "--truth", truth});
    EXPECT_EQ(Run(arguments).exitCode, 2);
    EXPECT_EQ(SnapshotOf(folder), before);
  }
}

TEST_F(Outputs, MakeLeavesEarlierArchivesWhenTheDiskIsFull) {
  const std::string folder = *this / "made";
  const Arguments make{"make", folder, "--length", "1m", "--files", "1", "--force"};
  ASSERT_EQ(Run(make).exitCode, 0);
  ASSERT_EQ(Run({"index", folder}).exitCode, 0);
  const FolderSnapshot before = SnapshotOf(folder);
  Start(make, LimitFiles);
  EXPECT_EQ(Finish().exitCode, 1);
  EXPECT_EQ(SnapshotOf(folder), before);
}
