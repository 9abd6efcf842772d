#include "archive/kept_index.h"

#include <gmock/gmock.h>

#include <QFile>
#include <random>

#include "archive/entry_places.h"
#include "made_file.h"
#include "support/index_cache.h"
#include "support/program.h"
#include "support/sample_archive.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Times = std::vector<ArchiveTime>;

CacheNames NamesBeside(const std::string& archive) {
  return {QFile::decodeName(archive.c_str()), QString()};
}

// The index that these cache files hold.
class KeptIndexes : public testing::Test {
 protected:
  std::optional<KeptIndex> Load(const IndexCache& cache, std::uint64_t archiveBytes = 1 << 20) {
    cache.WriteBeside(mArchive);
    return KeptIndex::Load(NamesBeside(mArchive), archiveBytes);
  }
  std::optional<KeptIndex> LoadTimes(const std::vector<std::uint32_t>& times) {
    IndexCache cache;
    for (const std::uint32_t time : times)
      cache.entries.push_back({time, static_cast<std::uint32_t>(100 * cache.entries.size() + 50)});
    return Load(cache);
  }

  const TempFolder mFolder;
  const std::string mArchive = mFolder / "a.zel3";
};

Times PlacesIn(const KeptIndex& index) {
  Times places;
  for (std::size_t entry = 0; entry < index.Count(); ++entry) {
    places.push_back(index.PlaceOf(entry));
  }
  return places;
}

}  // namespace

TEST_F(KeptIndexes, HoldWhatTheFilesSay) {
  const auto index = Load(
      {{{10, 100, {{1, 20}, {2, 0x47}}}, {20, 200}, {15, 300, {{7, 62}}}}, {0, 150, 200, 400}});
  ASSERT_TRUE(index);
  EXPECT_EQ(index->Count(), 3U);
  EXPECT_EQ(index->PositionOf(0), 100U);
  EXPECT_EQ(index->PositionOf(2), 300U);
  EXPECT_EQ(index->TimeOf(0), 10000U);
  EXPECT_EQ(index->TimeOf(2), 15000U);
  EXPECT_THAT(index->Headers(), ElementsAre(0, 150, 200, 400));
  EXPECT_EQ(index->LevelOf(0, 1), 20U);
  EXPECT_EQ(index->LevelOf(0, 2), 7U) << "the upper bits are no level";
  EXPECT_EQ(index->LevelOf(0, 0), 0U) << "pairs that are not in use are not of stream 0";
  EXPECT_EQ(index->LevelOf(1, 1), 0U);
  EXPECT_EQ(index->LevelOf(2, 7), 62U);
  EXPECT_EQ(index->HeaderFor(0), FilePosition{0});
  EXPECT_EQ(index->HeaderFor(1), FilePosition{150}) << "not the one that stands at the same place";
  EXPECT_EQ(index->HeaderFor(2), FilePosition{200});
}

TEST_F(KeptIndexes, HaveNoHeaderBeforeTheFirst) {
  const auto index = Load({{{10, 100}, {20, 200}}, {150}});
  EXPECT_FALSE(index->HeaderFor(0));
  EXPECT_EQ(index->HeaderFor(1), FilePosition{150});
  EXPECT_FALSE(Load({{{10, 100}}, {}})->HeaderFor(0));
}

TEST_F(KeptIndexes, KnowPositionsOf48Bits) {
  IndexCache cache{{{10, 100}}};
  Bytes id3 = cache.Id3();
  id3[2] = 0x34;
  id3[3] = 0x12;
  cache.WriteBeside(mArchive);
  ReplaceFile(CachePath(mArchive, "id3"), id3);
  EXPECT_EQ(KeptIndex::Load(NamesBeside(mArchive), 1 << 20)->PositionOf(0), 0x123400000064U);
}

TEST_F(KeptIndexes, HaveTheirEntriesInTheSamePlacesAsAnArchiveThatIsRead) {
  std::mt19937 random(4);
  for (int round = 0; round < 100; ++round) {
    std::vector<std::uint32_t> times(1 + random() % 12);
    for (std::size_t i = 0; i < times.size(); ++i)
      times[i] = static_cast<std::uint32_t>(random() % 4 == 0 ? random() : 10 * i);
    SCOPED_TRACE(testing::PrintToString(times));
    Times places;
    EntryPlaces finder([&places](ArchiveTime place) { places.push_back(place); });
    for (const std::uint32_t time : times) finder.Add(ToArchiveTime(time));
    finder.Finish();
    EXPECT_EQ(PlacesIn(*LoadTimes(times)), places);
  }
}

