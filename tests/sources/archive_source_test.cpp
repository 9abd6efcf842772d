#include "sources/archive_source.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>

#include "support/temp_folder.h"
#include "system/failure.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

namespace fs = std::filesystem;

class ArchiveSource : public testing::Test {
 protected:
  void Make(const std::string& name) { WriteFile(mFolder / name, "x"); }

  std::vector<std::string> Names(const std::string& folder) {
    std::vector<std::string> names;
    for (const std::string& path : archive_source::Files(folder))
      names.push_back(archive_source::FileName(path));
    return names;
  }

  const TempFolder mFolder;
};

}  // namespace

// A link that leads nowhere is listed, so that people see that it cannot be read.
TEST_F(ArchiveSource, HoldsPlainFilesWithTheSuffixesByName) {
  for (const char* const name : {"b.zel3", "B.ZEL3", "a.ZeL", "c.zel", "c.zel33", "zel3",
                                 "d.zel3.x", ".hidden.zel3", ".zel3"}) {
    Make(name);
  }
  fs::create_directory(mFolder / "folder.zel3");
  fs::create_symlink(mFolder / "zel3", mFolder / "link.zel3");
  fs::create_symlink(mFolder / "nowhere", mFolder / "dangling.zel3");
  fs::create_symlink("/dev/null", mFolder / "device.zel3");
  ASSERT_EQ(mkfifo((mFolder / "pipe.zel3").c_str(), 0600), 0);
  EXPECT_THAT(Names(mFolder.Path()),
              ElementsAre("B.ZEL3", "a.ZeL", "b.zel3", "c.zel", "dangling.zel3", "link.zel3"));
}

TEST_F(ArchiveSource, HoldsFilesWhoseNamesAreNotText) {
  for (const char* const name : {"z.zel3", "\xff.zel3", "a\xc3.zel3", "b.zel3", "\xfe.ZEL"})
    Make(name);
  EXPECT_THAT(Names(mFolder.Path()),
              ElementsAre("a\xc3.zel3", "b.zel3", "z.zel3", "\xfe.ZEL", "\xff.zel3"));
  EXPECT_EQ(archive_source::Files(mFolder.Path()).back(), mFolder / "\xff.zel3");
}

TEST_F(ArchiveSource, MayHaveAnyPath) {
  const std::string folder = mFolder / ("\xff" + std::string(200, 'x'));
  const std::string file = folder + "/" + std::string(200, 'y') + ".zel3";
  fs::create_directory(folder);
  WriteFile(file, "x");
  EXPECT_EQ(archive_source::Locate(file), file);
  EXPECT_EQ(archive_source::Locate(folder + "//"), folder);
  EXPECT_TRUE(archive_source::IsFolder(folder));
  EXPECT_FALSE(archive_source::IsFolder(file));
  EXPECT_THAT(archive_source::Files(folder), ElementsAre(file));
  EXPECT_THAT(archive_source::Files(file), ElementsAre(file));
}

TEST_F(ArchiveSource, IsLocatedAbsolutely) {
  Make("\xff.zel3");
  const fs::path before = fs::current_path();
  fs::current_path(mFolder.Path());
  const std::string file = archive_source::Locate(".//\xff.zel3");
  const std::string folder = archive_source::Locate(".");
  fs::current_path(before);
  EXPECT_EQ(file, mFolder / "\xff.zel3");
  EXPECT_EQ(folder, mFolder.Path());
}

TEST_F(ArchiveSource, IsAFileOrAFolder) {
  EXPECT_THROW(archive_source::Locate(""), Failure);
  EXPECT_THROW(archive_source::Locate(mFolder / "\xff.zel3"), Failure);
  EXPECT_THROW(archive_source::Locate("/dev/null"), Failure);
  EXPECT_THAT(archive_source::Files(mFolder.Path()), IsEmpty());
}
