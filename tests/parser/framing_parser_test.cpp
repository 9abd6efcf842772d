#include "parser/framing_parser.h"

#include <gmock/gmock.h>

#include "samples/random_numbers.h"
#include "support/found_records.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Long enough to be looked through, with no marker in it and no active stream's id where a head
// would have it.
const Bytes kRubbish = {9, 9, 9, 99, 9, 9, 9, 99};

TEST(FramingParser, FindsEveryRecordWithItsPosition) {
  const ArchiveBytes archive = ArchiveBytes()
                                   .Header({{1, 1, "video", "Gate", "h264"}, Inactive(2)})
                                   .Index(100, 1)
                                   .Data(1, "one", 3)
                                   .Index(101);
  EXPECT_THAT(Found(archive),
              ElementsAre("header@0 length 35 delta 5 \"Day\" 1+video/Gate/h264 2-video//",
                          "index@40 time 100 flag 1", "vid3@53 type 1 flags 3 \"one\"",
                          "index@60 time 101 flag 0"));
}

TEST(FramingParser, FindsNothingInNothing) {
  EXPECT_THAT(Found({}), IsEmpty());
}

TEST(FramingParser, TellsTheKindOfEveryBlock) {
  const ArchiveBytes archive = ArchiveBytes()
                                   .Header({{1, 1, "video", "", ""},
                                            {2, 1, "sound", "", ""},
                                            {3, 1, "image", "", ""},
                                            {4, 1, "text", "", ""},
                                            {5, 1, "binary", "", ""},
                                            {6, 1, "radar", "", ""}},
                                           "")
                                   .Data(1, "")
                                   .Data(2, "")
                                   .Data(3, "")
                                   .Data(4, "")
                                   .Data(5, "")
                                   .Data(6, "")
                                   .Data(0xFE, "");
  const Lines found = Found(archive);
  EXPECT_THAT(Lines(found.begin() + 1, found.end()),
              ElementsAre("vid3@69 type 1 flags 0 \"\"", "snd3@73 type 2 flags 0 \"\"",
                          "img3@77 type 3 flags 0 \"\"", "txt3@81 type 4 flags 0 \"\"",
                          "bin3@85 type 5 flags 0 \"\"", "unk3@89 type 6 flags 0 \"\"",
                          "Dat3@93 type 254 flags 0 \"\""));
}

TEST(FramingParser, TakesTheLargestPayload) {
  const std::string payload(65535, 'p');
  const ArchiveBytes archive = ArchiveBytes().Header({}, "").Data(0x80, payload).Index(1);
  EXPECT_THAT(
      FoundInPieces(archive, 65535),
      ElementsAre("header@0 length 4 delta 5 \"\"", "Dat3@9 type 128 flags 0 \"" + payload + "\"",
                  "index@65548 time 1 flag 0"));
}

TEST(FramingParser, DoesNotTakeMarkersInAPayloadForRecords) {
  const ArchiveBytes archive =
      ArchiveBytes().Header({}, "").Data(0x80, "\x05\xB5\xB5\xB5 \xB5\xB5\x05\xB5").Index(1);
  EXPECT_THAT(Found(archive),
              ElementsAre("header@0 length 4 delta 5 \"\"", testing::StartsWith("Dat3@9 "),
                          "index@22 time 1 flag 0"));
}

TEST(FramingParser, TakesEventsWithoutAStreamOfTheirType) {
  const ArchiveBytes archive = ArchiveBytes().Header({Video(1)}).Index(1).Data(0x91, "door");
  EXPECT_THAT(Found(archive).back(), "Dat3@35 type 145 flags 0 \"door\"");
}

TEST(FramingParser, KnowsAnEventAlsoWhenAStreamHasItsType) {
  const ArchiveBytes archive = ArchiveBytes().Header({Video(0x80)}).Data(0x80, "event");
  EXPECT_THAT(Found(archive).back(), "Dat3@22 type 128 flags 0 \"event\"");
}

