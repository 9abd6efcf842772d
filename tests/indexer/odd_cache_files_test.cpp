#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <new>

#include "cache_test.h"
#include "support/process_limit.h"
#include "support/sanitized.h"
#include "support/scarce_memory.h"
#include "support/sparse_file.h"

// What stands under the name of a cache file need not be one.

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::int64_t kGiB = 1LL << 30;

struct OddFile {
  const char* what;
  std::function<void(const std::string& path)> make;
};

void MakePipe(const std::string& path) {
  ASSERT_EQ(mkfifo(path.c_str(), 0666), 0);
}

const OddFile kOddFiles[] = {
    {"pipe", MakePipe},
    {"folder", [](const std::string& path) { fs::create_directory(path); }},
    {"link to nothing", [](const std::string& path) { fs::create_symlink("nowhere", path); }},
    {"link to itself", [](const std::string& path) { fs::create_symlink(path, path); }},
    {"link to a folder", [](const std::string& path) { fs::create_symlink(".", path); }},
    {"link to an endless device",
     [](const std::string& path) { fs::create_symlink("/dev/zero", path); }},
    {"link to a pipe",
     [](const std::string& path) {
       fs::remove(path + ".pipe");
       MakePipe(path + ".pipe");
       fs::create_symlink(path + ".pipe", path);
     }},
};

class OddCacheFiles : public CacheTest {
 protected:
  void Replace(const std::string& kind, const OddFile& odd) {
    WriteSmallCache();
    fs::remove(Beside(kind));
    odd.make(Beside(kind));
  }
  void TearDown() override {
    for (const char* kind : {"id3", "hdr", "evt"}) fs::remove_all(Beside(kind));
  }
};

TEST_F(OddCacheFiles, CountAsMissing) {
  for (const OddFile& odd : kOddFiles) {
    for (const char* kind : {"id3", "hdr", "evt"}) {
      SCOPED_TRACE(testing::Message() << odd.what << " as " << kind);
      TearDown();
      Replace(kind, odd);
      const bool isHeaderFile = std::string(kind) == "hdr";
      cZel3Indexer fresh;
      EXPECT_EQ(fresh.Open_file(Path(archive), 9000), isHeaderFile);
      EXPECT_EQ(fresh.Files().size(), isHeaderFile ? 1U : 0U);
      EXPECT_EQ(Positions(fresh.Current().headerPositions),
                std::vector<std::uint64_t>(isHeaderFile ? 1 : 0, 0));
    }
  }
}

TEST_F(OddCacheFiles, AreOneWhenTheyLinkToOne) {
  WriteSmallCache();
  for (const char* kind : {"id3", "hdr", "evt"}) {
    fs::rename(Beside(kind), folder / kind);
    fs::create_symlink(folder / kind, Beside(kind));
  }
  ASSERT_TRUE(Open());
  EXPECT_EQ(ContentsOf(index.Files()[0]), (Contents{{"100@700"}, {5}, {"100@700 x1 80'door'"}}));
}

struct GiantCase {
  const char* kind;
  std::int64_t size;
};

// Sizes whose number of items, or whose low 32 bits, look harmless.
TEST_F(OddCacheFiles, TooLargeForTheBuildAreNotLoaded) {
  const GiantCase cases[] = {
      {"id3", 24LL << 32},  // 2^32 records
      {"id3", (24LL << 32) + 24}, {"id3", 24 * kGiB},     {"id3", 2 * kGiB + 24},
      {"id3", 2 * kGiB - 8},      {"id3", 4 * kGiB + 24}, {"hdr", 8LL << 32},  // 2^32 positions
      {"hdr", (8LL << 32) + 8},   {"hdr", 4 * kGiB + 8},  {"hdr", 2 * kGiB + 8},
      {"evt", 4 * kGiB + 20},     {"evt", 2 * kGiB},      {"evt", 100 * kGiB},
  };
  for (const GiantCase& row : cases) {
    SCOPED_TRACE(testing::Message() << row.kind << ' ' << row.size);
    WriteCache({}, {}, {});
    MakeSparseFile(Beside(row.kind), row.size);
    cZel3Indexer fresh;
    EXPECT_FALSE(fresh.Open_file(Path(archive), 9000));
    EXPECT_THAT(fresh.Files(), IsEmpty());
    EXPECT_EQ(ContentsOf(fresh.Current()), Contents());
    EXPECT_THAT(AllCuts(fresh.Current()), IsEmpty());
  }
}

