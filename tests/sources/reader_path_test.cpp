#include "sources/reader_path.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <QFile>
#include <filesystem>

#include "archive/kept_index.h"
#include "indexer/zel3_indexer.h"
#include "sources/archive_streams.h"
#include "sources/index_place.h"
#include "sources/nowhere.h"
#include "support/environment_value.h"
#include "support/sample_archive.h"
#include "system/failure.h"

using testing::EndsWith;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

namespace {

namespace fs = std::filesystem;

class NameOfAnyBytes : public testing::TestWithParam<std::string> {
 protected:
  NameOfAnyBytes() {
    const GroundTruth truth = WriteScenario(mFolder / "made", SampleScenario());
    fs::create_directories(mFolder / "archives");
    fs::rename(SampleFile(mFolder / "made", truth, 0), mArchive);
  }

  std::string PrivateFolder() const { return mHome + "/zel3/" + EntryNames(mHome + "/zel3").at(0); }

  // Builds the index through the path of a reader, as a run does.
  void BuildIndex() const {
    const ReaderPath path(mArchive, ReaderPath::Links::kKept);
    cZel3Indexer indexer;
    indexer.cacheFolder = QFile::decodeName(reader_path::IndexFolderOf(mArchive, "").c_str());
    indexer.Open_file(QFile::decodeName(path.Path().c_str()), 1);
    ASSERT_TRUE(indexer.Reopen_for_write());
    indexer.BeginIntake();
    indexer.Add_header(HDR_T());
    indexer.Add_index({7, 0, 0});
    indexer.Save_files();
  }

  const TempFolder mFolder;
  const std::string mArchive = mFolder / "archives/" + GetParam();
  const std::string mHome = mFolder / "cache";
  const EnvironmentValue mCacheHome{"XDG_CACHE_HOME", mHome.c_str()};
};

// In a folder its path is too long for a creation record.
std::string LongName() {
  return std::string(250, 'x') + ".zel";
}

}  // namespace

TEST(ReaderPath, IsThePathItselfWhereACreationRecordHoldsIt) {
  const std::string longest = "/" + std::string(259, 'x');
  for (const std::string& path : {std::string("/a/b.zel3"), std::string("/a b"), longest}) {
    EXPECT_TRUE(reader_path::CanBeNamed(path));
    EXPECT_EQ(ReaderPath(path, ReaderPath::Links::kPassing).Path(), path);
    EXPECT_EQ(ReaderPath(path, ReaderPath::Links::kKept).Path(), path);
    EXPECT_EQ(reader_path::IndexFolderOf(path, ""), "");
  }
  EXPECT_FALSE(reader_path::CanBeNamed(longest + "x"));
  EXPECT_FALSE(reader_path::CanBeNamed("/a/\xff.zel3"));
  EXPECT_FALSE(reader_path::CanBeNamed("/\xc3/b.zel3"));
}

TEST(ReaderPath, LinksKeepTheSuffixInLowerCase) {
  EXPECT_THAT(reader_path::LinkName("/\xff.ZEL"), EndsWith(".zel"));
  for (const char* const path : {"/a.zel/\xff", "/\xff.zel3", "/\xff.ZEL3", "/\xff.x", "/\xff."})
    EXPECT_THAT(reader_path::LinkName(path), EndsWith(".zel3"));
  EXPECT_NE(reader_path::LinkName("/\xff.zel3"), reader_path::LinkName("/\xfe.zel3"));
  EXPECT_EQ(reader_path::LinkName("/a/\xff.zel3"), reader_path::LinkName("/b/\xff.zel3"));
}

TEST_P(NameOfAnyBytes, IsReachedThroughAKeptLink) {
  const ReaderPath path(mArchive, ReaderPath::Links::kKept);
  EXPECT_TRUE(reader_path::CanBeNamed(path.Path()));
  EXPECT_EQ(path.Path(), PrivateFolder() + "/" + reader_path::LinkName(mArchive));
  EXPECT_EQ(fs::read_symlink(path.Path()), mArchive);
  EXPECT_EQ(fs::status(PrivateFolder()).permissions(), fs::perms::owner_all);
  EXPECT_EQ(ReaderPath(mArchive, ReaderPath::Links::kKept).Path(), path.Path());
  EXPECT_THAT(EntryNames(PrivateFolder()), SizeIs(1));
}

