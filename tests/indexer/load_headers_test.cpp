#include <filesystem>

#include "cache_test.h"

namespace {

using testing::ElementsAre;

constexpr std::uint64_t kEnd = 9000;

class LoadedHeaders : public CacheTest {
 protected:
  // Entries at these positions, and these headers or, with none, no .hdr file.
  bool OpenWith(const std::vector<std::uint32_t>& entries,
                const std::vector<std::uint64_t>& headers) {
    std::vector<EntryBytes> records;
    for (const std::uint32_t position : entries) records.push_back({100, position});
    WriteCache(Id3File(records), HdrFile(headers), EvtFile().Group(1, 1, 1).Event(0x80, "x"));
    if (headers.empty()) std::filesystem::remove(Beside("hdr"));
    return Open(kEnd);
  }
};

struct CutsCase {
  const char* what;
  std::vector<std::uint32_t> entries;
  std::vector<std::uint64_t> headers;
  std::vector<std::uint64_t> cuts;  // without the end position
};

TEST_F(LoadedHeaders, CutTheFileBeforeTheFirstGreaterPosition) {
  const CutsCase cases[] = {
      {"one before, one after", {100, 4000}, {0, 5000}, {0, 100, 4000}},
      {"between", {100, 4000}, {200}, {100, 200, 4000}},
      {"at the place of an entry", {100, 4000}, {100}, {100, 100, 4000}},
      {"at the place of the last entry", {100, 4000}, {4000}, {100, 4000}},
      {"several between, in any order", {100, 4000}, {300, 200}, {100, 200, 300, 4000}},
      {"equal ones", {100, 4000}, {200, 200}, {100, 200, 200, 4000}},
      {"from 4 GiB on", {100, 4000}, {1ULL << 32}, {100, 4000}},
      {"entries that do not ascend", {500, 100, 900}, {50, 600}, {50, 500, 100, 600, 900}},
      {"an inserted one is met by the next",
       {500, 100, 900},
       {600, 550},
       {500, 100, 550, 600, 900}},
      {"no entries: the first as it is, then only smaller ones", {}, {700, 800, 100}, {100, 700}},
      {"no entries, falling", {}, {300, 200, 100}, {100, 200, 300}},
      {"no entries, one header", {}, {0}, {0}},
  };
  for (const CutsCase& row : cases) {
    SCOPED_TRACE(row.what);
    ASSERT_TRUE(OpenWith(row.entries, row.headers));
    std::vector<std::uint64_t> expected = row.cuts;
    expected.push_back(kEnd);
    EXPECT_EQ(Positions(AllCuts(index.Current())), expected);
    EXPECT_EQ(Positions(index.Current().headerPositions), row.headers);
  }
}

TEST_F(LoadedHeaders, WithoutTheirFileAreOneAtTheStart) {
  const CutsCase cases[] = {
      {"before the entries", {100, 4000}, {}, {0, 100, 4000}},
      {"an entry at the start as well", {0, 4000}, {}, {0, 0, 4000}},
      {"only an entry at the start", {0}, {}, {0}},
      {"no entries: no cut either", {}, {}, {}},
  };
  for (const CutsCase& row : cases) {
    SCOPED_TRACE(row.what);
    ASSERT_TRUE(OpenWith(row.entries, row.headers));
    std::vector<std::uint64_t> expected = row.cuts;
    expected.push_back(kEnd);
    EXPECT_EQ(Positions(AllCuts(index.Current())), expected);
    EXPECT_THAT(Positions(index.Current().headerPositions), ElementsAre(0));
  }
}

TEST_F(LoadedHeaders, AreWholeOnesOnly) {
  const Bytes two = HdrFile({1, 0x0807060504030201});
  struct {
    std::size_t size;
    std::vector<std::uint64_t> headers;
  } const cases[] = {
      {0, {}}, {1, {}}, {7, {}}, {8, {1}}, {9, {1}}, {15, {1}}, {16, {1, 0x0807060504030201}},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.size);
    WriteCache({}, Cut(two, row.size), {});
    EXPECT_EQ(Open(), !row.headers.empty());
    EXPECT_EQ(Positions(index.Current().headerPositions), row.headers);
  }
}

}  // namespace
