#include <sys/stat.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QDir>
#include <algorithm>
#include <filesystem>

#include "cache_test.h"
#include "host/host_settings.h"
#include "indexer/cache_housekeeping.h"
#include "support/file_faults.h"
#include "support/read_only_folder.h"
#include "support/sparse_file.h"

// Opening an archive keeps the cache folder below its limit.

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::int64_t kMiB = 1048576;

struct CacheFile {
  const char* name;
  std::int64_t size;
};

class Housekeeping : public CacheTest {
 protected:
  void SetLimit(const std::string& megabytes) {
    WriteFile(settings / "zel3index_cache", "ID3_HDR_EVT_total_MB=" + megabytes + "\n");
  }

  // Files in the cache folder, the oldest first.
  void MakeCacheFiles(const std::vector<CacheFile>& oldestFirst) {
    std::int64_t time = 1000000000;
    for (const CacheFile& file : oldestFirst) {
      MakeSparseFile(cache / file.name, file.size);
      SetModificationTime(cache / file.name, time += 60);
    }
  }

  void OpenArchive() {
    index.cacheFolder = Path(cache.Path());
    index.Open_file_draft(Path(archive));
  }

  Texts Names() const { return EntryNames(cache.Path()); }

  const TempFolder cache;
};

struct LimitCase {
  const char* what;
  const char* limit;
  std::vector<CacheFile> oldestFirst;
  Texts left;
};

TEST_F(Housekeeping, DeletesTheOldestFileAboveTheLimitAndOnlyThat) {
  const LimitCase cases[] = {
      {"60, 50 and 10 MiB",
       "100",
       {{"a.id3", 60 * kMiB}, {"b.id3", 50 * kMiB}, {"c.id3", 10 * kMiB}},
       {"b.id3", "c.id3"}},
      {"still above the limit afterwards",
       "100",
       {{"a.id3", 10 * kMiB}, {"b.id3", 100 * kMiB}, {"c.id3", 100 * kMiB}},
       {"b.id3", "c.id3"}},
      {"exactly the limit",
       "100",
       {{"a.id3", 60 * kMiB}, {"b.id3", 40 * kMiB}},
       {"a.id3", "b.id3"}},
      {"one byte more", "100", {{"a.id3", 60 * kMiB}, {"b.id3", 40 * kMiB + 1}}, {"b.id3"}},
      {"the oldest by time, not by name", "1", {{"z.id3", kMiB}, {"a.id3", kMiB}}, {"a.id3"}},
      {"an empty oldest file frees nothing",
       "1",
       {{"a.id3", 0}, {"b.id3", 2 * kMiB}, {"c.id3", 2 * kMiB}},
       {"b.id3", "c.id3"}},
      {"limit 0 without files", "0", {}, {}},
      {"limit 0 and an empty file", "0", {{"a.id3", 0}}, {"a.id3"}},
      {"limit 0", "0", {{"a.id3", 1}, {"b.id3", 1}}, {"b.id3"}},
      {"a negative limit without files", "-1", {}, {}},
      {"a negative limit and an empty file", "-1", {{"a.id3", 0}}, {}},
      {"a negative limit", "-2147483648", {{"a.id3", 1}, {"b.id3", 1}}, {"b.id3"}},
      {"a limit of 4 GiB", "4096", {{"a.id3", 3072 * kMiB}}, {"a.id3"}},
      {"a limit of 2 GiB", "2048", {{"a.id3", 100 * kMiB}}, {"a.id3"}},
      {"the largest limit",
       "2147483647",
       {{"a.id3", 5000 * kMiB}, {"b.id3", 5000 * kMiB}},
       {"a.id3", "b.id3"}},
      {"a file above 4 GiB", "100", {{"a.id3", 4097 * kMiB}}, {}},
      {"a total above 4 GiB", "100", {{"a.id3", 2048 * kMiB}, {"b.id3", 2049 * kMiB}}, {"b.id3"}},
  };
  for (const LimitCase& row : cases) {
    SCOPED_TRACE(row.what);
    for (const std::string& name : Names()) fs::remove(cache / name);
    SetLimit(row.limit);
    MakeCacheFiles(row.oldestFirst);
    OpenArchive();
    EXPECT_EQ(Names(), row.left);
  }
}

TEST_F(Housekeeping, LooksThroughNoFolderWithoutALimit) {
  const auto opened = [this](int megabytes) {
    HostSettings host{settings.Path(), ""};
    host.fixedValues[cache_limit_setting::kKey] = megabytes;
    const SettingsInForce inForce(host);
    const FileFaults faults(FileOperation::kOpen, 0, FileFaults::Repeats::kFromThenOn, EMFILE);
    CacheHousekeeping(Path(cache.Path())).Trim();
    return faults.Struck();
  };
  constexpr int kUnlimited = cache_limit_setting::kUnlimitedMegabytes;
  EXPECT_EQ(opened(kUnlimited), opened(kUnlimited - 1) - 1);
}

