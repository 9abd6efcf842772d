#include <gmock/gmock.h>

#include <cstring>

#include "blocks/chunk_info.h"
#include "blocks/commands.h"
#include "blocks/index_record.h"
#include "blocks/notifications.h"
#include "blocks/stream_records.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::ElementsAreArray;

template <class Record>
std::vector<int> BytesOf(const Record& record) {
  const auto* const start = reinterpret_cast<const unsigned char*>(&record);
  return std::vector<int>(start, start + sizeof(record));
}

TEST(FreshRecord, OfAChunkNamesNoEntry) {
  const int expected[18] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
  EXPECT_THAT(BytesOf(TZEL3ChunkInfo{}), ElementsAreArray(expected));
}

TEST(FreshRecord, OfAChunkAnswerHasItsKindInFront) {
  const int expected[22] = {'I', 'R', 'N', '3', 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
  EXPECT_THAT(BytesOf(TZEL3ChunkRequestNotify{}), ElementsAreArray(expected));
}

TEST(FreshRecord, OfAResetPlaysForwardFromNoEntry) {
  const int expected[25] = {'r', 's', 'e', 't', 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0,
                            0,   0,   0,   0,   0,    0,    0,    1,    0,    0,    0,    1};
  EXPECT_THAT(BytesOf(TZEL3ResetNotify{}), ElementsAreArray(expected));
}

TEST(FreshRecord, OfAGistIsZeroAfterItsKind) {
  const int expected[28] = {'G', 'i', 's', 't'};
  EXPECT_THAT(BytesOf(TActivityGist{}), ElementsAreArray(expected));
}

TEST(FreshRecord, OfAnEventListIsEmpty) {
  const TEventList list;
  EXPECT_EQ(list.kind, FourCc("Evt "));
  EXPECT_EQ(list.events.size(), 0);
}

TEST(FreshRecord, OfAMessageHasNoValue) {
  const TNotifyMessage message;
  EXPECT_EQ(message.kind, FourCc("NMsg"));
  EXPECT_EQ(message.sender, 0U);
  EXPECT_EQ(message.level, 0U);
  EXPECT_EQ(message.code, 0U);
  EXPECT_EQ(message.value, -1);
  EXPECT_EQ(message.text, "");
  EXPECT_EQ(message.detail, "");
}

TEST(FreshRecord, OfCommandsAndStreamsIsZero) {
  EXPECT_THAT(BytesOf(TCmdRequestChunk{}), Each(0));
  EXPECT_THAT(BytesOf(TZEL3Play{}), Each(0));
  EXPECT_THAT(BytesOf(TZEL3ActivityRequest{}), Each(0));
  EXPECT_THAT(BytesOf(TCmdGetPreview{}), Each(0));
  EXPECT_THAT(BytesOf(TArchiveEntry{}), Each(0));
  EXPECT_THAT(BytesOf(TNotifyBase{}), Each(0));
  EXPECT_THAT(BytesOf(IDX_T{}), Each(0));
  EXPECT_THAT(BytesOf(DATA_T{}), Each(0));
  EXPECT_THAT(BytesOf(TParserTag{}), Each(0));
  EXPECT_THAT(BytesOf(TStreamTag{}), Each(0));
}

TEST(FreshRecord, OfAHeaderHasEmptyTexts) {
  const HDR_T header;
  EXPECT_EQ(header.headerWord0, 0U);
  EXPECT_EQ(header.headerWord1, 0U);
  EXPECT_EQ(header.title, "");
  EXPECT_THAT(header.extraText, Each(""));
  for (const STREAM_T& stream : header.streams) {
    EXPECT_EQ(stream.streamId, 0U);
    EXPECT_EQ(stream.streamActive, 0U);
    EXPECT_EQ(stream.text1 + stream.text2 + stream.text3, "");
  }
}

TEST(Header, IsCopiedWithItsTexts) {
  HDR_T original;
  original.title = "gate";
  original.streams[7].text2 = "north";
  original.extraText[8] = "last";
  HDR_T copy = original;
  copy.title[0] = 'l';
  copy.streams[7].text2[0] = 'f';
  copy.extraText[8][0] = 'p';
  EXPECT_EQ(original.title + original.streams[7].text2 + original.extraText[8], "gatenorthlast");
  EXPECT_EQ(copy.title + copy.streams[7].text2 + copy.extraText[8], "lateforthpast");
}

TEST(IndexRecord, HasTheBytesOfTheFile) {
  const unsigned char bytes[] = {0x78, 0x56, 0x34, 0x12, 0xAA, 0xBB, 0xCC, 0xDD, 0x02};
  IDX_T record;
  std::memcpy(&record, bytes, sizeof(record));
  EXPECT_EQ(record.time, 0x12345678U);
  EXPECT_EQ(record.reserved, 0xDDCCBBAAU);
  EXPECT_EQ(record.indexFlag, 2U);
}

TEST(IndexRecord, IsWrittenAndReadByteForByte) {
  const auto record = EncodeIndexRecord({0x04030201, 0x08070605, 9});
  EXPECT_THAT(record, ElementsAre(0x05, 0xB5, 0xB5, 0xB5, 1, 2, 3, 4, 5, 6, 7, 8, 9));
  const IDX_T index = DecodeIndexBody(record.data() + kMarkerSize);
  EXPECT_EQ(index.time, 0x04030201U);
  EXPECT_EQ(index.reserved, 0x08070605U);
  EXPECT_EQ(index.indexFlag, 9);
}

TEST(Markers, AreTheBytesOfTheFile) {
  const unsigned char header[] = {0xB5, 0xB5, 0x05, 0xB5};
  const unsigned char index[] = {0x05, 0xB5, 0xB5, 0xB5};
  EXPECT_EQ(std::memcmp(&kHeaderMarker, header, kMarkerSize), 0);
  EXPECT_EQ(std::memcmp(&kIndexMarker, index, kMarkerSize), 0);
}

TEST(ToArchiveTime, CountsThousandthsOfAnIndexUnitIn64Bits) {
  EXPECT_EQ(ToArchiveTime(0), 0U);
  EXPECT_EQ(ToArchiveTime(3), 3000U);
  EXPECT_EQ(ToArchiveTime(4000000000U), 4000000000000U);
  EXPECT_EQ(ToArchiveTime(0xFFFFFFFFU), 4294967295000U);
}

TEST(Events, HaveOneOfAFixedSetOfTypes) {
  std::vector<int> eventTypes;
  for (int type = 0; type < 256; ++type) {
    if (IsEventType(static_cast<std::uint8_t>(type))) eventTypes.push_back(type);
  }
  EXPECT_THAT(eventTypes,
              testing::ElementsAre(0x80, 0x81, 0x82, 0x83, 0x90, 0x91, 0xFA, 0xFE, 0xFF));
}

TEST(Activity, IsInTheLowFiveBitsOfTheFlags) {
  EXPECT_EQ(0x1F & kActivityMask, 31);
  EXPECT_EQ(0x20 & kActivityMask, 0);
  EXPECT_EQ(0xFF & kActivityMask, 31);
}

TEST(IndexId, HoldsTheFileInItsHighAndTheEntryInItsLowHalf) {
  EXPECT_EQ(MakeIndexId(0, 0), 0U);
  EXPECT_EQ(MakeIndexId(2, 3), 0x0000000200000003U);
  EXPECT_EQ(FileNumber(0x0000000200000003U), 2U);
  EXPECT_EQ(EntryNumber(0x0000000200000003U), 3U);
  EXPECT_EQ(MakeIndexId(0xFFFFFFFF, 0xFFFFFFFF), kNoIndexId);
  EXPECT_EQ(FileNumber(kNoIndexId), 0xFFFFFFFFU);
}

}  // namespace
