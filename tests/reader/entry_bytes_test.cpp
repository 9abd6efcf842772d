#include <filesystem>

#include "support/process_limit.h"
#include "support/reader_test.h"
#include "support/sanitized.h"

namespace {

// The bytes of entries. The archive of most tests: a header in bytes 0-99, entries at 100, 200 and
// 300, and 401 bytes in all, the last of which is never delivered.
class EntryBytes : public ReaderTest {
 protected:
  const Bytes content = NumberedBytes(401);
  const Bytes header = Part(content, 0, 100);

  // Opens the archive for a client that has asked where a time is, so that bytes are sent.
  void OpenArchive() {
    const std::string path = Place("cam.zel3", content);
    IndexCache{{{10, 100}, {20, 200}, {30, 300}}}.WriteBeside(path);
    OpenAndStart(path);
  }
  void OpenAndStart(const std::string& source) {
    Open(source);
    Start();
  }
  void Start() { Ask(ChunkRequest(0, kAtOrBefore)); }

  Bytes Entry(std::uint32_t number, std::uint64_t time) {
    return BytesFor(BytesRequest(MakeIndexId(0, number), time));
  }
  static Bytes EndingIn(const Bytes& first, const Bytes& second = {}) {
    return Joined(Joined(first, second), EndMarker());
  }
  static Bytes NotFound(std::uint64_t time) { return Joined(TimeMarker(time), EndMarker()); }
};

TEST_F(EntryBytes, TheFirstAnswerIsHeaderEntryAndEndMarker) {
  OpenArchive();
  EXPECT_EQ(Entry(0, 10000), EndingIn(header, Part(content, 100, 100)));
}

TEST_F(EntryBytes, FurtherEntriesOfTheSameHeaderComeWithoutIt) {
  OpenArchive();
  Entry(0, 10000);
  EXPECT_EQ(Entry(1, 20000), EndingIn(Part(content, 200, 100)));
  EXPECT_EQ(Entry(2, 30000), EndingIn(Part(content, 300, 100)));
  EXPECT_EQ(Entry(0, 10000), EndingIn(Part(content, 100, 100)));
}

TEST_F(EntryBytes, TheFirstAnswerMayBeAnyEntry) {
  OpenArchive();
  EXPECT_EQ(Entry(2, 30000), EndingIn(header, Part(content, 300, 100)));
}

TEST_F(EntryBytes, TheLastByteOfAFileIsNeverDelivered) {
  OpenArchive();
  Entry(0, 10000);
  EXPECT_EQ(Entry(2, 30000), EndingIn(Part(content, 300, content.size() - 1 - 300)));
}

TEST_F(EntryBytes, AnEntryNearTheRequestedTimeWillDo) {
  OpenArchive();
  EXPECT_EQ(Entry(1, 25000), EndingIn(header, Part(content, 200, 100)));
}

TEST_F(EntryBytes, ATimeOutsideTheArchiveGivesTwoMarkers) {
  OpenArchive();
  const Bytes expected = {0x05, 0xB5, 0xB5, 0xB5, 0x28, 0, 0, 0, 0, 0, 0, 0, 0,
                          0x05, 0xB5, 0xB5, 0xB5, 0,    0, 0, 0, 0, 0, 0, 0, 0};
  EXPECT_EQ(Entry(1, 40000), expected);
  EXPECT_EQ(Entry(1, 40999), expected);
  EXPECT_EQ(Entry(1, 9999), NotFound(9999));
}

TEST_F(EntryBytes, TheTimeMarkerHoldsAllBitsOfALateTime) {
  OpenArchive();
  const Bytes answer = Entry(1, 0xFFFFFFFFFFFFFFFF);
  // 2^64 - 1 divided by 1000 is 0x004189374BC6A7EF
  EXPECT_EQ(Part(answer, 4, 9), (Bytes{0xEF, 0xA7, 0xC6, 0x4B, 0x37, 0x89, 0x41, 0, 0}));
}

TEST_F(EntryBytes, AnAnswerOfTwoMarkersDoesNotCountAsAnEntry) {
  OpenArchive();
  Entry(1, 40000);
  EXPECT_EQ(Entry(0, 10000), EndingIn(header, Part(content, 100, 100)));
}

// Header and file follow the time, the bytes the identity.
TEST_F(EntryBytes, TheBytesAreThoseOfTheRequestedIdentity) {
  OpenArchive();
  EXPECT_EQ(Entry(2, 10000), EndingIn(header, Part(content, 300, 100)));
}

TEST_F(EntryBytes, AnUnknownIdentityGivesTwoMarkersBehindTheHeader) {
  OpenArchive();
  EXPECT_EQ(Entry(3, 10000), Joined(header, NotFound(10000)));
  EXPECT_EQ(BytesFor(BytesRequest(MakeIndexId(1, 0), 10000)), Joined(header, NotFound(10000)));
  EXPECT_EQ(BytesFor(BytesRequest(kNoIndexId, 10000)), Joined(header, NotFound(10000)));
}

TEST_F(EntryBytes, AHeaderWithoutAnEntryIsSentAgain) {
  OpenArchive();
  Entry(3, 10000);
  EXPECT_EQ(Entry(0, 10000), EndingIn(header, Part(content, 100, 100)));
}

TEST_F(EntryBytes, APlayCommandMakesTheHeaderComeAgain) {
  OpenArchive();
  Entry(0, 10000);
  Ask(Play());
  Start();
  EXPECT_EQ(Entry(1, 20000), EndingIn(header, Part(content, 200, 100)));
}

TEST_F(EntryBytes, AreNotSentBeforeAClientHasChosenATime) {
  const std::string path = Place("cam.zel3", content);
  IndexCache{{{10, 100}, {20, 200}, {30, 300}}}.WriteBeside(path);
  Open(path);
  EXPECT_THAT(Ask(BytesRequest(MakeIndexId(0, 0), 10000)), IsEmpty());
  Ask(ChunkRequest(10000, kNeighbour));
  EXPECT_THAT(Ask(BytesRequest(MakeIndexId(0, 0), 10000)), IsEmpty());
  Ask(ChunkRequest(10000, 3));
  EXPECT_THAT(Ask(BytesRequest(MakeIndexId(0, 0), 10000)), IsEmpty());
  Ask(ChunkRequest(10000, kAtOrBefore));
  EXPECT_THAT(Ask(BytesRequest(MakeIndexId(0, 0), 10000)), ElementsAre("RDat 213"));
}

TEST_F(EntryBytes, AreSentAfterARequestForATimeThatWasNotFound) {
  const std::string path = Place("cam.zel3", content);
  IndexCache{{{10, 100}, {20, 200}, {30, 300}}}.WriteBeside(path);
  Open(path);
  EXPECT_THAT(Ask(ChunkRequest(99000)), ElementsAre("IRN3 none at 102000"));
  EXPECT_THAT(Ask(BytesRequest(MakeIndexId(0, 0), 10000)), ElementsAre("RDat 213"));
}

TEST_F(EntryBytes, AreHeldBackAgainByAPlayCommand) {
  OpenArchive();
  Ask(Play());
  EXPECT_THAT(Ask(BytesRequest(MakeIndexId(0, 0), 10000)), IsEmpty());
  Ask(ChunkRequest(10000, kNeighbour));
  EXPECT_THAT(Ask(BytesRequest(MakeIndexId(0, 0), 10000)), IsEmpty());
}

TEST_F(EntryBytes, ANewHeaderWithinAFileComesWithItsFirstEntry) {
  const Bytes twoHeaders = NumberedBytes(601);
  const std::string path = Place("cam.zel3", twoHeaders);
  IndexCache{{{10, 100}, {20, 200}, {30, 300}, {40, 400}}, {0, 250}}.WriteBeside(path);
  OpenAndStart(path);
  const Bytes second = Part(twoHeaders, 250, 50);
  EXPECT_EQ(Entry(0, 10000), EndingIn(Part(twoHeaders, 0, 100), Part(twoHeaders, 100, 100)));
  EXPECT_EQ(Entry(1, 20000), EndingIn(Part(twoHeaders, 200, 50)));
  EXPECT_EQ(Entry(2, 30000), EndingIn(second, Part(twoHeaders, 300, 100)));
  EXPECT_EQ(Entry(3, 40000), EndingIn(Part(twoHeaders, 400, 200)));
  EXPECT_EQ(Entry(0, 10000), EndingIn(Part(twoHeaders, 0, 100), Part(twoHeaders, 100, 100)));
}

TEST_F(EntryBytes, WhichHeaderAClientHasFollowsTheTimesAndNotTheIdentities) {
  const Bytes twoHeaders = NumberedBytes(601);
  const std::string path = Place("cam.zel3", twoHeaders);
  IndexCache{{{10, 100}, {20, 200}, {30, 300}, {40, 400}}, {0, 250}}.WriteBeside(path);
  OpenAndStart(path);
  EXPECT_EQ(Entry(2, 10000), EndingIn(Part(twoHeaders, 0, 100), Part(twoHeaders, 300, 100)));
  EXPECT_EQ(Entry(1, 20000), EndingIn(Part(twoHeaders, 200, 50)));
  EXPECT_EQ(Entry(0, 30000), EndingIn(Part(twoHeaders, 250, 50), Part(twoHeaders, 100, 100)));
}

// A header counts for an entry only when it stands before it.
TEST_F(EntryBytes, AHeaderAtTheEntryItselfIsNotItsHeader) {
  const std::string path = Place("cam.zel3", content);
  IndexCache{{{10, 100}, {20, 200}, {30, 300}}, {0, 200}}.WriteBeside(path);
  OpenAndStart(path);
  EXPECT_EQ(Entry(1, 20000), EndingIn(header, Part(content, 200, 100)));
}

TEST_F(EntryBytes, AHeaderBehindTheLastEntryMakesNoCut) {
  const std::string path = Place("cam.zel3", content);
  IndexCache{{{10, 100}, {20, 200}, {30, 300}}, {0, 350}}.WriteBeside(path);
  OpenAndStart(path);
  EXPECT_EQ(Entry(2, 30000), EndingIn(header, Part(content, 300, 100)));
}

TEST_F(EntryBytes, WithoutHeaderFileTheHeaderStandsAtTheStart) {
  const std::string path = Place("cam.zel3", content);
  IndexCache{{{10, 100}, {20, 200}, {30, 300}}}.WriteBeside(path);
  std::filesystem::remove(CachePath(path, "hdr"));
  OpenAndStart(path);
  EXPECT_EQ(Entry(1, 20000), EndingIn(header, Part(content, 200, 100)));
}

TEST_F(EntryBytes, WithoutAnyHeaderTheStartOfTheFileIsTakenForOne) {
  const std::string path = Place("cam.zel3", content);
  IndexCache{{{10, 0}, {20, 200}, {30, 300}}, {}}.WriteBeside(path);
  OpenAndStart(path);
  EXPECT_EQ(Entry(1, 20000), EndingIn(Part(content, 0, 200), Part(content, 200, 100)));
}

// The cuts are 0, 100, 200, 5000 and, as the file's end, 400: none of them ends after 5000.
TEST_F(EntryBytes, AnEntryOutsideAllUnitsIsFoundAndEmpty) {
  const std::string path = Place("cam.zel3", content);
  IndexCache{{{10, 100}, {20, 200}, {30, 5000}}}.WriteBeside(path);
  OpenAndStart(path);
  EXPECT_EQ(Entry(2, 30000), EndingIn(header));
}

TEST_F(EntryBytes, PositionsAreNotTrustedToLieInTheFile) {
  const std::string path = Place("cam.zel3", content);
  IndexCache{{{10, 100}, {20, 5000}, {30, 6000}}, {0}}.WriteBeside(path);
  OpenAndStart(path);
  Entry(0, 10000);
  // Nothing can be read at 5,000, so the end marker follows at once; the size stays as computed.
  const Bytes answer = Entry(1, 20000);
  EXPECT_EQ(answer.size(), 1013u);
  EXPECT_EQ(Part(answer, 0, 13), EndMarker());
}

TEST_F(EntryBytes, AnEntryThatEndsBehindTheFileKeepsItsSize) {
  const std::string path = Place("cam.zel3", content);
  IndexCache{{{10, 100}, {20, 350}, {30, 1000}}, {0}}.WriteBeside(path);
  OpenAndStart(path);
  Entry(0, 10000);
  const Bytes answer = Entry(1, 20000);
  EXPECT_EQ(answer.size(), 663u);
  EXPECT_EQ(Part(answer, 0, 51), Part(content, 350, 51));
  EXPECT_EQ(Part(answer, 650, 13), EndMarker());
}

TEST_F(EntryBytes, AReadThatCameUpShortDoesNotSpoilTheNext) {
  const std::string path = Place("cam.zel3", content);
  IndexCache{{{10, 100}, {20, 350}, {30, 1000}}, {0}}.WriteBeside(path);
  OpenAndStart(path);
  Entry(0, 10000);
  Entry(1, 20000);
  EXPECT_EQ(Entry(0, 10000), EndingIn(Part(content, 100, 250)));
}

TEST_F(EntryBytes, AnEntryOfWhichNothingCouldBeReadDoesNotCount) {
  const std::string path = Place("cam.zel3", content);
  IndexCache{{{10, 100}, {20, 5000}, {30, 6000}}, {0}}.WriteBeside(path);
  OpenAndStart(path);
  Entry(1, 20000);
  EXPECT_EQ(Part(Entry(0, 10000), 0, 100), header) << "the header is still needed";
}

TEST_F(EntryBytes, AnEntryOfWhichAByteCouldBeReadCounts) {
  const std::string path = Place("cam.zel3", content);
  IndexCache{{{10, 100}, {20, 350}, {30, 1000}}, {0}}.WriteBeside(path);
  OpenAndStart(path);
  EXPECT_EQ(Entry(1, 20000).size(), 100u + 650 + 13);
  EXPECT_EQ(Entry(0, 10000), EndingIn(Part(content, 100, 250))) << "the header is there already";
}

TEST_F(EntryBytes, OfAnOpenFileComeAlsoWhenItsNameIsGone) {
  OpenArchive();
  Entry(0, 10000);
  std::filesystem::remove(folder / "cam.zel3");
  EXPECT_EQ(Entry(1, 20000), EndingIn(Part(content, 200, 100)));
}

TEST_F(EntryBytes, AnAnswerTooLargeForABlockIsAnsweredAsNotFound) {
  const std::string path = Place("cam.zel3", content);
  IndexCache{{{10, 100}, {20, 200}, {30, 0xF0000000}}, {0}}.WriteBeside(path);
  OpenAndStart(path);
  EXPECT_EQ(Entry(1, 20000), NotFound(20000));
  EXPECT_EQ(Entry(0, 10000), EndingIn(header, Part(content, 100, 100)))
      << "it did not count as sent";
}

// The largest answer that is made is one of 2^31 - 1 bytes.
TEST_F(EntryBytes, TheLengthOfAnAnswerIsCountedWithHeaderAndMarker) {
  const std::string path = Place("cam.zel3", content);
  constexpr std::uint32_t kTooLong = 0x7FFFFFFF - 100 - 13 + 1;
  IndexCache{{{10, 100}, {20, 100 + kTooLong}, {30, 100 + kTooLong + 10}}, {0}}.WriteBeside(path);
  OpenAndStart(path);
  EXPECT_EQ(Entry(0, 10000), NotFound(10000));
}

TEST_F(EntryBytes, AnAnswerForWhichThereIsNoMemoryIsAnsweredAsNotFound) {
  if (kIsSanitized) GTEST_SKIP() << "sanitizers need more address space than this test leaves";
  const std::string path = Place("cam.zel3", content);
  IndexCache{{{10, 100}, {20, 0x70000000}, {30, 0x70000010}}, {0}}.WriteBeside(path);
  OpenAndStart(path);
  {
    const ProcessLimit memory(RLIMIT_AS, rlim_t{1} << 30);
    EXPECT_EQ(Entry(0, 10000), NotFound(10000));
  }
  EXPECT_EQ(Entry(2, 30000), EndingIn(header)) << "it did not count as sent";
}

// Of a file without full index only the times of two entries are known, and no places.
TEST_F(EntryBytes, OfAFileKnownByHeadAndTailAreTheEndMarkerAlone) {
  Place("cam.zel3", ArchiveOf("cam", {10, 20, 30}));
  OpenAndStart(folder.Path());
  Ask(ChunkRequest(999000));
  EXPECT_EQ(Entry(0, 10000), EndMarker());
  EXPECT_EQ(Entry(1, 30000), EndMarker());
  EXPECT_EQ(Entry(2, 10000), NotFound(10000));
  EXPECT_TRUE(workshop.orders.empty()) << "bytes never start a run";
}

TEST_F(EntryBytes, OfAFileKnownByHeadAndTailDoNotCountAsSent) {
  IndexCache{{{10, 100}, {20, 200}, {30, 300}}}.WriteBeside(Place("a.zel3", content));
  Place("b.zel3", ArchiveOf("b", {110, 120, 130}));
  OpenAndStart(folder.Path());
  Entry(0, 10000);
  EXPECT_EQ(BytesFor(BytesRequest(MakeIndexId(1, 0), 110000)), EndMarker());
  EXPECT_EQ(Entry(1, 20000), EndingIn(Part(content, 200, 100)))
      << "the header of the first file is still the last one sent";
}

// The end of an empty archive lies one before its start.
TEST_F(EntryBytes, AnEmptyArchiveWithACacheGivesTwoMarkers) {
  const std::string path = Place("cam.zel3", Bytes());
  IndexCache{{{10, 100}, {20, 200}, {30, 300}}}.WriteBeside(path);
  OpenAndStart(path);
  EXPECT_EQ(Entry(2, 30000), NotFound(30000));
  IndexCache{{{10, 0}}, {0}}.WriteBeside(path);
  EndReader();
  OpenAndStart(path);
  EXPECT_EQ(Entry(0, 10000), NotFound(10000));
}

// The length of this entry is so near to 2^64 that the sum of all lengths is 12.
TEST_F(EntryBytes, AnEntryOfAnEmptyArchiveIsTooLargeToBeSent) {
  const std::string path = Place("cam.zel3", Bytes());
  IndexCache{{{10, 100}}}.WriteBeside(path);
  OpenAndStart(path);
  EXPECT_EQ(Entry(0, 10000), NotFound(10000));
}

TEST_F(EntryBytes, ARequestLeavesTheAnswerOfTheNextTimeRequestAlone) {
  OpenArchive();
  Entry(2, 30000);
  EXPECT_THAT(Ask(ChunkRequest(20000)), ElementsAre("IRN3 0/1 at 20000"));
}

class EntryBytesOfAFolder : public EntryBytes {
 protected:
  const Bytes early = NumberedBytes(401);
  const Bytes late = Bytes(early.rbegin(), early.rend());

