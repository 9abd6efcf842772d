#include "sources/index_place.h"

#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "support/folder_snapshot.h"
#include "support/program.h"
#include "support/read_only_folder.h"
#include "support/sample_archive.h"
#include "support/unprivileged.h"

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

class Places : public ProgramTest {
 protected:
  Places() { fs::rename(SampleFile(Folder(), WriteAll(), 0), mPath); }

  std::vector<std::string> States(const std::string& source) {
    mResult = Run({"index", source, "--format", "json"});
    std::vector<std::string> states;
    const Json json = Json::parse(mResult.out);
    for (const Json& file : json["files"]) states.push_back(file["state"]);
    return states;
  }

  // The folders that the program has made for indexes, each with a slash. The notes about archives
  // that it has checked, made when these are a few seconds old, stand beside them.
  std::vector<std::string> PrivateFolders() const {
    std::vector<std::string> folders;
    if (!FileExists(CacheHome() + "/zel3")) return folders;
    for (const std::string& name : EntryNames(CacheHome() + "/zel3")) {
      if (name != "checked") folders.push_back(CacheHome() + "/zel3/" + name + "/");
    }
    return folders;
  }

  void ExpectNotKept(const std::function<void()>& prepare, const std::string& why) {
    Start({"info", mPath}, prepare);
    const ProgramResult result = Finish();
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.err,
                StartsWith("zel3: the index is not kept: cam.hdr is not a cache file, and "));
    EXPECT_THAT(result.err, HasSubstr(why));
    EXPECT_THAT(EntryNames(Temporary()), IsEmpty()) << "what was made is gone";
  }

  const std::string mPath = *this / "cam.zel3";
  ProgramResult mResult;

 private:
  GroundTruth WriteAll() { return WriteScenario(Folder(), SampleScenario()); }
};

class Strangers : public Places, public testing::WithParamInterface<const char*> {};

// Puts something of each kind where a cache file of cam.zel3 would be.
void PutStranger(const std::string& kind, const std::string& folder) {
  WriteFile(folder + "/mine.txt", "precious");
  const auto at = [&folder](const char* name) { return folder + "/" + name; };
  if (kind == "text") WriteFile(at("cam.hdr"), "precious");
  if (kind == "torn") WriteFile(at("cam.id3"), std::string(25, '\0'));
  if (kind == "link") fs::create_symlink(at("mine.txt"), at("cam.evt"));
  if (kind == "dangling") fs::create_symlink(at("nowhere"), at("cam.evt"));
  if (kind == "hardlink") {
    WriteFile(at("empty"), "");
    fs::create_hard_link(at("empty"), at("cam.hdr"));
  }
  if (kind == "folder") fs::create_directory(at("cam.id3"));
  if (kind == "pipe") mkfifo(at("cam.evt").c_str(), 0600);
}

}  // namespace