TEST_F(Housekeeping, HoldsTheDefaultLimitOf100MiB) {
  MakeCacheFiles({{"a.id3", 104857600}});
  OpenArchive();
  EXPECT_THAT(Names(), ElementsAre("a.id3"));
  MakeCacheFiles({{"a.id3", 104857601}});
  OpenArchive();
  EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(Housekeeping, LooksAtAllThreeKindsOfCacheFilesAndNothingElse) {
  const LimitCase cases[] = {
      {"id3", "1", {{"a.id3", 2 * kMiB}}, {}},
      {"hdr", "1", {{"a.hdr", 2 * kMiB}}, {}},
      {"evt", "1", {{"a.evt", 2 * kMiB}}, {}},
      {"all together",
       "1",
       {{"c.evt", kMiB}, {"b.id3", kMiB}, {"a.hdr", kMiB}},
       {"a.hdr", "b.id3"}},
      {"capitals", "1", {{"a.ID3", 2 * kMiB}}, {}},
      {"another suffix", "1", {{"a.zel3", 2 * kMiB}}, {"a.zel3"}},
      {"a suffix after it", "1", {{"a.id3.bak", 2 * kMiB}}, {"a.id3.bak"}},
      {"no dot", "1", {{"id3", 2 * kMiB}}, {"id3"}},
      {"hidden", "1", {{".a.id3", 2 * kMiB}}, {".a.id3"}},
      {"other files do not count",
       "1",
       {{"old.zel3", 2 * kMiB}, {"a.id3", kMiB}},
       {"a.id3", "old.zel3"}},
  };
  for (const LimitCase& row : cases) {
    SCOPED_TRACE(row.what);
    for (const std::string& name : Names()) fs::remove(cache / name);
    SetLimit(row.limit);
    MakeCacheFiles(row.oldestFirst);
    OpenArchive();
    EXPECT_EQ(Names(), row.left);
  }
}

TEST_F(Housekeeping, LeavesFoldersAlone) {
  fs::create_directory(cache / "a.id3");
  MakeSparseFile(cache / "a.id3" + "/b.id3", 2 * kMiB);
  SetLimit("1");
  OpenArchive();
  EXPECT_TRUE(FileExists(cache / "a.id3" + "/b.id3"));
}

// The order of a folder is up to its file system: files are made until it differs from that of
// their names.
TEST_F(Housekeeping, OfEquallyOldFilesDeletesTheFirstOneListed) {
  SetLimit("1");
  std::string first;
  for (const char letter : std::string("mlkjihgfedcbaz")) {
    const std::string path = cache / (std::string(1, letter) + ".id3");
    MakeSparseFile(path, 2 * kMiB);
    SetModificationTime(path, kArchiveTime);
    first = Text(QDir(Path(cache.Path())).entryList(QDir::Files, QDir::Unsorted).first());
    if (first != Names().front()) break;
  }
  ASSERT_NE(first, Names().front());
  Texts left = Names();
  left.erase(std::find(left.begin(), left.end(), first));
  OpenArchive();
  EXPECT_EQ(Names(), left);
}

TEST_F(Housekeeping, OfEquallyOldFilesGoesOnInTheOrderListed) {
  SetLimit("1");
  for (const char* name : {"a.id3", "b.id3", "c.id3", "d.id3", "e.id3"}) {
    MakeSparseFile(cache / name, 2 * kMiB);
    SetModificationTime(cache / name, kArchiveTime);
  }
  const QDir folderOfCache(Path(cache.Path()));
  const QStringList listed = folderOfCache.entryList(QDir::Files, QDir::Unsorted);
  CacheHousekeeping housekeeping(Path(cache.Path()));
  for (int trimmed = 1; trimmed <= 3; ++trimmed) {
    housekeeping.Trim();
    EXPECT_EQ(folderOfCache.entryList(QDir::Files, QDir::Unsorted), listed.mid(trimmed));
  }
}

TEST_F(Housekeeping, CountsFilesThatOnlyOthersMayRead) {
  MakeCacheFiles({{"a.id3", 101 * kMiB}});
  ASSERT_EQ(chmod((cache / "a.id3").c_str(), 0), 0);
  ASSERT_EQ(chmod(cache.Path().c_str(), 0777), 0);
  // The administrator may read everything, and nobody else may come here by the path.
  const auto isDeletedByNobody = [this] {
    if (chdir(cache.Path().c_str()) != 0) return false;
    if (geteuid() == 0 && setuid(65534) != 0) return false;
    CacheHousekeeping(QLatin1String(".")).Trim();
    return access("a.id3", F_OK) != 0;
  };
  EXPECT_EXIT(_exit(isDeletedByNobody() ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST_F(Housekeeping, DeletesAFileWhoseNameBeginsWithAByteOrderMark) {
  SetLimit("1");
  MakeCacheFiles({{"\xEF\xBB\xBF"
                   "cam.id3",
                   10 * kMiB},
                  {"b.id3", kMiB}});
  OpenArchive();
  EXPECT_THAT(Names(), ElementsAre("b.id3"));
}

// The device is as old as the start of the machine.
TEST_F(Housekeeping, TakesTheNextFileWhereALinkToADeviceIsTheOldest) {
  SetLimit("1");
  fs::create_symlink("/dev/null", cache / "x.id3");
  for (const char* const name : {"a.id3", "b.id3"}) MakeSparseFile(cache / name, kMiB);
  SetModificationTime(cache / "a.id3", 2'000'000'000);
  SetModificationTime(cache / "b.id3", 2'000'000'060);
  OpenArchive();
  EXPECT_THAT(Names(), ElementsAre("b.id3", "x.id3"));
}

TEST_F(Housekeeping, TakesOneMoreFileEachTime) {
  SetLimit("1");
  MakeCacheFiles({{"a.id3", 10 * kMiB}, {"b.id3", 10 * kMiB}, {"c.id3", kMiB}});
  OpenArchive();
  EXPECT_THAT(Names(), ElementsAre("b.id3", "c.id3"));
  OpenArchive();
  EXPECT_THAT(Names(), ElementsAre("c.id3"));
  OpenArchive();
  EXPECT_THAT(Names(), ElementsAre("c.id3"));
}

// The folder is then listed only once, which must not show.
TEST_F(Housekeeping, TakesTheSameFilesDuringAScan) {
  const std::vector<CacheFile> files = {{"c.id3", kMiB},    {"a.hdr", 2 * kMiB}, {"e.evt", 0},
                                        {"b.id3", kMiB},    {"d.evt", kMiB},     {"f.id3", kMiB},
                                        {"g.id3", 3 * kMiB}};
  SetLimit("4");
  for (int opened = 1; opened <= 8; ++opened) {
    SCOPED_TRACE(opened);
    Texts left[2];
    for (const bool scanning : {false, true}) {
      MakeCacheFiles(files);
      if (scanning) index.BeginScan();
      for (int i = 0; i < opened; ++i) OpenArchive();
      if (scanning) index.EndScan();
      left[scanning ? 1 : 0] = Names();
    }
    EXPECT_EQ(left[0], left[1]);
    EXPECT_EQ(left[0].size(), files.size() - static_cast<std::size_t>(std::min(opened, 5)));
  }
}

TEST_F(Housekeeping, OfAScanKnowsTheFilesOfItsBeginning) {
  SetLimit("1");
  MakeCacheFiles({{"a.id3", kMiB}, {"b.id3", kMiB}});
  index.BeginScan();
  OpenArchive();
  MakeCacheFiles({{"c.id3", 5 * kMiB}});
  OpenArchive();
  EXPECT_THAT(Names(), ElementsAre("b.id3", "c.id3"));
  index.EndScan();
  OpenArchive();
  EXPECT_THAT(Names(), ElementsAre("b.id3"));
}

// Somebody else has deleted the next file since the scan began.
TEST_F(Housekeeping, OfAScanPassesOverAFileThatIsGone) {
  SetLimit("1");
  MakeCacheFiles({{"a.id3", kMiB}, {"b.id3", kMiB}, {"c.id3", kMiB}, {"d.id3", kMiB}});
  index.BeginScan();
  OpenArchive();
  ASSERT_THAT(Names(), ElementsAre("b.id3", "c.id3", "d.id3"));
  fs::remove(cache / "b.id3");
  OpenArchive();
  index.EndScan();
  EXPECT_THAT(Names(), ElementsAre("d.id3"));
}

TEST_F(Housekeeping, RunsWhenAFileIsOpenedToo) {
  SetLimit("1");
  MakeCacheFiles({{"a.id3", 2 * kMiB}});
  index.cacheFolder = Path(cache.Path() + "/");
  index.Open_file(Path(archive), 1);
  EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(Housekeeping, ComesBeforeTheCacheFilesAreOpened) {
  struct {
    const char* oldest;
    bool opens;
    std::vector<std::uint64_t> headers;
  } const cases[] = {{"hdr", true, {0}}, {"id3", false, {}}, {"evt", false, {}}};
  SetLimit("0");
  for (const auto& row : cases) {
    SCOPED_TRACE(row.oldest);
    const std::string stem = cache / (std::string(kArchiveTimeInNames) + "cam.");
    WriteFile(stem + "id3", Id3File({{100, 700}}));
    WriteFile(stem + "hdr", HdrFile({5}));
    WriteFile(stem + "evt", EvtFile().Group(100, 700, 1).Event(0x80, "door"));
    SetModificationTime(stem + row.oldest, kArchiveTime);
    cZel3Indexer fresh;
    fresh.cacheFolder = Path(cache.Path());
    EXPECT_EQ(fresh.Open_file(Path(archive), 9000), row.opens);
    EXPECT_EQ(Positions(fresh.Current().headerPositions), row.headers);
  }
}

TEST_F(Housekeeping, RunsInTheFallbackFolderToo) {
  SetLimit("1");
  fs::create_directory(CacheSubfolder());
  MakeSparseFile(CacheSubfolder() + "x.id3", 2 * kMiB);
  fs::create_directory(Beside("evt"));
  Open();
  ASSERT_THAT(CacheSubfolderNames(), ElementsAre("x.id3"));
  ASSERT_TRUE(index.Reopen_for_write());
  EXPECT_THAT(CacheSubfolderNames(), testing::Not(testing::Contains("x.id3")));
}

TEST_F(Housekeeping, DoesNotRunBesideTheArchive) {
  SetLimit("1");
  MakeSparseFile(Beside("id3"), 2 * kMiB);
  index.Open_file_draft(Path(archive));
  EXPECT_TRUE(FileExists(Beside("id3")));
}

TEST_F(Housekeeping, TrimsTheTemporaryFolderItselfWhenItHasNoSubfolder) {
  SetLimit("1");
  WriteFile(temporary / "Vorn auxillary files", std::string("in the way"));
  MakeSparseFile(temporary / "a.id3", 2 * kMiB);
  index.Open_file_draft(Path("/videodata/a.zel3"));
  EXPECT_FALSE(FileExists(temporary / "a.id3"));
}

TEST_F(Housekeeping, LeavesTheTemporaryFolderAloneWhenItHas) {
  SetLimit("1");
  MakeSparseFile(temporary / "a.id3", 2 * kMiB);
  index.Open_file_draft(Path("/videodata/a.zel3"));
  EXPECT_TRUE(FileExists(temporary / "a.id3"));
}

TEST_F(Housekeeping, GivesUpOnAFileThatCannotBeDeleted) {
  SetLimit("1");
  MakeCacheFiles({{"a.id3", 10 * kMiB}, {"b.id3", 10 * kMiB}});
  const ReadOnlyFolder readOnly(cache.Path());
  OpenArchive();
  EXPECT_THAT(Names(), ElementsAre("a.id3", "b.id3"));
}

TEST_F(Housekeeping, GivesUpOnAFileThatCannotBeDeletedWhereTheNextOneCould) {
  SetLimit("1");
  MakeCacheFiles({{"a.id3", 10 * kMiB}, {"b.id3", 10 * kMiB}});
  const FileFaults faults(FileOperation::kRemove, 0, FileFaults::Repeats::kOnce, EBUSY);
  OpenArchive();
  EXPECT_EQ(faults.Struck(), 1);
  EXPECT_THAT(Names(), ElementsAre("a.id3", "b.id3"));
}

TEST_F(Housekeeping, OfAMissingFolderDoesNothing) {
  SetLimit("-1");
  index.cacheFolder = Path(folder / "missing");
  index.Open_file_draft(Path(archive));
  EXPECT_THAT(ArchiveFolderNames(), ElementsAre("cam.zel3"));
}

TEST_F(Housekeeping, WritesTheDefaultLimitToTheSettings) {
  OpenArchive();
  ASSERT_THAT(EntryNames(settings.Path()), ElementsAre("zel3index_cache"));
  const Bytes text = ReadFile(settings / "zel3index_cache");
  EXPECT_THAT(std::string(text.begin(), text.end()),
              testing::HasSubstr("ID3_HDR_EVT_total_MB=100"));
}

TEST_F(Housekeeping, KeepsTheSettingsOfTheApplicationApart) {
  QCoreApplication::setApplicationName(QLatin1String("player"));
  OpenArchive();
  QCoreApplication::setApplicationName(QLatin1String("zel3"));
  EXPECT_THAT(EntryNames(settings.Path()), ElementsAre("playerindex_cache"));
}

TEST_F(Housekeeping, ReadsTheLimitEachTime) {
  MakeCacheFiles({{"a.id3", 2 * kMiB}});
  OpenArchive();
  EXPECT_THAT(Names(), ElementsAre("a.id3"));
  SetLimit("1");
  OpenArchive();
  EXPECT_THAT(Names(), IsEmpty());
}

}  // namespace
