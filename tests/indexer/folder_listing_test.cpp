#include "indexer/folder_listing.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QDir>
#include <cstdlib>
#include <filesystem>

#include "support/temp_folder.h"

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

QString AsText(const std::string& path) {
  return QString::fromStdString(path);
}

class FolderListing : public testing::Test {
 protected:
  void Place(const std::string& name, std::size_t size = 3) {
    WriteFile(folder / name, Bytes(size, 7));
  }
  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const ListedFile& file : ListFolder(AsText(folder.Path()), {".id3", ".evt"}, false)) {
      names.push_back(file.name.toStdString());
    }
    return names;
  }

  const TempFolder folder;
};

TEST_F(FolderListing, TellsSizeAndTime) {
  Place("cam.id3", 70000);
  SetModificationTime(folder / "cam.id3", 1'700'000'000);
  const std::vector<ListedFile> files = ListFolder(AsText(folder.Path()), {".id3"}, false);
  ASSERT_EQ(files.size(), 1U);
  EXPECT_EQ(files[0].name, "cam.id3");
  EXPECT_EQ(files[0].size, 70000U);
  EXPECT_EQ(files[0].modified, 1'700'000'000'000);
}

TEST_F(FolderListing, TellsMillisecondsAndTimesThatNeedMoreThan32Bits) {
  Place("late.id3");
  Place("early.evt");
  // A 32-bit program could only set times of 32 bits.
  for (const char* const command : {"touch -d @5000000000.25 late.id3", "touch -d @-1 early.evt"}) {
    ASSERT_EQ(std::system(("cd '" + folder.Path() + "' && " + command).c_str()), 0);
  }
  EXPECT_EQ(ListFolder(AsText(folder.Path()), {".id3"}, false).at(0).modified, 5'000'000'000'250);
  EXPECT_EQ(ListFolder(AsText(folder.Path()), {".evt"}, false).at(0).modified, -1000);
}

TEST_F(FolderListing, ListsWhatEndsInASuffix) {
  for (const char* const name :
       {"a.id3", "b.ID3", "c.Evt", "d.x.evt", "e.id", "f.id33", "gid3", "h.id3.", ".id3", ".i.id3",
        "j .evt", "k.hdr", "id3", "l..id3", "\xC3\xA4.id3"}) {
    Place(name);
  }
  EXPECT_THAT(Names(), testing::UnorderedElementsAre("a.id3", "b.ID3", "c.Evt", "d.x.evt", "j .evt",
                                                     "l..id3", "\xC3\xA4.id3"));
}

TEST_F(FolderListing, LeavesOutWhatIsNoPlainFile) {
  fs::create_directory(folder / "folder.id3");
  ASSERT_EQ(mkfifo((folder / "pipe.id3").c_str(), 0600), 0);
  fs::create_symlink("/dev/null", folder / "device.id3");
  fs::create_symlink(folder / "missing", folder / "broken.id3");
  Place("real", 5);
  fs::create_symlink("real", folder / "link.id3");
  EXPECT_THAT(Names(), ElementsAre("link.id3"));
  EXPECT_EQ(ListFolder(AsText(folder.Path()), {".id3"}, false).at(0).size, 5U);
}

TEST_F(FolderListing, LeavesOutWhatMayNotBeReadWhenAsked) {
  Place("open.id3");
  Place("closed.id3");
  ASSERT_EQ(chmod((folder / "closed.id3").c_str(), 0), 0);
  ASSERT_EQ(chmod(folder.Path().c_str(), 0755), 0);
  EXPECT_THAT(Names(), testing::UnorderedElementsAre("open.id3", "closed.id3"));
  // The administrator may read everything, and nobody else may come here by the path.
  const auto isListedForNobody = [this] {
    if (chdir(folder.Path().c_str()) != 0) return false;
    if (geteuid() == 0 && setuid(65534) != 0) return false;
    const std::vector<ListedFile> files = ListFolder(QLatin1String("."), {".id3"}, true);
    return files.size() == 1 && files[0].name == "open.id3";
  };
  EXPECT_EXIT(_exit(isListedForNobody() ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST_F(FolderListing, LeavesOutWhatCannotBeNamed) {
  Place("latin\xE4.id3");
  Place("good.id3");
  EXPECT_THAT(Names(), ElementsAre("good.id3"));
}

TEST_F(FolderListing, ListsNamesThatBeginWithAByteOrderMark) {
  Place("\xEF\xBB\xBF.id3");
  Place("\xEF\xBB\xBF\xEF\xBB\xBF\xC3\xA4.evt");
  EXPECT_THAT(Names(), testing::UnorderedElementsAre("\xEF\xBB\xBF.id3",
                                                     "\xEF\xBB\xBF\xEF\xBB\xBF\xC3\xA4.evt"));
}

TEST(DecodedName, KeepsAByteOrderMark) {
  EXPECT_EQ(DecodedName("cam.id3"), QLatin1String("cam.id3"));
  EXPECT_EQ(DecodedName("\xEF\xBB\xBF\xC3\xA4.id3"), QChar(0xFEFF) + AsText("\xC3\xA4.id3"));
}

TEST_F(FolderListing, IsEmptyWithoutAFolder) {
  EXPECT_THAT(ListFolder(AsText(folder / "missing"), {".id3"}, false), IsEmpty());
  EXPECT_THAT(ListFolder(QString(), {".id3"}, false), IsEmpty());
  Place("file.id3");
  EXPECT_THAT(ListFolder(AsText(folder / "file.id3"), {".id3"}, false), IsEmpty());
}

// The order of the system is part of it: of files of one time it decides which one goes first.
TEST_F(FolderListing, IsThatOfQt) {
  const std::string odd = std::string("aZ.\xC3\xA4\xE4 i*[?");
  unsigned random = 1;
  for (int i = 0; i < 300; ++i) {
    std::string name;
    for (int length = 0; length < 4; ++length) {
      random = random * 1103515245 + 12345;
      name += odd[(random >> 16) % odd.size()];
    }
    if (i % 5 == 0) name = "\xEF\xBB\xBF" + name;
    Place(name + std::to_string(i % 7) + (i % 3 == 0 ? ".id3" : i % 3 == 1 ? ".EVT" : ".txt"));
  }
  const QStringList expected =
      QDir(AsText(folder.Path()))
          .entryList({QLatin1String("*.id3"), QLatin1String("*.evt")}, QDir::Files, QDir::Unsorted);
  ASSERT_GT(expected.size(), 20);
  std::vector<std::string> names;
  for (const QString& name : expected) names.push_back(name.toStdString());
  EXPECT_EQ(Names(), names);
}

}  // namespace
