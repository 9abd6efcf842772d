#include "parser/framing.h"

#include <gmock/gmock.h>

#include "support/temp_folder.h"

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

// A title and two streams, byte by byte.
const Bytes kHeaderRecord = {
    0xB5, 0xB5, 0x05, 0xB5,             // marker
    0x22, 0x00,                         // the last NUL is byte 34 of the body
    0x05, 0x00,                         // the index record follows at once
    'D',  'a',  'y',  0,                // title
    1,    1,                            // stream 1, active
    'v',  'i',  'd',  'e',  'o', 0,     // its kind,
    'G',  'a',  't',  'e',  0,          // name
    'h',  '2',  '6',  '4',  0,          // and format
    0x7F, 0,                            // stream 127, inactive
    't',  'e',  'x',  't',  0,   0, 0,  // kind; no name, no format
};

ArchiveHeader HeaderOfTheRecord() {
  ArchiveHeader header;
  header.title = "Day";
  header.streams = {{1, 1, "video", "Gate", "h264"}, {0x7F, 0, "text", "", ""}};
  return header;
}

std::optional<ArchiveHeader> Decode(const Bytes& record) {
  return DecodeHeaderBody(record.data() + kMarkerSize, record.size() - kMarkerSize);
}

TEST(HeaderRecord, IsWrittenByteForByte) {
  EXPECT_THAT(EncodeHeaderRecord(HeaderOfTheRecord()).value(), ElementsAreArray(kHeaderRecord));
}

TEST(HeaderRecord, IsReadBack) {
  const std::optional<ArchiveHeader> header = Decode(kHeaderRecord);
  ASSERT_TRUE(header);
  EXPECT_EQ(header->length, 34);
  EXPECT_EQ(header->firstIndexDelta, 5);
  EXPECT_EQ(header->title, "Day");
  ASSERT_EQ(header->streams.size(), 2u);
  EXPECT_EQ(header->streams[0].id, 1);
  EXPECT_EQ(header->streams[0].active, 1);
  EXPECT_EQ(header->streams[0].kind, "video");
  EXPECT_EQ(header->streams[0].name, "Gate");
  EXPECT_EQ(header->streams[0].format, "h264");
  EXPECT_EQ(header->streams[1].id, 0x7F);
  EXPECT_EQ(header->streams[1].active, 0);
  EXPECT_EQ(header->streams[1].name, "");
}

TEST(HeaderRecord, WithNothingInItIsTheShortest) {
  EXPECT_THAT(EncodeHeaderRecord(ArchiveHeader()).value(),
              ElementsAre(0xB5, 0xB5, 0x05, 0xB5, kShortestHeaderLength, 0, 5, 0, 0));
}

TEST(HeaderRecord, LeadsToTheIndexRecordAfterIt) {
  // A reader looks for the first index record at length + delta, counted from the start of the
  // file.
  EXPECT_EQ(Decode(kHeaderRecord)->length + kFirstIndexDelta,
            static_cast<int>(kHeaderRecord.size()));
}

TEST(HeaderRecord, CarriesTheWordsOfOtherWriters) {
  Bytes record = kHeaderRecord;
  record[6] = 0xFE;
  record[7] = 0xFF;
  record[13] = 200;
  EXPECT_EQ(Decode(record)->firstIndexDelta, -2);
  EXPECT_EQ(Decode(record)->streams[0].active, 200);
}

TEST(HeaderRecord, WithTextThatHoldsANulIsNotWritten) {
  const std::string withNul("a\0b", 3);
  ArchiveHeader inTitle = HeaderOfTheRecord();
  inTitle.title = withNul;
  ArchiveHeader inKind = HeaderOfTheRecord();
  inKind.streams[1].kind = withNul;
  ArchiveHeader inName = HeaderOfTheRecord();
  inName.streams[1].name = withNul;
  ArchiveHeader inFormat = HeaderOfTheRecord();
  inFormat.streams[1].format = withNul;
  for (const ArchiveHeader& header : {inTitle, inKind, inName, inFormat}) {
    EXPECT_FALSE(EncodeHeaderRecord(header));
  }
}

TEST(HeaderRecord, MayBeAsLongAsItsLengthCanSay) {
  ArchiveHeader header;
  header.title = std::string(32767 - kTitleOffset, 't');
  const auto longest = EncodeHeaderRecord(header);
  ASSERT_TRUE(longest);
  EXPECT_EQ(Decode(*longest)->title, header.title);
  header.title += 't';
  EXPECT_FALSE(EncodeHeaderRecord(header));
}

struct DamagedHeader {
  const char* why;
  Bytes body;
};

class ADamagedHeaderBody : public testing::TestWithParam<DamagedHeader> {};

TEST_P(ADamagedHeaderBody, IsRefused) {
  const Bytes& body = GetParam().body;
  EXPECT_FALSE(DecodeHeaderBody(body.data(), body.size()));
}

INSTANTIATE_TEST_SUITE_P(
    , ADamagedHeaderBody,
    testing::Values(DamagedHeader{"Empty", {}},                                            //
                    DamagedHeader{"WithoutTitle", {3, 0, 5, 0}},                           //
                    DamagedHeader{"OfNegativeLength", {0xFF, 0xFF, 5, 0, 0}},              //
                    DamagedHeader{"ShorterThanItSays", {5, 0, 5, 0, 0}},                   //
                    DamagedHeader{"LongerThanItSays", {4, 0, 5, 0, 0, 0}},                 //
                    DamagedHeader{"WithEndlessTitle", {6, 0, 5, 0, 'a', 'b', 'c'}},        //
                    DamagedHeader{"WithHalfADescriptor", {5, 0, 5, 0, 0, 0}},              //
                    DamagedHeader{"WithTwoTextsOnly", {8, 0, 5, 0, 0, 1, 1, 0, 0}},        //
                    DamagedHeader{"WithEndlessFormat", {9, 0, 5, 0, 0, 1, 1, 0, 0, 'x'}},  //
                    DamagedHeader{"WithBytesLeft", {10, 0, 5, 0, 0, 1, 1, 0, 0, 0, 0}}),
    [](const auto& instance) { return std::string(instance.param.why); });

TEST(DataHead, IsWrittenAndReadByteForByte) {
  const auto bytes = EncodeDataHead({0x0201, 3, 4});
  EXPECT_THAT(bytes, ElementsAre(1, 2, 3, 4));
  const DATA_T head = DecodeDataHead(bytes.data());
  EXPECT_EQ(head.length, 0x0201);
  EXPECT_EQ(head.flags, 3);
  EXPECT_EQ(head.type, 4);
}

TEST(WritableStreamIds, AreAllButEventTypesAndTheByteOfMarkers) {
  std::vector<int> refused;
  for (int id = 0; id < 256; ++id) {
    if (!IsWritableStreamId(static_cast<std::uint8_t>(id))) refused.push_back(id);
  }
  EXPECT_THAT(refused, ElementsAre(0x80, 0x81, 0x82, 0x83, 0x90, 0x91, 0xB5, 0xFA, 0xFE, 0xFF));
}

TEST(StreamKinds, HaveTagsOfTheirOwn) {
  const std::pair<const char*, const char*> cases[] = {
      {"video", "vid3"},  {"sound", "snd3"}, {"image", "img3"}, {"text", "txt3"},
      {"binary", "bin3"}, {"radar", "unk3"}, {"Video", "unk3"}, {"", "unk3"},
  };
  for (const auto& [kind, tag] : cases) EXPECT_EQ(FourCcText(KindTag(kind)), tag) << kind;
}

}  // namespace
