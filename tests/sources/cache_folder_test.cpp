#include "sources/cache_folder.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "support/folder_snapshot.h"
#include "support/program.h"
#include "support/read_only_folder.h"
#include "support/sample_archive.h"
#include "support/unprivileged.h"

using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

class AskedCacheFolder : public ProgramTest {
 protected:
  Json JsonOf(Arguments arguments, const std::string& folder) {
    arguments.insert(arguments.end(), {"--format", "json", "--cache-folder", folder});
    return Json::parse(Run(arguments).out);
  }

  const GroundTruth mTruth = WriteScenario(Folder() + "/archives", SampleScenario());
  const std::string mArchives = *this / "archives";
  const std::string mCaches = *this / "caches";
};

}  // namespace

TEST_F(AskedCacheFolder, IsMadeForItsOwnerOnly) {
  const std::string folder = mCaches + "/below";
  EXPECT_EQ(Run({"index", mArchives, "--cache-folder", folder}).exitCode, 0);
  EXPECT_EQ(EntryNames(folder).size(), 9U);
  for (const std::string& made : {mCaches, folder})
    EXPECT_EQ(fs::status(made).permissions(), fs::perms::owner_all) << made;
  EXPECT_EQ(EntryNames(mArchives).size(), 3U);
}

TEST_F(AskedCacheFolder, ThatHoldsAnythingElseIsRefused) {
  const struct {
    const char* name;
    std::string contents;
  } strangers[] = {
      {"scan.hdr", "8 bytes."},
      {"24.05.01 00-01-00 cam.hdr", "What the weather was like"},
      {"24.05.01 00-01-00 .id3", ""},
      {"24-05-01 00-01-00 cam.id3", ""},
      {"24.05.01 00-01-00 cam.ID3", ""},
      {"24.05.01 00-01-00 cam.zel3", ""},
      {".hidden", ""},
  };
  for (const auto& stranger : strangers) {
    SCOPED_TRACE(stranger.name);
    fs::create_directory(mCaches);
    WriteFile(mCaches + "/24.05.01 00-01-00 cam.evt", "");
    WriteFile(mCaches + "/" + stranger.name, stranger.contents);
    const FolderSnapshot before = SnapshotOf(mCaches);
    for (const char* const verb : {"index", "info", "events", "doctor"}) {
      const ProgramResult result = Run({verb, mArchives, "--cache-folder", mCaches});
      EXPECT_EQ(result.exitCode, 2);
      EXPECT_EQ(result.err, "zel3: the cache folder " + mCaches + " holds " + stranger.name +
                                ", which is not an index; readers delete old files there\n");
    }
    EXPECT_EQ(SnapshotOf(mCaches), before);
    fs::remove_all(mCaches);
  }
}

TEST_F(AskedCacheFolder, NamesTheFirstStranger) {
  fs::create_directories(mCaches + "/b folder");
  WriteFile(mCaches + "/c", "");
  WriteFile(mCaches + "/a", "");
  EXPECT_THAT(Run({"index", mArchives, "--cache-folder", mCaches}).err,
              HasSubstr("holds a, which"));
}

TEST_F(AskedCacheFolder, MayHoldACacheThatIsJustBeingWritten) {
  fs::create_directory(mCaches);
  WriteFile(mCaches + "/24.05.01 00-01-00 cam.id3", std::string(30, '\0'));
  WriteFile(mCaches + "/24.05.01 00-01-00 cam.evt.unfinished.evt", "\1");
  EXPECT_EQ(Run({"index", mArchives, "--cache-folder", mCaches}).exitCode, 0);
}

TEST_F(AskedCacheFolder, CanBeNamedInAnyWay) {
  ASSERT_EQ(Run({"index", mArchives, "--cache-folder", mCaches + "/"}).exitCode, 0);
  fs::create_directory_symlink(mCaches, *this / "link");
  const FolderSnapshot before = SnapshotOf(mCaches);
  const std::string time = std::to_string(SampleTime(105));
  for (const std::string& folder :
       {mCaches, mCaches + "/", mCaches + "//", mArchives + "/../caches", *this / "link"}) {
    SCOPED_TRACE(folder);
    const Json doctor = JsonOf({"doctor", mArchives}, folder);
    for (const Json& file : doctor["files"]) EXPECT_EQ(file["cache"], "sound");
    const Json index = JsonOf({"index", mArchives}, folder);
    for (const Json& file : index["files"]) EXPECT_EQ(file["state"], "cached");
    const Json answer = JsonOf({"seek", mArchives, time, "--explain"}, folder);
    EXPECT_EQ(answer["index"], "cached");
    EXPECT_EQ(answer["file"], mTruth.files[1].name);
    EXPECT_EQ(Run({"activity", mArchives, "--stream", "1", "--no-index", "--cache-folder", folder})
                  .exitCode,
              0);
  }
  EXPECT_EQ(SnapshotOf(mCaches), before);
}

TEST_F(AskedCacheFolder, ThatACreationRecordCannotHoldIsRefused) {
  for (const std::string& folder : {*this / "K\xc3\xbc"
                                            "che",
                                    *this / std::string(250, 'x') + "/y"}) {
    const ProgramResult result = Run({"index", mArchives, "--cache-folder", folder});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.err, HasSubstr("260"));
    EXPECT_FALSE(FileExists(folder));
  }
  WriteFile(mCaches, "a file");
  const ProgramResult result = Run({"index", mArchives, "--cache-folder", mCaches});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_THAT(result.err, HasSubstr("is not a folder"));
}

TEST_F(AskedCacheFolder, ThatCannotBeWrittenServesWhatItHolds) {
  ASSERT_EQ(Run({"index", mArchives, "--cache-folder", mCaches}).exitCode, 0);
  const auto index = [this] {
    const ReadOnlyFolder readOnly(mCaches);
    Start({"index", mArchives, "--cache-folder", mCaches}, BecomeUnprivileged);
    return Finish();
  };
  EXPECT_EQ(index().exitCode, 0);
  fs::remove(mCaches + "/" + EntryNames(mCaches)[0]);
  const ProgramResult result = index();
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.err,
              MatchesRegex("zel3: cannot write the cache folder .*Permission denied\n"));
  EXPECT_THAT(EntryNames(Temporary()), IsEmpty());
}

TEST_F(AskedCacheFolder, GivesNoNameToAnArchiveWithoutASuffix) {
  fs::copy_file(SampleFile(mArchives, mTruth, 0), *this / "cam");
  const ProgramResult result = Run({"info", *this / "cam", "--cache-folder", mCaches});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_THAT(result.err, HasSubstr("has no suffix"));
}