TEST(FramingParser, TakesAStreamForActiveWhenAnyOfItsDescriptorsIs) {
  const ArchiveBytes archive =
      ArchiveBytes()
          .Header({Inactive(1), {1, 1, "sound", "", ""}, {1, 1, "text", "", ""}}, "")
          .Data(1, "");
  EXPECT_THAT(Found(archive).back(), "snd3@38 type 1 flags 0 \"\"");
}

TEST(FramingParser, KeepsEveryDescriptorOfALongHeader) {
  std::vector<StreamDescriptor> streams(300, Inactive(1));
  streams.push_back(Video(7));
  const ArchiveBytes archive = ArchiveBytes().Header(streams).Data(7, "late");
  EXPECT_THAT(Found(archive).back(), testing::HasSubstr("type 7 flags 0 \"late\""));
}

TEST(FramingParser, GoesByTheLastHeader) {
  const ArchiveBytes archive = ArchiveBytes()
                                   .Header({Video(1)}, "")
                                   .Data(1, "a")
                                   .Header({Video(2)}, "")
                                   .Data(2, "b")
                                   .Data(1, "c")
                                   .Index(5);
  EXPECT_THAT(
      Found(archive),
      ElementsAre("header@0 length 14 delta 5 \"\" 1+video//", "vid3@19 type 1 flags 0 \"a\"",
                  "header@24 length 14 delta 5 \"\" 2+video//", "vid3@43 type 2 flags 0 \"b\"",
                  "damage@48 5 bytes", "index@53 time 5 flag 0"));
}

TEST(FramingParserWithDamage, DropsBytesUpToTheNextIndexRecord) {
  const ArchiveBytes archive =
      ArchiveBytes().Header({Video(1)}, "").Index(1).Raw(kRubbish).Index(2).Data(1, "x");
  EXPECT_THAT(
      Found(archive),
      ElementsAre("header@0 length 14 delta 5 \"\" 1+video//", "index@19 time 1 flag 0",
                  "damage@32 8 bytes", "index@40 time 2 flag 0", "vid3@53 type 1 flags 0 \"x\""));
}

TEST(FramingParserWithDamage, DropsBytesUpToTheNextHeader) {
  const ArchiveBytes archive =
      ArchiveBytes().Header({Video(1)}, "").Raw(kRubbish).Header({Video(2)}, "");
  EXPECT_THAT(Found(archive),
              ElementsAre("header@0 length 14 delta 5 \"\" 1+video//", "damage@19 8 bytes",
                          "header@27 length 14 delta 5 \"\" 2+video//"));
}

TEST(FramingParserWithDamage, LosesItsPlaceAtAnInactiveStream) {
  const ArchiveBytes archive = ArchiveBytes().Header({Inactive(1)}, "").Data(1, "abc").Index(2);
  EXPECT_THAT(Found(archive), ElementsAre("header@0 length 14 delta 5 \"\" 1-video//",
                                          "damage@19 7 bytes", "index@26 time 2 flag 0"));
}

TEST(FramingParserWithDamage, LooksFromOneByteAfterTheDamagedHead) {
  // The marker begins with the second byte of what is taken for a head of type B5.
  const ArchiveBytes archive = ArchiveBytes().Header({}, "").Raw({0x00}).Index(7);
  EXPECT_THAT(Found(archive), ElementsAre("header@0 length 4 delta 5 \"\"", "damage@9 1 bytes",
                                          "index@10 time 7 flag 0"));
}

TEST(FramingParserWithDamage, FindsAMarkerThatHasHalfOfOneBeforeIt) {
  const ArchiveBytes archive =
      ArchiveBytes().Header({}, "").Raw(kRubbish).Raw({0x05, 0xB5}).Index(7);
  EXPECT_THAT(Found(archive), ElementsAre("header@0 length 4 delta 5 \"\"", "damage@9 10 bytes",
                                          "index@19 time 7 flag 0"));
}

