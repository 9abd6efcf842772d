#include <algorithm>
#include <fstream>

#include "support/reader_test.h"

namespace {

// The longest stretch of a file that is looked at in one go, and how far the search for the last
// index record steps back. The step is longer, so 16 bytes between two stretches are never seen.
constexpr std::size_t kStretch = 65535;
constexpr std::size_t kStep = 65551;

// A folder of one archive whose times are found by its first and last index records.
class QuickIndex : public ReaderTest {
 protected:
  void OpenFolderWith(const Bytes& content) {
    Place("cam.zel3", content);
    Open(folder.Path());
  }

  // Whether a folder with only this file holds an archive.
  bool IsArchive(const Bytes& content) {
    OpenFolderWith(content);
    const Lines answer = Ask(ArchivesRequest());
    EndReader();
    return answer == Lines{"ArcA 1 " + folder.Path()};
  }

  // The streams of the only archive of the folder.
  Bytes StreamMap() {
    const std::vector<TArchiveEntry> entries = ArchiveList();
    return entries.size() == 1 ? Bytes(entries[0].streamMap, entries[0].streamMap + 32) : Bytes();
  }

  // The index time that is taken for the last one of a file of `size` bytes with index records of
  // time 10 at its start and of the given time at the given place.
  std::uint64_t LastTime(std::size_t size, std::uint32_t indexTime, std::size_t place) {
    ArchiveBuilder builder("cam");
    builder.Header({{1}}).Index(10);
    builder.Filler(place - builder.Size()).Index(indexTime);
    Bytes content = builder.Content();
    content.resize(size, 0x11);
    OpenFolderWith(content);
    const std::vector<TArchiveEntry> entries = ArchiveList();
    EndReader();
    return entries.size() == 1 ? entries[0].endTime / 1000 : 0;
  }
};

TEST_F(QuickIndex, TakesTheFirstAndTheLastIndexTime) {
  OpenFolderWith(ArchiveOf("cam", {10, 20, 30, 40}).bytes);
  EXPECT_THAT(ArchiveTimes(), ElementsAre("10000-40000"));
}

TEST_F(QuickIndex, ASingleIndexRecordIsFirstAndLast) {
  OpenFolderWith(ArchiveOf("cam", {10}).bytes);
  EXPECT_THAT(ArchiveTimes(), ElementsAre("10000-10000"));
}

TEST_F(QuickIndex, TimesThatRunBackwardWidenTheRangeToBothSides) {
  OpenFolderWith(ArchiveOf("cam", {30, 90, 20}).bytes);
  EXPECT_THAT(ArchiveTimes(), ElementsAre("20000-30000"));
}

TEST_F(QuickIndex, LargeIndexTimesDoNotOverflow) {
  OpenFolderWith(ArchiveOf("cam", {4'000'000'000, 4'294'967'295}).bytes);
  EXPECT_THAT(ArchiveTimes(), ElementsAre("4000000000000-4294967295000"));
}

TEST_F(QuickIndex, MarksTheStreamsThatTheHeaderDeclaresActive) {
  OpenFolderWith(ArchiveBuilder("cam").Header({{0}, {7}, {9, false}, {255}}).Index(10).Content());
  Bytes expected(32);
  expected[0] = 0x81;
  expected[31] = 0x80;
  EXPECT_EQ(StreamMap(), expected);
}

// The place of the first index record counts from the file's start, not from the header.
TEST_F(QuickIndex, TheHeaderMayStandBehindOtherBytes) {
  constexpr std::int16_t kInFront = 7;
  const Bytes content =
      ArchiveBuilder("cam").Filler(kInFront).Header({{1}}, 5 + kInFront).Index(10).Content();
  EXPECT_TRUE(IsArchive(content));
  const Bytes countedFromTheHeader =
      ArchiveBuilder("cam").Filler(kInFront).Header({{1}}, 5).Index(10).Content();
  EXPECT_FALSE(IsArchive(countedFromTheHeader));
}

TEST_F(QuickIndex, TheFirstIndexRecordMayStandFarBehindTheHeader) {
  EXPECT_TRUE(
      IsArchive(ArchiveBuilder("cam").Header({{1}}, 1005).Filler(1000).Index(10).Content()));
}

TEST_F(QuickIndex, TheFirstIndexRecordMustStandWhereTheHeaderSays) {
  for (const std::int16_t delta : {-32768, -100, 0, 4, 6, 20, 32767}) {
    EXPECT_FALSE(IsArchive(ArchiveBuilder("cam").Header({{1}}, delta).Index(10).Content()))
        << delta;
  }
}

TEST_F(QuickIndex, TheFirstIndexRecordMustLieWholeInTheFile) {
  const Bytes whole = ArchiveBuilder("cam").Header({{1}}).Index(10).Content();
  EXPECT_TRUE(IsArchive(whole));
  for (std::size_t missing = 1; missing < kIndexRecordSize; ++missing) {
    EXPECT_FALSE(IsArchive(Part(whole, 0, whole.size() - missing))) << missing;
  }
}

// What would be the body of a header is looked at only after a marker.
TEST_F(QuickIndex, WithoutAHeaderMarkerThereIsNoArchive) {
  Bytes content = ArchiveBuilder("cam").Filler(20, 0).Index(10).Content();
  content[3] = 20;
  EXPECT_FALSE(IsArchive(content));
}

TEST_F(QuickIndex, TheHeaderMarkerMayBeTheEndOfTheFile) {
  const Bytes content =
      Joined(ArchiveBuilder("cam").Index(10).Content(), {0xB5, 0xB5, 0xB5, 0x05, 0xB5});
  EXPECT_TRUE(IsArchive(content)) << "both lengths read as zero";
}

// Steps back from the end may come to byte 1; the last search still begins at byte 0.
TEST_F(QuickIndex, TheLastSearchBeginsAtTheStart) {
  Bytes content = Joined(ArchiveBuilder("cam").Index(10).Content(), {0xB5, 0xB5, 0x05, 0xB5});
  content.resize(kStep + 1);
  EXPECT_TRUE(IsArchive(content));
}

TEST_F(QuickIndex, TheHeaderMarkerMustStandInTheFirstStretch) {
  ArchiveBuilder behind("cam");
  behind.Filler(kStretch).Header({{1}}, 5).Index(10).Filler(100);
  EXPECT_FALSE(IsArchive(behind.Content()));

  // A header may name a place before itself.
  ArchiveBuilder within("cam");
  within.Filler(20000).Index(10).Filler(20000);
  const std::size_t place = 20000;
  ArchiveBuilder header("cam");
  header.Header({{1}});
  const auto delta = static_cast<std::int16_t>(place + 5 - header.Size());
  within.Header({{1}}, delta);
  EXPECT_TRUE(IsArchive(within.Content()));
}

TEST_F(QuickIndex, OfAHeaderThatRunsOverTheFirstStretchTheRestReadsAsZero) {
  const auto withMarkerAt = [](std::size_t place) {
    ArchiveBuilder builder("cam");
    builder.Index(10);
    return builder.Filler(place - builder.Size()).Header({{1}}, 5).Content();
  };
  EXPECT_FALSE(IsArchive(withMarkerAt(kStretch - 3))) << "the marker itself runs over it";
  OpenFolderWith(withMarkerAt(kStretch - 4));
  EXPECT_THAT(ArchiveTimes(), ElementsAre("10000-10000"));
  EXPECT_EQ(StreamMap(), Bytes(32));
}

TEST_F(QuickIndex, TheFirstHeaderMarkerCounts) {
  Bytes content = ArchiveBuilder("cam").Filler(12).Header({{1}}, 5 + 12).Index(10).Content();
  EXPECT_TRUE(IsArchive(content));
  const Bytes emptyHeader = {0xB5, 0xB5, 0x05, 0xB5, 0, 0, 0, 0, 0, 0, 0, 0};
  std::copy(emptyHeader.begin(), emptyHeader.end(), content.begin());
  EXPECT_FALSE(IsArchive(content));
}

TEST_F(QuickIndex, AHeaderMarkerMayFollowPartOfAnother) {
  EXPECT_TRUE(
      IsArchive(ArchiveBuilder("cam").Filler(1, 0xB5).Header({{1}}, 5 + 1).Index(10).Content()));
}

TEST_F(QuickIndex, TheFirstIndexRecordMustLieWholeInTheFirstStretch) {
  const auto withFirstIndexAt = [](std::size_t place) {
    // The header is as long as it can claim to be: 32,767 bytes.
    constexpr std::int16_t kLongest = 32767;
    ArchiveBuilder header("cam");
    header.Header({{1}});
    const auto extraLength = static_cast<std::int16_t>(kLongest - (header.Size() - 5));
    ArchiveBuilder builder("cam");
    builder.Header({{1}}, static_cast<std::int16_t>(place - kLongest), extraLength);
    return builder.Filler(place - builder.Size()).Index(10).Filler(100).Content();
  };
  EXPECT_TRUE(IsArchive(withFirstIndexAt(kStretch - kIndexRecordSize)));
  EXPECT_FALSE(IsArchive(withFirstIndexAt(kStretch - kIndexRecordSize + 1)));
}

// What a header at the very end of a file would say reads as zero: the first index record stands at
// 0, and there are no streams.
TEST_F(QuickIndex, AHeaderMarkerMayBeTheLastThingInAFile) {
  const Bytes marker = {0xB5, 0xB5, 0x05, 0xB5};
  const Bytes content = Joined(ArchiveBuilder("").Index(10).Content(), marker);
  EXPECT_TRUE(IsArchive(content));
  EXPECT_FALSE(IsArchive(Part(content, 0, content.size() - 1)));
}

TEST_F(QuickIndex, AFileWithoutMarkersIsNoArchive) {
  for (const std::size_t size : {16u, 17u, 40u, 1000u, 65535u, 65551u, 70000u, 140000u}) {
    EXPECT_FALSE(IsArchive(Bytes(size, 0x11))) << size;
  }
}

TEST_F(QuickIndex, ANegativeHeaderLengthDeclaresNoStreams) {
  // Length -100 and delta 132 name the place 32.
  Bytes content = {0xB5, 0xB5, 0x05, 0xB5, 0x9C, 0xFF, 0x84, 0x00, 'c', 'a', 'm', 0};
  content.insert(content.end(), {1, 1, 'v', 0, 'n', 0, 'f', 0});
  content.resize(32);
  content = Joined(content, ArchiveBuilder("").Index(10).Content());
  OpenFolderWith(content);
  EXPECT_EQ(StreamMap(), Bytes(32));
}

TEST_F(QuickIndex, AHeaderLengthThatEndsWithinTheTitleDeclaresNoStreams) {
  // Body: length 6 and delta 26 (place 32), then the title, whose end is at 7.
  Bytes content = {0xB5, 0xB5, 0x05, 0xB5, 6, 0, 26, 0, 'c', 'a', 'm', 0};
  content.insert(content.end(), {1, 1, 'v', 0, 'n', 0, 'f', 0});
  content.resize(32);
  content = Joined(content, ArchiveBuilder("").Index(10).Content());
  OpenFolderWith(content);
  EXPECT_EQ(StreamMap(), Bytes(32));
}

// The end of the list is tested on the last NUL of a descriptor. A length that is one too large
// therefore lets one more descriptor be read: here from the index record, 05 B5 …
TEST_F(QuickIndex, AHeaderLengthOneTooLargeReadsOneMoreStream) {
  OpenFolderWith(ArchiveBuilder("cam").Header({{1}}, 4, +1).Index(10).Content());
  Bytes expected(32);
  expected[0] = 1 << 1 | 1 << 5;
  EXPECT_EQ(StreamMap(), expected);
}

TEST_F(QuickIndex, ADescriptorThatStraddlesTheEndIsReadWhole) {
  // The length ends on the second stream's id.
  ArchiveBuilder one("cam");
  one.Header({{1}});
  ArchiveBuilder two("cam");
  two.Header({{1}, {2}});
  const auto shorter = static_cast<std::int16_t>(one.Size() - two.Size() + 1);
  ArchiveBuilder archive("cam");
  archive.Header({{1}, {2}}, static_cast<std::int16_t>(5 - shorter), shorter).Index(10);
  OpenFolderWith(archive.Content());
  Bytes expected(32);
  expected[0] = 1 << 1 | 1 << 2;
  EXPECT_EQ(StreamMap(), expected);
}

TEST_F(QuickIndex, AHeaderThatPromisesMoreThanTheFileHoldsEndsWithTheFile) {
  // Length 32767 and delta -32735 name the place 32; the descriptors run over the file's end.
  Bytes content = {0xB5, 0xB5, 0x05, 0xB5, 0xFF, 0x7F, 0x21, 0x80, 'c', 'a', 'm', 0};
  content.resize(32, 'x');
  content = Joined(content, ArchiveBuilder("").Index(10).Content());
  EXPECT_TRUE(IsArchive(content));
}

TEST_F(QuickIndex, ASmallFileIsSearchedUpToItsLastRecord) {
  for (const std::size_t place : {100u, 1000u, 65000u, 65522u}) {
    EXPECT_EQ(LastTime(place + kIndexRecordSize, 99, place), 99u) << place;
  }
}

TEST_F(QuickIndex, ARecordCutOffByTheEndOfTheFileIsNotTheLastOne) {
  constexpr std::size_t kPlace = 1000;
  for (std::size_t kept = 4; kept < kIndexRecordSize; ++kept) {
    EXPECT_EQ(LastTime(kPlace + kept, 99, kPlace), 10u) << kept;
  }
}

struct TailCase {
  std::size_t size;
  std::size_t place;
  bool isSeen;
};

std::ostream& operator<<(std::ostream& out, const TailCase& row) {
  return out << row.size << " bytes, marker at " << row.place << (row.isSeen ? "" : ", unseen");
}

class TailSearch : public QuickIndex, public testing::WithParamInterface<TailCase> {};

// A marker at the end of a stretch counts when all its four bytes and one more lie in the stretch;
// the rest of its record comes from the bytes after the stretch.
INSTANTIATE_TEST_SUITE_P(
    Places, TailSearch,
    testing::Values(
        // a file of one step: the stretch is its first 65,535 bytes
        TailCase{kStep, kStretch - 5, true}, TailCase{kStep, kStretch - 4, false},
        TailCase{kStep, kStep - 13, false},
        // one byte shorter: the same stretch, for the search starts at 0
        TailCase{kStep - 1, kStretch - 5, true}, TailCase{kStep - 1, kStretch - 4, false},
        // a file below a stretch is seen whole
        TailCase{kStretch, kStretch - 13, true}, TailCase{kStretch - 1, kStretch - 14, true},
        // 70,000 bytes: the stretch is 4,449 … 69,983
        TailCase{70000, 69979, true}, TailCase{70000, 69980, false}, TailCase{70000, 69987, false},
        TailCase{70000, 4449, true}, TailCase{70000, 4448, true}, TailCase{70000, 1000, true},
        // 200,000 bytes: 134,449 … 199,983, then 68,898 … 134,432, 3,347 … 68,881, and from 0
        TailCase{200000, 199979, true}, TailCase{200000, 199980, false},
        TailCase{200000, 134449, true}, TailCase{200000, 134448, false},
        TailCase{200000, 134433, false}, TailCase{200000, 134429, false},
        TailCase{200000, 134428, true}, TailCase{200000, 68898, true},
        TailCase{200000, 68897, false}, TailCase{200000, 68878, false},
        TailCase{200000, 68877, true}, TailCase{200000, 3347, true}, TailCase{200000, 3346, true},
        TailCase{200000, 500, true}));

TEST_P(TailSearch, FindsTheLastMarkerThatStandsInAStretch) {
  const TailCase& example = GetParam();
  EXPECT_EQ(LastTime(example.size, 99, example.place), example.isSeen ? 99u : 10u)
      << example.place << " of " << example.size;
}

// Length -100 and delta 132 name the place 32, as soon as both words have been read.
TEST_F(QuickIndex, AHeaderOfNegativeLengthMayStandWhereTheFirstReadEnds) {
  for (std::size_t place = 8192 - 12; place < 8192 + 5; ++place) {
    Bytes content = ArchiveBuilder("").Filler(32).Index(10).Filler(place - 32 - 13).Content();
    content = Joined(content, {0xB5, 0xB5, 0x05, 0xB5, 0x9C, 0xFF, 0x84, 0x00, 0, 0, 0, 0});
    EXPECT_TRUE(IsArchive(content)) << place;
  }
}

// Of each end 8,192 bytes are read at first, and the whole stretch only when they do not tell. The
// first index record stands before the header, so that only the header can ask for the rest.
TEST_F(QuickIndex, TheHeaderMayStandWhereTheFirstReadEnds) {
  constexpr std::size_t kFirstRead = 8192;
  ArchiveBuilder oneStream("cam");
  oneStream.Header({{7}});
  ArchiveBuilder twoStreams("cam");
  twoStreams.Header({{7}, {255}});
  const std::size_t size = twoStreams.Size();
  // By its length the header ends with its last stream, or on the id of it.
  const auto onTheId = static_cast<std::int16_t>(oneStream.Size() - size + 1);
  Bytes expected(32);
  expected[0] = 0x80;
  expected[31] = 0x80;
  for (const std::int16_t extraLength : {std::int16_t{0}, onTheId}) {
    const auto length = static_cast<std::int16_t>(static_cast<int>(size) - 5 + extraLength);
    for (std::size_t place = kFirstRead - size - 5; place < kFirstRead + 5; ++place) {
      ArchiveBuilder archive("cam");
      archive.Index(10).Filler(place - kIndexRecordSize);
      const auto toTheStart = static_cast<std::int16_t>(-length);
      archive.Header({{7}, {255}}, toTheStart, extraLength).Filler(100);
      OpenFolderWith(archive.Content());
      EXPECT_EQ(StreamMap(), expected) << place << ", " << extraLength;
      EndReader();
    }
  }
}

TEST_F(QuickIndex, TheLastIndexRecordMayStandWhereTheFirstReadBegins) {
  // The stretch is 4,449 … 69,983 of 70,000 bytes.
  for (std::size_t place = 69984 - 8192 - 15; place < 69984 - 8192 + 3; ++place)
    EXPECT_EQ(LastTime(70000, 99, place), 99u) << place;
}

TEST_F(QuickIndex, TheLastMarkerWinsOverEarlierOnes) {
  ArchiveBuilder builder("cam");
  builder.Header({{1}}).Index(10);
  for (std::uint32_t time = 11; time < 20; ++time) builder.Filler(9000).Index(time);
  builder.Filler(100);
  OpenFolderWith(builder.Content());
  EXPECT_THAT(ArchiveTimes(), ElementsAre("10000-19000"));
}

TEST_F(QuickIndex, AnArchiveAboveFourGibibytesIsSearchedAtItsEnd) {
  ArchiveBuilder builder("cam");
  builder.Header({{1}}).Index(10);
  const std::string path = Place("cam.zel3", builder.Content());
  std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
  file.seekp(5'368'709'120);
  const Bytes last = ArchiveBuilder("").Index(99).Filler(100).Content();
  file.write(reinterpret_cast<const char*>(last.data()), static_cast<std::streamsize>(last.size()));
  file.close();
  Open(folder.Path());
  EXPECT_THAT(ArchiveTimes(), ElementsAre("10000-99000"));
}

}  // namespace
