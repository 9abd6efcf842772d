#include <gmock/gmock.h>

#include <filesystem>

#include "archive/archive_writer.h"
#include "support/folder_snapshot.h"
#include "support/program.h"
#include "support/sample_archive.h"

namespace {

namespace fs = std::filesystem;

class NoIndex : public ProgramTest {
 protected:
  void Write(const std::string& name, const std::vector<std::uint32_t>& times) {
    ArchiveWriter writer(mFolder + "/" + name + ".zel3");
    writer.WriteHeader(OneStreamHeader());
    for (const std::uint32_t time : times) {
      writer.WriteIndex({time, 0, 1});
      writer.WriteData(0xFA, 3, reinterpret_cast<const unsigned char*>("event"), 5);
    }
    writer.Close();
    SetModificationTime(mFolder + "/" + name + ".zel3", times.back());
  }

  std::string Events(const std::string& source) {
    return Run({"events", source, "--format", "csv", "--no-index"}).out;
  }

  // Nothing on the disk differs from before, settings included.
  void ExpectNoChange(Arguments arguments, int exitCode) {
    arguments.insert(arguments.end(), {"--settings-folder", *this / "settings"});
    const FolderSnapshot before = SnapshotOf(Folder());
    const ProgramResult result = Run(arguments);
    EXPECT_EQ(result.exitCode, exitCode) << result.err;
    EXPECT_EQ(SnapshotOf(Folder()), before);
    EXPECT_FALSE(FileExists(CacheHome()));
    EXPECT_THAT(EntryNames(Temporary()), testing::IsEmpty());
  }

  const std::string mFolder = NewFolder();

 private:
  std::string NewFolder() {
    fs::create_directory(*this / "archives");
    return *this / "archives";
  }
};

}  // namespace

// One half of a cache alone, and all of an unfinished one.
TEST_F(NoIndex, LeavesASingleFileAndItsCacheAlone) {
  Write("a", {10, 20, 30});
  const std::string path = mFolder + "/a.zel3";
  ASSERT_EQ(Run({"index", path}).exitCode, 0);
  fs::remove(mFolder + "/a.evt");
  ExpectNoChange({"events", path, "--no-index"}, 0);
  ExpectNoChange({"activity", path, "--stream", "1", "--no-index"}, 3);
  fs::resize_file(mFolder + "/a.hdr", 0);
  fs::resize_file(mFolder + "/a.id3", 0);
  WriteFile(mFolder + "/a.evt", "");
  ExpectNoChange({"events", path, "--no-index"}, 0);
  ASSERT_EQ(Run({"events", path}).exitCode, 0);
  ExpectNoChange({"events", path, "--no-index"}, 0);
}

// A question about a time that such a file holds would make the reader begin to build its index.
TEST_F(NoIndex, AsksNothingThatWouldBuildTheIndexOfAFileOfAFolder) {
  Write("a", {1000, 1010, 1020, 1030, 1040});
  Write("b", {1015, 1025, 1035});
  Write("c", {1041, 1050, 1060});
  for (const char* const name : {"b", "c"}) {
    SCOPED_TRACE(name);
    ASSERT_EQ(Run({"index", Folder() + "/archives"}).exitCode, 0);
    fs::remove(mFolder + "/" + name + ".evt");
    ExpectNoChange({"activity", mFolder, "--stream", "1", "--bins", "100", "--no-index"}, 3);
    ExpectNoChange({"events", mFolder, "--no-index"}, 0);
  }
}

TEST_F(NoIndex, MakesNoFolderAndDeletesNothing) {
  Write("a", {10, 20, 30});
  WriteFile(mFolder + "/a.hdr", "precious");
  ExpectNoChange({"events", mFolder, "--no-index"}, 0);
  ExpectNoChange({"activity", mFolder, "--stream", "1", "--no-index"}, 3);
  ExpectNoChange({"events", mFolder, "--no-index", "--cache-folder", *this / "none"}, 0);
  EXPECT_FALSE(FileExists(*this / "none"));
}

TEST_F(NoIndex, DeletesNoIndexToKeepALimit) {
  const std::string caches = *this / "caches";
  Write("a", {10, 20, 30});
  ASSERT_EQ(Run({"index", mFolder, "--cache-folder", caches}).exitCode, 0);
  ExpectNoChange({"events", mFolder, "--no-index", "--cache-folder", caches}, 0);
  fs::create_directory(*this / "settings");
  WriteFile(*this / "settings/zel3index_cache", "ID3_HDR_EVT_total_MB=0\n");
  ExpectNoChange({"events", mFolder, "--no-index", "--cache-folder", caches}, 0);
  WriteFile(*this / "settings/zel3index_cache", "ID3_HDR_EVT_total_MB=1\n");
  ExpectNoChange({"events", mFolder, "--no-index", "--cache-folder", caches}, 0);
}