TEST(FramingParserWithDamage, FindsAMarkerThatOverlapsWithAnother) {
  // A header marker begins at 18 and reaches into the index marker at 20, which gives that header
  // an invalid length.
  const ArchiveBytes archive =
      ArchiveBytes().Header({}, "").Raw(kRubbish).Raw({0x05, 0xB5, 0xB5}).Index(7);
  EXPECT_THAT(Found(archive), ElementsAre("header@0 length 4 delta 5 \"\"", "damage@9 9 bytes",
                                          "damage@18 2 bytes", "index@20 time 7 flag 0"));
}

TEST(FramingParserWithDamage, RefusesAHeaderThatIsTooShort) {
  const ArchiveBytes archive =
      ArchiveBytes().Header({}, "").Raw({0xB5, 0xB5, 0x05, 0xB5, 3, 0, 5, 0}).Index(7);
  EXPECT_THAT(Found(archive), ElementsAre("header@0 length 4 delta 5 \"\"", "damage@9 8 bytes",
                                          "index@17 time 7 flag 0"));
}

TEST(FramingParserWithDamage, RefusesAHeaderOfNegativeLength) {
  const ArchiveBytes archive =
      ArchiveBytes().Header({}, "").Raw({0xB5, 0xB5, 0x05, 0xB5, 0xFF, 0xFF, 5, 0}).Index(7);
  EXPECT_THAT(Found(archive), ElementsAre("header@0 length 4 delta 5 \"\"", "damage@9 8 bytes",
                                          "index@17 time 7 flag 0"));
}

TEST(FramingParserWithDamage, KnowsATooShortHeaderWithoutItsBody) {
  const ArchiveBytes archive = ArchiveBytes().Raw({0xB5, 0xB5, 0x05, 0xB5, 3, 0});
  EXPECT_THAT(Found(archive), ElementsAre("damage@0 6 bytes"));
}

TEST(FramingParserWithDamage, RefusesAHeaderWhoseTextsDoNotEndWhereItSays) {
  // The title would end one byte after the length.
  const ArchiveBytes archive =
      ArchiveBytes().Raw({0xB5, 0xB5, 0x05, 0xB5, 5, 0, 5, 0, 'a', 'b', 0}).Index(7).Header({}, "");
  EXPECT_THAT(Found(archive), ElementsAre("damage@0 11 bytes", "index@11 time 7 flag 0",
                                          "header@24 length 4 delta 5 \"\""));
}

TEST(FramingParserWithDamage, FindsTheRecordsInsideADamagedHeader) {
  // The length reaches past both index records, to a byte that is not NUL.
  const ArchiveBytes archive =
      ArchiveBytes().Raw({0xB5, 0xB5, 0x05, 0xB5, 30, 0, 5, 0}).Index(7).Index(8, 1).Raw({1, 2});
  EXPECT_THAT(Found(archive), ElementsAre("damage@0 8 bytes", "index@8 time 7 flag 0",
                                          "index@21 time 8 flag 1", "cut@34 2 bytes"));
}

TEST(FramingParserWithDamage, KeepsTheLastGoodHeaderInForce) {
  const ArchiveBytes archive = ArchiveBytes()
                                   .Header({Video(1)}, "")
                                   .Raw({0xB5, 0xB5, 0x05, 0xB5, 0, 0})
                                   .Index(2)
                                   .Data(1, "still");
  EXPECT_THAT(Found(archive).back(), "vid3@38 type 1 flags 0 \"still\"");
}

TEST(FramingParserBeforeTheFirstHeader, ReportsIndexRecordsButNoDataAndNoEvents) {
  const ArchiveBytes archive =
      ArchiveBytes().Index(1).Data(1, "a").Data(0x80, "b").Index(2).Header({Video(1)}, "");
  EXPECT_THAT(Found(archive),
              ElementsAre("index@0 time 1 flag 0", "damage@13 10 bytes", "index@23 time 2 flag 0",
                          "header@36 length 14 delta 5 \"\" 1+video//"));
}

struct CutRecord {
  const char* name;
  Bytes cut;
};

class ARecordCutOffByTheEnd : public testing::TestWithParam<CutRecord> {};