TEST_P(Strangers, AreNeverTouchedAndTheIndexIsKeptElsewhere) {
  PutStranger(GetParam(), Folder());
  const FolderSnapshot before = SnapshotOf(Folder());
  EXPECT_THAT(States(mPath), ElementsAre("indexed"));
  EXPECT_EQ(mResult.err, "");
  EXPECT_EQ(mResult.exitCode, 0);
  EXPECT_THAT(States(mPath), ElementsAre("cached"));
  EXPECT_EQ(Run({"events", mPath, "--no-index"}).err, "zel3: no event is recorded there\n");
  EXPECT_EQ(Run({"doctor", mPath, "--rebuild"}).exitCode, 0);
  EXPECT_EQ(SnapshotOf(Folder()), before);

  ASSERT_THAT(PrivateFolders(), SizeIs(1));
  const std::string folder = PrivateFolders()[0];
  EXPECT_THAT(EntryNames(folder),
              ElementsAre("24.05.01 00-01-00 cam.evt", "24.05.01 00-01-00 cam.hdr",
                          "24.05.01 00-01-00 cam.id3"));
  for (const std::string& path : {folder, CacheHome() + "/zel3"})
    EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_all) << path;
  EXPECT_THAT(EntryNames(Temporary()), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(OfEachKind, Strangers,
                         testing::Values("text", "torn", "link", "dangling", "hardlink", "folder",
                                         "pipe"),
                         [](const auto& kind) { return std::string(kind.param); });

TEST_F(Places, ACacheOfAnUnfinishedRunIsMadeAnew) {
  for (const char* const name : {"cam.id3", "cam.hdr", "cam.evt"}) WriteFile(*this / name, "");
  EXPECT_THAT(States(mPath), ElementsAre("indexed"));
  EXPECT_EQ(ReadFile(*this / "cam.id3").size(), 6 * 24U);
  EXPECT_FALSE(FileExists(CacheHome()));
}

TEST_F(Places, AStrangerSendsTheIndexOfItsArchiveAway) {
  WriteFile(*this / "cam.hdr", "precious");
  const std::vector<std::string> before = EntryNames(Folder());
  EXPECT_THAT(States(Folder()), ElementsAre("indexed", "indexed", "indexed"));
  EXPECT_THAT(States(Folder()), ElementsAre("cached", "cached", "cached"));
  EXPECT_THAT(States(mPath), ElementsAre("cached")) << "asked by itself it has the same place";
  ASSERT_THAT(PrivateFolders(), SizeIs(1));
  EXPECT_THAT(EntryNames(PrivateFolders()[0]), SizeIs(3));
  EXPECT_THAT(EntryNames(Folder()), SizeIs(before.size() + 2 * 3))
      << "the others have theirs beside";
  EXPECT_FALSE(FileExists(*this / "cam.id3"));
  EXPECT_EQ(ReadFile(*this / "cam.hdr"), Bytes({'p', 'r', 'e', 'c', 'i', 'o', 'u', 's'}));
}

TEST_F(Places, FilesOfOneNameInTwoFoldersHaveEachItsOwnIndex) {
  const std::string others = *this / "others";
  const GroundTruth truth = WriteScenario(others, SampleScenario());
  fs::rename(SampleFile(others, truth, 2), others + "/cam.zel3");
  for (const std::string& folder : {Folder(), others}) {
    WriteFile(folder + "/cam.hdr", "precious");
    SetModificationTime(folder + "/cam.zel3", 1714521660);
  }
  const auto start = [this](const std::string& path) {
    return Json::parse(Run({"index", path, "--format", "json"}).out)["files"][0]["start"];
  };
  EXPECT_EQ(start(mPath), SampleTime(0));
  EXPECT_EQ(start(others + "/cam.zel3"), SampleTime(150));
  EXPECT_THAT(PrivateFolders(), SizeIs(2));
}

TEST_F(Places, DoctorAndExplainLookWhereTheIndexIs) {
  WriteFile(*this / "cam.evt", "precious");
  ASSERT_THAT(States(mPath), ElementsAre("indexed"));
  const Json doctor = Json::parse(Run({"doctor", mPath, "--format", "json"}).out);
  EXPECT_EQ(doctor["files"][0]["cache"], "sound");
  const Json answer = Json::parse(
      Run({"seek", mPath, std::to_string(SampleTime(25)), "--explain", "--format", "json"}).out);
  EXPECT_EQ(answer["file"], "cam.zel3");
  EXPECT_EQ(answer["index"], "cached");
  EXPECT_TRUE(answer["byteRange"].is_object());
  const std::string entries = PrivateFolders().at(0) + "24.05.01 00-01-00 cam.id3";
  fs::resize_file(entries, 3 * 24);
  const Json damaged = Json::parse(Run({"doctor", mPath, "--rebuild", "--format", "json"}).out);
  EXPECT_EQ(damaged["files"][0]["cache"], "unsound");
  EXPECT_EQ(fs::file_size(entries), 6 * 24U) << "made anew";
}

TEST_F(Places, WithoutAPlaceTheIndexIsNotKept) {
  WriteFile(*this / "cam.hdr", "precious");
  ExpectNotKept([] { WithoutPlaceForIndexes(); }, "neither XDG_CACHE_HOME nor HOME");
  ExpectNotKept(
      [] {
        setenv("XDG_CACHE_HOME", "relative/path", 1);
        unsetenv("HOME");
      },
      "neither XDG_CACHE_HOME nor HOME");
  ExpectNotKept([this] { setenv("XDG_CACHE_HOME", (*this / "\xc3\xbc").c_str(), 1); },
                "not in ASCII");
  ExpectNotKept([this] { setenv("XDG_CACHE_HOME", (*this / std::string(250, 'x')).c_str(), 1); },
                "longer than 260 bytes");
  WriteFile(*this / "mine.txt", "precious");
  ExpectNotKept([this] { setenv("XDG_CACHE_HOME", (*this / "mine.txt").c_str(), 1); }, "mine.txt");
}

TEST_F(Places, WhatOthersCouldHaveWrittenIsNotAPlace) {
  WriteFile(*this / "cam.hdr", "precious");
  const std::string home = CacheHome() + "/zel3";
  fs::create_directories(home);
  for (const int rights : {0777, 0770, 0722}) {
    ASSERT_EQ(chmod(home.c_str(), static_cast<mode_t>(rights)), 0);
    ExpectNotKept([] {}, "is not a folder that only this user can write");
  }
  ASSERT_EQ(chmod(home.c_str(), 0755), 0);
  ASSERT_THAT(States(mPath), ElementsAre("indexed"));
  const std::string folder = PrivateFolders().at(0);
  ASSERT_EQ(chmod(folder.c_str(), 0777), 0);
  ExpectNotKept([] {}, "is not a folder that only this user can write");
  fs::rename(home, *this / "elsewhere");
  fs::create_directory_symlink(*this / "elsewhere", home);
  ExpectNotKept([] {}, "is not a folder that only this user can write");
}

TEST_F(Places, AnInterruptLeavesNothingBehind) {
  Scenario scenario = SampleScenario();
  scenario.payloadBytesPerEntry = 2000000;
  const std::string folder = *this / "long";
  const std::string path = SampleFile(folder, WriteScenario(folder, scenario), 0);
  WriteFile(path.substr(0, path.size() - 4) + "hdr", "precious");
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    Start({"index", path}, [] { WithoutPlaceForIndexes(); });
    WaitForError("the index is not kept");
    SendSignal(signal);
    EXPECT_EQ(Finish().exitCode, 130);
    EXPECT_THAT(EntryNames(Temporary()), IsEmpty());
  }
}

