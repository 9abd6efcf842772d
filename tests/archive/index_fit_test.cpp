#include "archive/index_fit.h"

#include <gmock/gmock.h>

#include "archive/framing_follow.h"
#include "made_file.h"
#include "support/index_cache.h"
#include "support/sample_archive.h"

namespace {

using Verdict = IndexFit::Verdict;

// As the cache files say it.
IndexFit FitOfCache(const IndexCache& cache, const MadeFile& made) {
  cache.WriteBeside(made.Path());
  const auto index = KeptIndex::Load(CacheNames(QString::fromStdString(made.Path()), QString()),
                                     made.File().Size());
  return FitOf(index.value(), made.File());
}

const IndexCache kThreeEntries{{{10, 32}, {20, 56}, {30, 80}}};

}  // namespace

TEST(IndexFit, AnIndexFitsItsArchive) {
  const IndexFit fit = FitOfCache(kThreeEntries, MadeFile(EntriesAt({10, 20, 30})));
  EXPECT_EQ(fit.verdict, Verdict::kFits);
  EXPECT_EQ(fit.why, "");
}

TEST(IndexFit, TellsWhyItIsThatOfSomethingElse) {
  const Bytes bytes = EntriesAt({10, 20, 30}).Content();
  const auto with = [](Bytes changed, std::size_t place, unsigned char value) {
    changed[place] = value;
    return changed;
  };
  const Bytes front = Between(bytes, 0, 32) + Between(bytes, 32, 56);
  const struct {
    const char* what;
    Bytes archive;
    IndexCache cache;
    const char* why;
  } cases[] = {
      {"another time of the first entry", with(bytes, 36, 11), kThreeEntries,
       "lacks the entry 0 that its index has at byte 32"},
      {"of the last one", with(bytes, 84, 31), kThreeEntries,
       "lacks the entry 2 that its index has at byte 80"},
      {"no entry there", with(bytes, 56, 6), kThreeEntries,
       "lacks the entry 1 that its index has at byte 56"},
      {"another place",
       bytes,
       {{{10, 32}, {20, 57}, {30, 80}}},
       "lacks the entry 1 that its index has at byte 57"},
      {"an archive that ends before it", Between(bytes, 0, 90), kThreeEntries,
       "lacks the entry 2 that its index has at byte 80"},
      {"entries of the same place",
       bytes,
       {{{10, 32}, {10, 32}}},
       "does not have entry 0 before the next one"},
      {"entries that overlap",
       bytes,
       {{{10, 32}, {20, 56}, {30, 68}}},
       "does not have entry 1 before the next one"},
      {"entries in another order",
       bytes,
       {{{10, 32}, {30, 80}, {20, 56}}},
       "does not have entry 1 before the next one"},
      {"no header there",
       bytes,
       {{{10, 32}, {20, 56}, {30, 80}}, {0, 45}},
       "lacks the header that its index has at byte 45"},
      {"a destroyed header", with(bytes, 2, 6), kThreeEntries,
       "lacks the header that its index has at byte 0"},
      {"no headers",
       bytes,
       {{{10, 32}, {20, 56}, {30, 80}}, {}},
       "has headers that its index lacks"},
      {"another first header",
       front + bytes,
       {{{10, 32}, {10, 88}, {20, 112}, {30, 136}}, {56}},
       "has headers that its index lacks"},
      {"headers in another order",
       front + bytes,
       {{{10, 32}, {10, 88}, {20, 112}, {30, 136}}, {56, 0}},
       "has headers that its index lacks"},
      {"an entry before the first",
       bytes,
       {{{20, 56}, {30, 80}}},
       "has an entry at byte 32 that its index lacks"},
      {"before damage before the first",
       with(bytes, 48, 0xEE),
       {{{20, 56}, {30, 80}}},
       "has an entry at byte 32 that its index lacks"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.what);
    const IndexFit fit = FitOfCache(row.cache, MadeFile(row.archive));
    EXPECT_EQ(fit.verdict, Verdict::kOther);
    EXPECT_EQ(fit.why, row.why);
  }
}