TEST_P(ARecordCutOffByTheEnd, IsDropped) {
  const Bytes& cut = GetParam().cut;
  const ArchiveBytes archive = ArchiveBytes().Header({Video(1)}, "").Raw(cut);
  EXPECT_THAT(Found(archive), ElementsAre("header@0 length 14 delta 5 \"\" 1+video//",
                                          "cut@19 " + std::to_string(cut.size()) + " bytes"));
}

INSTANTIATE_TEST_SUITE_P(
    , ARecordCutOffByTheEnd,
    testing::Values(CutRecord{"WithinAMarker", {0x05, 0xB5, 0xB5}},
                    CutRecord{"WithinAnIndexRecord",
                              {0x05, 0xB5, 0xB5, 0xB5, 1, 0, 0, 0, 0, 0, 0, 0}},
                    CutRecord{"WithinAHeaderLength", {0xB5, 0xB5, 0x05, 0xB5, 4}},
                    CutRecord{"WithinAHeader", {0xB5, 0xB5, 0x05, 0xB5, 4, 0, 5, 0}},
                    CutRecord{"WithinADataHead", {3, 0, 0}},
                    CutRecord{"WithinAPayload", {3, 0, 0, 1, 'a', 'b'}}),
    [](const auto& instance) { return std::string(instance.param.name); });

TEST(FramingParser, FindsTheSameInAnyBytesHoweverTheyAreCut) {
  // Bytes of markers, heads and short headers, so that records, damage and half records are all
  // frequent.
  constexpr unsigned char kBytes[] = {0xB5, 0xB5, 0xB5, 0x05, 0x05, 0x00, 0x00, 0x01, 0x80, 0x09};
  RandomNumbers random(7);
  for (int round = 0; round < 300; ++round) {
    ArchiveBytes archive;
    for (int part = 0; part < 20; ++part) {
      if (random.Below(3) == 0) archive.Header({Video(1), Inactive(9)}, "");
      if (random.Below(3) == 0) archive.Index(static_cast<std::uint32_t>(random.Next()));
      if (random.Below(3) == 0) archive.Data(1, std::string(random.Below(9), 'p'));
      Bytes noise(random.Below(12));
      for (unsigned char& byte : noise) byte = kBytes[random.Below(std::size(kBytes))];
      archive.Raw(noise);
    }
    Found(archive);
    ASSERT_FALSE(HasFailure()) << "round " << round;
  }
}

// Expects each record or stretch of damage to begin where the last one ended.
class OrderSink final : public FramingSink {
 public:
  void OnHeader(std::uint64_t position, const ArchiveHeader& header) override {
    Take(position, kMarkerSize + static_cast<std::uint64_t>(header.length) + 1);
  }
  void OnIndex(std::uint64_t position, const IDX_T&) override { Take(position, kIndexRecordSize); }
  void OnData(std::uint64_t position, const DATA_T& head, const unsigned char*, Tag) override {
    Take(position, sizeof(head) + head.length);
  }
  void OnDamage(std::uint64_t position, std::uint64_t bytes) override { Take(position, bytes); }
  void OnCutOff(std::uint64_t position, std::uint64_t bytes) override { Take(position, bytes); }

  std::uint64_t end = 0;

 private:
  void Take(std::uint64_t position, std::uint64_t bytes) {
    EXPECT_EQ(position, end);
    EXPECT_GT(bytes, 0u);
    end = position + bytes;
  }
};

TEST(FramingParser, AccountsForEveryByteOfAnyInput) {
  RandomNumbers random(20240501);
  for (int round = 0; round < 200; ++round) {
    OrderSink sink;
    FramingParser parser(sink);
    std::uint64_t fed = 0;
    for (int piece = 0; piece < 30; ++piece) {
      ArchiveBytes bytes;
      if (random.Below(2) == 0) bytes.Header({Video(static_cast<std::uint8_t>(random.Below(4)))});
      if (random.Below(2) == 0) bytes.Index(1);
      Bytes noise(random.Below(300));
      for (unsigned char& byte : noise)
        byte = static_cast<unsigned char>(random.Below(256) & random.Below(256));
      bytes.Raw(noise);
      const Bytes& all = bytes;
      parser.Feed(all.data(), all.size());
      fed += all.size();
    }
    parser.Finish();
    ASSERT_EQ(sink.end, fed) << "round " << round;
    ASSERT_FALSE(HasFailure()) << "round " << round;
  }
}