TEST_F(Places, WholeIndexesAreUsedWhereNothingCanBeWritten) {
  ASSERT_THAT(States(Folder()), ElementsAre("indexed", "indexed", "indexed"));
  const auto index = [this] {
    const ReadOnlyFolder readOnly(Folder());
    Start({"index", Folder()}, BecomeUnprivileged);
    return Finish();
  };
  EXPECT_THAT(index().out, testing::Not(HasSubstr("indexed")));
  EXPECT_FALSE(FileExists(CacheHome()));
  fs::remove(*this / "cam.evt");
  const ProgramResult result = index();
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "");
  ASSERT_THAT(PrivateFolders(), SizeIs(1));
  EXPECT_THAT(EntryNames(PrivateFolders()[0]), SizeIs(3)) << "of the one that was not whole";
  EXPECT_THAT(EntryNames(Temporary()), IsEmpty()) << "not the folder that all users share";
}

TEST_F(Places, ReadersLeaveNothingInAFolderOfThisName) {
  const IndexPlace place = PlaceOfIndex("", "/videodata/cam.zel3");
  EXPECT_TRUE(place.isPrivate);
  EXPECT_TRUE(PlaceOfIndex("", "/videodata/below/cam.zel3").whyNotBeside != place.whyNotBeside);
}

TEST_F(Places, WhereNamesWouldNotBeThoseOfTheArchiveNothingStandsBesideIt) {
  const std::string folder = *this / "with.dot";
  fs::create_directory(folder);
  for (const char* const name : {"cam", ".zel3", "cam.evt"}) {
    const std::string path = folder + "/" + name;
    fs::copy_file(mPath, path);
    const FolderSnapshot before = SnapshotOf(Folder());
    Run({"info", path});
    EXPECT_EQ(SnapshotOf(Folder()), before) << name;
  }
  EXPECT_THAT(EntryNames(Temporary()), IsEmpty());
}