TEST_P(NameOfAnyBytes, ALinkThatLeadsElsewhereIsReplaced) {
  const std::string link = ReaderPath(mArchive, ReaderPath::Links::kKept).Path();
  for (const std::string& elsewhere : {mFolder / "nowhere", std::string("/dev/null")}) {
    fs::remove(link);
    fs::create_symlink(elsewhere, link);
    EXPECT_EQ(ReaderPath(mArchive, ReaderPath::Links::kKept).Path(), link);
    EXPECT_EQ(fs::read_symlink(link), mArchive);
  }
  EXPECT_THAT(EntryNames(PrivateFolder()), SizeIs(1));
}

TEST_P(NameOfAnyBytes, IsReachedThroughAPassingLinkWhereNoneMayBeKept) {
  std::string link;
  {
    const ReaderPath path(mArchive, ReaderPath::Links::kPassing);
    link = path.Path();
    EXPECT_TRUE(reader_path::CanBeNamed(link));
    EXPECT_EQ(fs::read_symlink(link), mArchive);
  }
  EXPECT_FALSE(fs::exists(fs::path(link).parent_path()));
  EXPECT_FALSE(FileExists(mHome));
}

TEST_P(NameOfAnyBytes, IsReachedThroughAPassingLinkWhereNoneCanBeKept) {
  fs::create_directories(mHome + "/zel3");
  ASSERT_EQ(chmod((mHome + "/zel3").c_str(), 0770), 0);
  const ReaderPath path(mArchive, ReaderPath::Links::kKept);
  EXPECT_THAT(path.Path(), testing::Not(StartsWith(mHome)));
  EXPECT_EQ(fs::read_symlink(path.Path()), mArchive);
  EXPECT_THAT(EntryNames(mHome + "/zel3"), IsEmpty());
  EXPECT_EQ(reader_path::IndexFolderOf(mArchive, ""), kNowhere);
  EXPECT_FALSE(HasIndex(mArchive, ""));
}

TEST_P(NameOfAnyBytes, HasItsIndexInThePrivateFolder) {
  EXPECT_FALSE(HasIndex(mArchive, ""));
  BuildIndex();
  EXPECT_TRUE(HasIndex(mArchive, ""));
  const std::string folder = reader_path::IndexFolderOf(mArchive, "");
  EXPECT_EQ(folder, PrivateFolder());
  EXPECT_EQ(CacheOf(mArchive, "").entries, CacheOf(mArchive, folder).entries);
  EXPECT_THAT(EntryNames(folder), SizeIs(4)) << "three cache files and the link";
  EXPECT_EQ(EntryNames(mFolder / "archives").size(), 1U);

  const IndexPlace place = PlaceOfIndex("", mArchive);
  EXPECT_EQ(place.folder, "") << "it does not send the indexes of other archives away";
  EXPECT_EQ(place.whyNotBeside, "");
}

TEST_P(NameOfAnyBytes, ItsKeptIndexIsFound) {
  BuildIndex();
  const auto index = KeptIndex::Load(CacheOf(mArchive, ""), 1000);
  ASSERT_TRUE(index);
  EXPECT_EQ(index->TimeOf(0), 7000U);
  EXPECT_THAT(EntryNames(PrivateFolder()), SizeIs(4));
}

TEST_P(NameOfAnyBytes, ItsStreamsAreKnown) {
  const SourceFacts source(HostOptions(), mArchive);
  EXPECT_THAT(source.Archives(), testing::ElementsAre(mArchive));
  const auto streams = StreamsOf(mArchive, source);
  ASSERT_TRUE(streams);
  EXPECT_THAT(streams->ids, testing::Not(IsEmpty()));
}

INSTANTIATE_TEST_SUITE_P(OfEachKind, NameOfAnyBytes,
                         testing::Values("\xff.zel3", "cam\xc3.ZEL3", "\xff", LongName()),
                         [](const auto& name) { return "number" + std::to_string(name.index); });
