#include <filesystem>
#include <optional>

#include "blocks/byte_cursor.h"
#include "host/brick_plugins.h"
#include "run_test.h"
#include "support/file_faults.h"

namespace {

constexpr std::uint64_t kPage = 4096;

Bytes WithZeros(Bytes content, std::size_t from, std::size_t to) {
  std::fill(content.begin() + static_cast<std::ptrdiff_t>(from),
            content.begin() + static_cast<std::ptrdiff_t>(to), 0);
  return content;
}

// An archive without index, parts of which cannot be read.
class UnreadableArchive : public RunTest {
 protected:
  void Damage(std::uint64_t from, std::uint64_t to) {
    mDamage.reset();
    mDamage.emplace(folder / "cam.zel3", std::vector<UnreadableBytes::Range>{{from, to}});
  }
  void Mend() { mDamage.reset(); }

  // All that the index reader has to give; the sizes of the blocks and the end of the file.
  Lines PullAll() {
    workshop.log.clear();
    for (int pull = 0; pull < 5; ++pull) {
      Parser().Pull();
      Run();
    }
    return workshop.log;
  }
  std::vector<Bytes> Caches() const {
    std::vector<Bytes> caches;
    for (const char* const extension : {"id3", "hdr", "evt"})
      caches.push_back(ReadFile(CachePath(folder / "cam.zel3", extension)));
    return caches;
  }
  void RemoveCaches() const {
    for (const char* const extension : {"id3", "hdr", "evt"})
      std::filesystem::remove(CachePath(folder / "cam.zel3", extension));
  }
  // The times of the entries of the index beside the archive.
  std::vector<std::uint32_t> EntryTimes() const {
    const Bytes id3 = ReadFile(CachePath(folder / "cam.zel3", "id3"));
    std::vector<std::uint32_t> times;
    for (std::size_t at = 0; at + 24 <= id3.size(); at += 24)
      times.push_back(LoadLittleEndian<std::uint32_t>(&id3[at + 4]));
    return times;
  }

  static constexpr char kEnd[] = "notify Warn EOF EOF End of file reached";
  const std::vector<Bytes> kEmpty{3};
  std::optional<UnreadableBytes> mDamage;
};

TEST_F(UnreadableArchive, IsStreamedWithZerosInPlaceOfWhatCannotBeRead) {
  const Bytes content = NumberedBytes(65535 * 2 + 1);
  OpenInARun(Place("cam.zel3", content));
  Damage(61440, 69632);
  EXPECT_THAT(PullAll(),
              ElementsAre("data RDat 65535", "data RDat 65535", "data RDat 1", kEnd, kEnd));
  // The page after the first one that failed is 4 KiB away, the next one tried 8 KiB.
  EXPECT_TRUE(Parser().received == WithZeros(content, 61440, 73728));
}

TEST_F(UnreadableArchive, IsReadUpToItsEndWhereItIsCutMeanwhile) {
  const Bytes content = NumberedBytes(100000);
  OpenInARun(Place("cam.zel3", content));
  Damage(0, 100000);
  Parser().Pull();
  Run();
  std::filesystem::resize_file(folder / "cam.zel3", 70000);
  EXPECT_THAT(PullAll(), ElementsAre("data RDat 4465", kEnd, kEnd, kEnd, kEnd));
  EXPECT_TRUE(Parser().received == Bytes(70000));
}

class UnreadableIndexedArchive : public UnreadableArchive {
 protected:
  // Entries at 100, 101, … 139, one in each page of 4 KiB; the last page holds the last one.
  void SetUp() override {
    brick_plugins::ResetRegistrations();
    ArchiveBuilder builder("cam");
    builder.Header({{1}});
    for (std::uint32_t time = 100; time < 140; ++time) {
      builder.Index(time);
      const std::size_t end = (time - 99) * kPage;
      builder.Data(1, 3, std::string(end - builder.Size() - 4, 'v'), tag::kVideo);
    }
    content = builder.Content();
    Place("cam.zel3", content);
    Open(folder / "cam.zel3");
    Settle();
    EndReader();
    whole = Caches();
    ASSERT_EQ(EntryTimes().size(), 40u);
    RemoveCaches();
  }
  void TearDown() override {
    Mend();
    EXPECT_TRUE(ReadFile(folder / "cam.zel3") == content);
    UnreadableArchive::TearDown();
  }