// Pieces of archives and of something else, with zeros between them that are fed as a number.
TEST(FramingParser, FindsTheSameWhenZerosAreOnlyCounted) {
  const Bytes pieces[] = {
      ArchiveBytes().Header({Video(1)}),
      ArchiveBytes().Header({Video(0), Video(1)}),
      ArchiveBytes().Index(100),
      ArchiveBytes().Data(1, "whole"),
      // A block whose last bytes are zeros, a header and an index record that are cut off.
      {200, 0, 0, 1, 'p'},
      {0xB5, 0xB5, 5, 0xB5, 90, 0},
      {5, 0xB5, 0xB5, 0xB5},
      {5, 0xB5, 0xB5},
      kRubbish,
      {9},
  };
  RandomNumbers random(1);
  for (int round = 0; round < 2000; ++round) {
    std::vector<BytesAndZeros> parts;
    while (parts.size() < 6) {
      parts.push_back(
          {pieces[random.Below(std::size(pieces))], random.Below(random.Below(3) == 0 ? 300 : 10)});
    }
    ASSERT_EQ(FoundAmongZeros(parts, ZerosAre::kCounted), FoundAmongZeros(parts, ZerosAre::kBytes))
        << "round " << round;
  }
}

TEST(FramingParser, DropsAnyNumberOfZerosAtOnce) {
  constexpr std::uint64_t kMany = std::uint64_t{1} << 40;
  EXPECT_THAT(
      FoundAmongZeros({{ArchiveBytes().Header({Video(1)}, "").Index(1), kMany},
                       {ArchiveBytes().Index(2), kMany}},
                      ZerosAre::kCounted),
      ElementsAre("header@0 length 14 delta 5 \"\" 1+video//", "index@19 time 1 flag 0",
                  "damage@32 " + std::to_string(kMany) + " bytes",
                  "index@" + std::to_string(kMany + 32) + " time 2 flag 0",
                  "damage@" + std::to_string(kMany + 45) + " " + std::to_string(kMany) + " bytes"));
}

// One stretch, fed to a parser that is already in use.
class FramingParserInUse : public testing::Test {
 protected:
  class Sink final : public FramingSink {
   public:
    void OnHeader(std::uint64_t position, const ArchiveHeader&) override {
      Note("header", position);
    }
    void OnIndex(std::uint64_t position, const IDX_T&) override { Note("index", position); }
    void OnData(std::uint64_t position, const DATA_T&, const unsigned char*, Tag) override {
      Note("data", position);
    }
    void OnDamage(std::uint64_t position, std::uint64_t bytes) override {
      Note("damage of " + std::to_string(bytes), position);
    }
    void OnCutOff(std::uint64_t position, std::uint64_t) override { Note("cut", position); }

    void Note(const std::string& what, std::uint64_t position) {
      found.push_back(what + " at " + std::to_string(position));
    }

    Lines found;
  };

  void Feed(const Bytes& bytes) { mParser.Feed(bytes.data(), bytes.size()); }

  Sink mSink;
  FramingParser mParser{mSink};
};

TEST_F(FramingParserInUse, ForgetsAHalfRecordWhenRestarted) {
  Feed(ArchiveBytes().Header({Video(1)}, "").Raw({9, 0, 0, 1, 'h', 'a', 'l', 'f'}));
  mParser.Restart();
  Feed(ArchiveBytes().Index(1).Data(1, "whole"));
  EXPECT_THAT(mSink.found, ElementsAre("header at 0", "index at 27", "data at 40"));
}

TEST_F(FramingParserInUse, FindsItsPlaceWhenRestarted) {
  Feed(ArchiveBytes().Header({Video(1)}, "").Raw(kRubbish));
  mParser.Restart();
  Feed(ArchiveBytes().Data(1, "whole"));
  EXPECT_THAT(mSink.found, ElementsAre("header at 0", "damage of 8 at 19", "data at 27"));
}

}  // namespace