TEST_F(KeptIndexes, TellWhatTheArchiveSpans) {
  const auto spanOf = [this](const std::vector<std::uint32_t>& times) {
    const IndexedSpan span = SpanOf(*LoadTimes(times));
    return std::vector<std::uint64_t>{span.start / 1000, span.end / 1000, span.step / 1000,
                                      span.entries,      span.misplaced,  span.backward};
  };
  EXPECT_THAT(spanOf({10}), ElementsAre(10, 10, 0, 1, 0, 0));
  EXPECT_THAT(spanOf({10, 20, 30}), ElementsAre(10, 30, 10, 3, 0, 0));
  EXPECT_THAT(spanOf({10, 20, 3000, 40, 50}), ElementsAre(10, 50, 10, 5, 1, 0));
  EXPECT_THAT(spanOf({3000, 20, 30, 40}), ElementsAre(20, 40, 10, 4, 1, 0));
  EXPECT_THAT(spanOf({100, 110, 50, 60, 70}), ElementsAre(50, 110, 10, 5, 0, 1));
  EXPECT_THAT(spanOf({10, 1, 30, 40}), ElementsAre(10, 40, 10, 4, 1, 0));
  EXPECT_THAT(spanOf({20, 10}), ElementsAre(10, 20, 0, 2, 0, 1));
  EXPECT_THAT(spanOf({10, 10, 10}), ElementsAre(10, 10, 0, 3, 0, 0));
}

TEST_F(KeptIndexes, AreNotLoadedWithoutEntriesOrFiles) {
  EXPECT_FALSE(KeptIndex::Load(NamesBeside(mArchive), 1 << 20)) << "no files";
  EXPECT_FALSE(Load(IndexCache{}));
  LoadTimes({10, 20});
  ReplaceFile(CachePath(mArchive, "id3"), Bytes(23));
  EXPECT_FALSE(KeptIndex::Load(NamesBeside(mArchive), 1 << 20)) << "not even one entry";
  ReplaceFile(CachePath(mArchive, "id3"), Bytes(47));
  EXPECT_EQ(KeptIndex::Load(NamesBeside(mArchive), 1 << 20)->Count(), 1U) << "half an entry more";
}

TEST_F(KeptIndexes, AreNotLoadedWhenTooLargeForTheirArchive) {
  const IndexCache cache{{{10, 32}, {20, 56}, {30, 80}}, {0, 9, 18, 27, 36}};
  EXPECT_TRUE(Load(cache, 45)) << "of 13 bytes each, and headers of 9";
  EXPECT_FALSE(Load(cache, 44)) << "too many headers";
  const IndexCache withoutHeaders{cache.entries, {}};
  EXPECT_TRUE(Load(withoutHeaders, 39));
  EXPECT_FALSE(Load(withoutHeaders, 38)) << "too many entries";
}

namespace {

using CollectedIndexes = ProgramTest;

void ExpectSame(const KeptIndex& collected, const KeptIndex& loaded) {
  ASSERT_EQ(collected.Count(), loaded.Count());
  EXPECT_EQ(collected.Headers(), loaded.Headers());
  for (std::size_t entry = 0; entry < loaded.Count(); ++entry) {
    EXPECT_EQ(collected.PositionOf(entry), loaded.PositionOf(entry));
    EXPECT_EQ(collected.TimeOf(entry), loaded.TimeOf(entry));
    for (unsigned stream = 0; stream < 256; ++stream) {
      const auto id = static_cast<std::uint8_t>(stream);
      EXPECT_EQ(collected.LevelOf(entry, id), loaded.LevelOf(entry, id));
    }
  }
}

}  // namespace

TEST_F(CollectedIndexes, AreThoseThatAReaderWrites) {
  const GroundTruth truth = WriteScenario(Folder(), SampleScenario());
  Bytes damaged = ReadFile(SampleFile(Folder(), truth, 0));
  std::fill_n(damaged.begin() + static_cast<std::ptrdiff_t>(truth.files[0].entries[2].position),
              100, 0xEE);
  WriteFile(*this / "damaged.zel3", damaged);
  std::vector<std::string> paths{*this / "damaged.zel3"};
  for (std::size_t i = 0; i < 3; ++i) paths.push_back(SampleFile(Folder(), truth, i));
  for (const std::string& path : paths) {
    SCOPED_TRACE(path);
    ASSERT_EQ(Run({"index", path}).exitCode, path == paths[0] ? 3 : 0);
    const auto loaded = KeptIndex::Load(NamesBeside(path), ReadFile(path).size());
    const auto collected = KeptIndex::Collect(path);
    ASSERT_TRUE(loaded && collected);
    ExpectSame(*collected, *loaded);
  }
}

TEST_F(CollectedIndexes, HaveEntries) {
  const MadeFile made(EntriesAt({}));
  EXPECT_FALSE(KeptIndex::Collect(made.Path()));
}