  Lines Index() {
    RemoveCaches();
    Open(folder / "cam.zel3");
    const Lines told = Without("Warn W008", Told());
    EndReader();
    return told;
  }
  std::vector<std::uint32_t> TimesWithout(std::uint32_t from, std::uint32_t to) {
    std::vector<std::uint32_t> times;
    for (std::uint32_t time = 100; time < 140; ++time) {
      if (time < from || time >= to) times.push_back(time);
    }
    return times;
  }

  Bytes content;
  std::vector<Bytes> whole;
};

// The records before and after stand where they stood.
TEST_F(UnreadableIndexedArchive, IsIndexedButForThePagesThatCannotBeRead) {
  Damage(10 * kPage, 11 * kPage);
  EXPECT_THAT(Index(), ElementsAre("Cewg"));
  EXPECT_EQ(EntryTimes(), TimesWithout(110, 111));
  const Bytes id3 = ReadFile(CachePath(folder / "cam.zel3", "id3"));
  EXPECT_TRUE(Part(id3, 10 * 24, id3.size()) == Part(whole[0], 11 * 24, whole[0].size()));
}

// A sixteenth of the file is two and a half pages.
TEST_F(UnreadableIndexedArchive, IsIndexedWhereOnlyALittleOfItsEndCannotBeRead) {
  Damage(38 * kPage, 40 * kPage);
  EXPECT_THAT(Index(), ElementsAre("Cewg"));
  EXPECT_EQ(EntryTimes(), TimesWithout(138, 140));
}

TEST_F(UnreadableIndexedArchive, IsNotIndexedWhereMoreOfItsEndCannotBeRead) {
  for (const std::uint64_t from : {std::uint64_t{0}, kPage, 20 * kPage, 37 * kPage}) {
    Damage(from, 40 * kPage);
    EXPECT_THAT(Index(), ElementsAre("Cewg"));
    EXPECT_EQ(Caches(), kEmpty) << from;
  }
  Mend();
  EXPECT_THAT(Index(), ElementsAre("Cewg"));
  EXPECT_EQ(Caches(), whole);
}

// Once, before the run ends, or not at all; the run tells its end once.
TEST_F(UnreadableIndexedArchive, IsReadAnewWhenItCanBeReadAtTheEnd) {
  bool isWhole = true;
  for (int steps = 0; isWhole; ++steps) {
    SCOPED_TRACE(steps);
    ASSERT_LT(steps, 1000);
    RemoveCaches();
    Damage(10 * kPage, 12 * kPage);
    Open(folder.Path());
    Send(ChunkRequest(112000));
    Send(ChunkRequest(112000));
    for (int step = 0; step < steps; ++step) pipeline.RunOne();
    Mend();
    const Lines told = Without("Warn W008", Told());
    EndReader();
    isWhole = Caches() == whole;
    EXPECT_THAT(told, ElementsAre("Cewg", isWhole ? "IRN3 0/12 at 112000" : "IRN3 0/9 at 109000"));
    EXPECT_EQ(EntryTimes(), isWhole ? TimesWithout(0, 0) : TimesWithout(110, 113));
    EXPECT_GT(steps, isWhole ? -1 : 20);
  }
}

// The run is led step by step.
class ARunThatBeginsAnew : public UnreadableArchive {
 protected:
  ARunThatBeginsAnew() {
    archive = ArchiveOf("cam", {10, 20, 30});
    archive.bytes.resize(20000, 1);
    Place("cam.zel3", archive);
  }

  void TearDown() override {
    archive = SmallArchive();
    UnreadableArchive::TearDown();
  }