TEST_F(OddCacheFiles, TooLargeDoNotSpoilTheOthers) {
  WriteSmallCache();
  MakeSparseFile(Beside("hdr"), 4 * kGiB + 8);
  MakeSparseFile(Beside("evt"), 4 * kGiB + 20);
  ASSERT_TRUE(Open());
  EXPECT_EQ(ContentsOf(index.Files()[0]), (Contents{{"100@700"}, {}, {}}));
  EXPECT_THAT(AllCuts(index.Files()[0]), ElementsAre(700, 9000));
}

TEST_F(OddCacheFiles, OfZerosAreEntriesLikeAnyOthers) {
  WriteCache({}, {}, {});
  MakeSparseFile(Beside("id3"), 24 * 1000);
  MakeSparseFile(Beside("hdr"), 8 * 1000);
  MakeSparseFile(Beside("evt"), 1000);
  ASSERT_TRUE(Open());
  EXPECT_EQ(index.Files()[0].id3Records.size(), 1000);
  EXPECT_EQ(index.Files()[0].headerPositions.size(), 1000);
  EXPECT_TRUE(index.Files()[0].events.isEmpty());
}

TEST_F(OddCacheFiles, ForWhichThereIsNoMemoryAreNotLoaded) {
  if (kIsSanitized) GTEST_SKIP() << "sanitizers need more address space than this test leaves";
  for (const char* kind : {"id3", "hdr", "evt"}) {
    SCOPED_TRACE(kind);
    WriteCache({}, {}, {});
    MakeSparseFile(Beside(kind), kGiB + kGiB / 2);
    const ProcessLimit memory(RLIMIT_AS, static_cast<rlim_t>(kGiB));
    cZel3Indexer fresh;
    EXPECT_FALSE(fresh.Open_file(Path(archive), 9000));
    EXPECT_EQ(ContentsOf(fresh.Current()), Contents());
  }
}

// Whatever allocation fails: entries come with their cuts, or not at all.
class ScarceMemoryForCacheFiles : public OddCacheFiles,
                                  public testing::WithParamInterface<std::vector<EntryBytes>> {};

TEST_P(ScarceMemoryForCacheFiles, LoadsThemWholeOrNotAtAll) {
  if (kIsSanitized) GTEST_SKIP() << "sanitizers bring their own allocation";
  WriteCache(Id3File(GetParam()), HdrFile({5, 750}),
             EvtFile().Group(100, 700, 2).Event(0x80, "door").Event(0x81, "gate"));
  for (const auto refusal : {ScarceMemory::kOnce, ScarceMemory::kFromThenOn}) {
    bool refused = true;
    for (int allocations = 0; refused; ++allocations) {
      SCOPED_TRACE(testing::Message() << allocations << ", mode " << refusal);
      cZel3Indexer fresh;
      {
        const ScarceMemory memory(allocations, refusal);
        try {
          fresh.Open_file(Path(archive), 9000);
        } catch (const std::bad_alloc&) {
          // What has been filed by then is still looked at.
        }
        refused = memory.Refused() > 0;
      }
      for (const sFile_Index_Store& store : fresh.Files()) {
        const auto entries = static_cast<std::size_t>(store.id3Records.size());
        const auto headers = static_cast<std::size_t>(store.headerPositions.size());
        EXPECT_EQ(static_cast<std::size_t>(AllCuts(store).size()),
                  entries + (entries > 0 ? headers : std::min<std::size_t>(headers, 1)) + 1);
      }
      if (refused) continue;
      ASSERT_EQ(fresh.Files().size(), 1U);
      EXPECT_EQ(fresh.Files()[0].id3Records.size(), 2);
      EXPECT_EQ(fresh.Files()[0].headerPositions.size(), 2);
      EXPECT_EQ(fresh.Files()[0].events.size(), 1);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(, ScarceMemoryForCacheFiles,
                         testing::Values(std::vector<EntryBytes>{{100, 700}, {110, 800}},
                                         std::vector<EntryBytes>{{100, 800}, {110, 700}}),
                         [](const auto& test) {
                           return test.index == 0 ? "Ascending" : "Descending";
                         });

}  // namespace