TEST(IndexFit, AnArchiveHasGrownWhenAnEntryFollowsTheLast) {
  const IndexFit fit = FitOfCache({{{10, 32}, {20, 56}}}, MadeFile(EntriesAt({10, 20, 30})));
  EXPECT_EQ(fit.verdict, Verdict::kGrown);
  EXPECT_EQ(fit.why, "goes on after what its index knows, at byte 80");

  // Also after damage.
  ArchiveBuilder archive = EntriesAt({10, 20});
  archive.Filler(50, 0xEE).Index(30);
  EXPECT_EQ(FitOfCache({{{10, 32}, {20, 56}}}, MadeFile(archive)).verdict, Verdict::kGrown);
}

TEST(IndexFit, TellsHowTheArchiveEnds) {
  const Bytes bytes = EntriesAt({10, 20, 30}).Content();
  ArchiveBuilder withHeader = EntriesAt({10, 20, 30});
  withHeader.Header({{2}}).Data(2, 3, "sound");
  ArchiveBuilder undeclared = EntriesAt({10, 20, 30});
  undeclared.Data(2, 3, "sound");
  const struct {
    const char* what;
    Bytes archive;
    FilePosition wholeUpTo;
    bool isDamaged;
  } cases[] = {
      {"whole", bytes, 104, false},
      {"without the last block", Between(bytes, 0, 93), 93, false},
      {"within the last block", Between(bytes, 0, 100), 93, false},
      {"within the head of a block", bytes + Bytes{7, 0}, 104, false},
      {"within an index record", bytes + Bytes{0x05, 0xB5, 0xB5, 0xB5, 1}, 104, false},
      {"within a header", bytes + Between(bytes, 0, 20), 104, false},
      {"damage", bytes + Bytes(20, 0xEE), 104, true},
      {"zeros", bytes + Bytes(20), 104, true},
      {"data of a stream that no header declares", undeclared.Content(), 104, true},
      {"data of a header after the last entry", withHeader.Content(), 145, false},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.what);
    const MadeFile made(row.archive);
    EXPECT_EQ(FitOfCache(kThreeEntries, made).verdict, Verdict::kFits);
    const FollowedFraming after = FollowFraming(made.File(), 93, made.File().Size(), 0);
    EXPECT_EQ(after.wholeUpTo, row.wholeUpTo);
    EXPECT_EQ(after.isDamaged, row.isDamaged);
  }
}

TEST(IndexFit, DamageBeforeTheFirstEntryDoesNoHarm) {
  const Bytes bytes = EntriesAt({10, 20, 30}).Content();
  EXPECT_EQ(FitOfCache({{{10, 82}, {20, 106}, {30, 130}}, {50}}, MadeFile(Bytes(50, 0xEE) + bytes))
                .verdict,
            Verdict::kFits)
      << "before the header";
  EXPECT_EQ(FitOfCache({{{10, 50}, {20, 74}, {30, 98}}, {}},
                       MadeFile(Bytes(50, 0xEE) + Between(bytes, 32, 104)))
                .verdict,
            Verdict::kFits)
      << "in the place of the header";
}

// The header in force at the last entry is a later one.
TEST(IndexFit, TheLastEntryIsFollowedByTheHeaderInForce) {
  ArchiveBuilder archive = EntriesAt({10});
  archive.Header({{2}}).Index(20).Data(2, 3, "sound");
  const MadeFile made(archive);
  EXPECT_EQ(FitOfCache({{{10, 32}, {20, 88}}, {0, 56}}, made).verdict, Verdict::kFits);
  const FollowedFraming after = FollowFraming(made.File(), 101, made.File().Size(), 56);
  EXPECT_FALSE(after.isDamaged);
  EXPECT_EQ(after.wholeUpTo, 110U);
}

TEST(IndexFit, OfManyEntriesTheFirstAndTheLastAreAmongThoseLookedAt) {
  std::vector<std::uint32_t> times;
  IndexCache cache;
  for (std::uint32_t i = 0; i < 1000; ++i) {
    times.push_back(i);
    cache.entries.push_back({i, 32 + 24 * i});
  }
  const MadeFile made(EntriesAt(times));
  EXPECT_EQ(FitOfCache(cache, made).verdict, Verdict::kFits);
  // 256 evenly: the first three are 0, 3 and 7.
  for (const std::size_t entry : {0, 3, 7, 999}) {
    IndexCache other = cache;
    ++other.entries[entry].indexTime;
    EXPECT_EQ(FitOfCache(other, made).verdict, Verdict::kOther) << entry;
  }
}