  // As far as the end of the file, which the parser has not told yet.
  void StreamWithoutAPage() {
    Damage(8192, 12288);
    PullAll();
    Mend();
  }
  void ExpectWhole() {
    EXPECT_THAT(EntryTimes(), ElementsAre(10, 20, 30));
    EXPECT_THAT(Ask(ChunkRequest(20000)), ElementsAre("IRN3 0/1 at 20000"));
  }

  SmallArchive archive;
};

TEST_F(ARunThatBeginsAnew, HasNewChildrenAndAnEmptyIndex) {
  OpenInARun(folder / "cam.zel3");
  ScriptedParser* const first = workshop.current;
  StreamWithoutAPage();
  Parser().Report(ParsedIndex(5));
  EXPECT_THAT(EndRun(), IsEmpty());
  EXPECT_EQ(workshop.orders.size(), 2u);
  EXPECT_NE(workshop.current, first);
  EXPECT_THAT(workshop.log, testing::Contains("gone"));
  EXPECT_EQ(pipeline.BrickCount(), 4u);
  EXPECT_THAT(client->pulls, testing::Contains("CRq3 0 type 2"));
  PullAll();
  EXPECT_TRUE(Parser().received == archive.bytes);
  ReportAll(archive);
  EXPECT_THAT(EndRun(), ElementsAre("Cewg"));
  ExpectWhole();
}

TEST_F(ARunThatBeginsAnew, KeepsTheRequestThatWaits) {
  Open(folder.Path());
  Ask(ChunkRequest(15000));
  Ask(ChunkRequest(25000));
  StreamWithoutAPage();
  EXPECT_THAT(EndRun(), IsEmpty());
  ReportAll(archive);
  EXPECT_THAT(EndRun(), ElementsAre("Cewg", "IRN3 0/1 at 20000"));
}

TEST_F(ARunThatBeginsAnew, TellsItsProgressFromTheFront) {
  OpenInARun(folder / "cam.zel3");
  StreamWithoutAPage();
  EXPECT_THAT(Report(ParsedPlace(10000)), ElementsAre("Warn W008 50% cam.zel3"));
  EXPECT_THAT(EndRun(), IsEmpty());
  EXPECT_THAT(Report(ParsedPlace(0)), ElementsAre("Warn W008 0% cam.zel3"));
}

TEST_F(ARunThatBeginsAnew, DoesSoOnce) {
  OpenInARun(folder / "cam.zel3");
  StreamWithoutAPage();
  EXPECT_THAT(EndRun(), IsEmpty());
  StreamWithoutAPage();
  ReportAll(archive);
  EXPECT_THAT(EndRun(), ElementsAre("Cewg"));
  ExpectWhole();
}

TEST_F(ARunThatBeginsAnew, MayDoSoInEveryRun) {
  Open(folder.Path());
  for (int run = 1; run <= 2; ++run) {
    SCOPED_TRACE(run);
    EXPECT_THAT(Ask(ChunkRequest(15000)), testing::Contains("Warn W008 0% cam.zel3"));
    StreamWithoutAPage();
    ASSERT_THAT(EndRun(), IsEmpty());
    Damage(0, 20000);
    PullAll();
    Mend();
    EXPECT_THAT(EndRun(), testing::Contains("Cewg"));
  }
}

TEST_F(ARunThatBeginsAnew, EndsWithoutAnIndexWhereThereIsNoParserAnyMore) {
  Open(folder.Path());
  Ask(ChunkRequest(15000));
  Ask(ChunkRequest(25000));
  StreamWithoutAPage();
  ReportAll(archive);
  workshop.Close();
  EXPECT_THAT(EndRun(), ElementsAre("Cewg", "IRN3 none at 28000"));
  EXPECT_EQ(pipeline.BrickCount(), 2u);
  EXPECT_EQ(Caches(), kEmpty);
}

TEST_F(ARunThatBeginsAnew, RemembersAFailureAfterTheNextRead) {
  OpenInARun(folder / "cam.zel3");
  Damage(0, 20000);
  PullAll();
  EXPECT_THAT(EndRun(), testing::Contains("Cewg"));
  EXPECT_EQ(Caches(), kEmpty);
}

}  // namespace