  void SetUp() override {
    earlyPath = Place("early.zel3", early);
    latePath = Place("late.zel3", late);
    IndexCache{{{10, 100}, {20, 200}, {30, 300}}}.WriteBeside(earlyPath);
    IndexCache{{{110, 50}, {120, 250}, {130, 350}}}.WriteBeside(latePath);
    OpenAndStart(folder.Path());
  }
  Bytes EntryOf(std::uint32_t file, std::uint32_t number, std::uint64_t time) {
    return BytesFor(BytesRequest(MakeIndexId(file, number), time));
  }

  std::string earlyPath;
  std::string latePath;
};

TEST_F(EntryBytesOfAFolder, ComeFromTheFileThatHoldsTheTime) {
  EXPECT_EQ(EntryOf(0, 0, 10000), EndingIn(Part(early, 0, 100), Part(early, 100, 100)));
  EXPECT_EQ(EntryOf(1, 0, 110000), EndingIn(Part(late, 0, 50), Part(late, 50, 200)));
  EXPECT_EQ(EntryOf(1, 1, 120000), EndingIn(Part(late, 250, 100)));
  EXPECT_EQ(EntryOf(0, 1, 20000), EndingIn(Part(early, 0, 100), Part(early, 200, 100)));
}

TEST_F(EntryBytesOfAFolder, AJumpToAnotherFileNeedsNoIndexAndChangesNone) {
  std::filesystem::remove(CachePath(earlyPath, "id3"));
  std::filesystem::remove(CachePath(latePath, "id3"));
  EntryOf(0, 0, 10000);
  EntryOf(1, 0, 110000);
  EntryOf(0, 0, 10000);
  EXPECT_TRUE(workshop.orders.empty());
  EXPECT_FALSE(FileExists(CachePath(earlyPath, "id3")));
  EXPECT_THAT(ArchiveTimes(), ElementsAre("10000-36000", "110000-136000"));
}

TEST_F(EntryBytesOfAFolder, AfterAJumpTheReaderIsStillNoIndexReader) {
  EntryOf(0, 0, 10000);
  EntryOf(1, 0, 110000);
  EXPECT_THAT(Ask(DataTick()), ElementsAre("RDat 13"));
}

// The time says late.zel3, the identity names an entry of early.zel3: its place is read in late.
TEST_F(EntryBytesOfAFolder, AnIdentityOfAnotherFileReadsItsPlaceInTheOpenFile) {
  EXPECT_EQ(EntryOf(0, 1, 110000), EndingIn(Part(late, 0, 50), Part(late, 200, 100)));
}

TEST_F(EntryBytesOfAFolder, AFileThatHasVanishedGivesTheMarkerAndNothingElse) {
  EntryOf(0, 0, 10000);
  std::filesystem::remove(latePath);
  const Bytes answer = EntryOf(1, 0, 110000);
  EXPECT_EQ(answer.size(), 50u + 200 + 13);
  EXPECT_EQ(Part(answer, 0, 13), EndMarker());
  EXPECT_EQ(EntryOf(0, 0, 10000), EndingIn(Part(early, 100, 100))) << "others still come";
}

TEST_F(EntryBytesOfAFolder, AFileThatCouldNotBeOpenedIsTriedAgainOnlyAfterAnother) {
  EntryOf(0, 0, 10000);
  std::filesystem::remove(latePath);
  EXPECT_EQ(Part(EntryOf(1, 0, 110000), 0, 13), EndMarker());
  WriteFile(latePath, late);
  const Bytes answer = EntryOf(1, 0, 110000);
  EXPECT_EQ(answer.size(), 50u + 200 + 13);
  EXPECT_EQ(Part(answer, 0, 13), EndMarker()) << "it is the current file and not opened again";
  EntryOf(0, 0, 10000);
  EXPECT_EQ(EntryOf(1, 0, 110000), EndingIn(Part(late, 0, 50), Part(late, 50, 200)));
}

// Only a single file that fails again counts as no archive.
TEST_F(EntryBytesOfAFolder, AFileThatHasVanishedLeavesTheListAsItIs) {
  std::filesystem::remove(latePath);
  for (int i = 0; i < 3; ++i) {
    EntryOf(0, 0, 10000);
    EntryOf(1, 0, 110000);
  }
  EXPECT_THAT(ArchiveTimes(), ElementsAre("10000-36000", "110000-136000"));
}

TEST_F(EntryBytesOfAFolder, AHeaderThatIsReadShortKeepsItsRoom) {
  for (const std::size_t left : {30, 1}) {
    EntryOf(0, 0, 10000);
    std::filesystem::resize_file(latePath, left);
    const Bytes answer = EntryOf(1, 0, 110000);
    EXPECT_EQ(answer.size(), 50u + 200 + 13);
    EXPECT_EQ(Part(answer, 0, left), Part(late, 0, left));
    EXPECT_EQ(Part(answer, 50, 13), EndMarker()) << "nothing of the entry could be read";
  }
}

TEST_F(EntryBytesOfAFolder, AFileThatHasShrunkGivesWhatIsLeft) {
  for (const std::size_t left : {60, 51}) {
    EntryOf(0, 0, 10000);
    std::filesystem::resize_file(latePath, left);
    const Bytes answer = EntryOf(1, 0, 110000);
    EXPECT_EQ(answer.size(), 50u + 200 + 13);
    EXPECT_EQ(Part(answer, 0, left), Part(late, 0, left));
    EXPECT_EQ(Part(answer, 250, 13), EndMarker());
  }
}

// A folder of a file with an index and one that is indexed only when a time in it is asked for.
class EntryBytesAfterARun : public EntryBytes {
 protected:
  void SetUp() override {
    const std::string path = Place("a.zel3", content);
    IndexCache{{{10, 100}, {20, 200}, {30, 300}}}.WriteBeside(path);
    Place("b.zel3", ArchiveOf("b", {110, 120, 130}));
    OpenAndStart(folder.Path());
    EXPECT_EQ(Entry(0, 10000).size(), 213u);
    EXPECT_EQ(Entry(1, 20000).size(), 113u);
  }
  void Index() {
    Ask(ChunkRequest(115000));
    ASSERT_EQ(workshop.orders.size(), 1u) << "a run has ended by opening the folder again";
  }
};

TEST_F(EntryBytesAfterARun, BeginWithTheHeaderAgain) {
  Index();
  EXPECT_EQ(Entry(1, 20000), EndingIn(header, Part(content, 200, 100)));
}

TEST_F(EntryBytesAfterARun, GoOnWithoutTheHeaderWhenTheFolderDidNotOpenAgain) {
  Place("bad.zel3", Bytes(100, 0x11));
  Index();
  EXPECT_EQ(Entry(1, 20000), EndingIn(Part(content, 200, 100)));
}

}  // namespace
