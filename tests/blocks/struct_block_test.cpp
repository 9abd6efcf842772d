#include "blocks/struct_block.h"

#include <cstring>
#include <string>

#include "block_test.h"
#include "blocks/stream_records.h"

namespace {

using testing::ElementsAreArray;

class StructBlock : public BlockTest {};

TEST_F(StructBlock, HoldsARecordAndTheBytesAfterIt) {
  const DataBlock block = DataBlock::New(104);
  EXPECT_EQ(block.GetType(), 863265092U);
  EXPECT_EQ(block.Size(), 104U);
  EXPECT_EQ(block.GetExtraSize(), 100U);
  EXPECT_FALSE(block.IsEmpty());
  EXPECT_TRUE(block.HoldsRecord());
  EXPECT_EQ(block.ExtraBytes(), block.Bytes() + 4);
  EXPECT_EQ(NodeAccess::Of(block).refCount, 1U);
}

TEST_F(StructBlock, StartsWithAFreshRecord) {
  const DataBlock block = DataBlock::New();
  EXPECT_EQ(block.Size(), 4U);
  EXPECT_EQ(block.GetExtraSize(), 0U);
  EXPECT_EQ(block.Record().length, 0U);
  EXPECT_EQ(block.Record().flags, 0U);
  EXPECT_EQ(block.Record().type, 0U);
}

TEST_F(StructBlock, KeepsItsPayloadAsTheBytesOfTheRecord) {
  DataBlock block = DataBlock::New(7);
  DATA_T& record = block.WritableRecord();
  record.length = 0x0203;
  record.flags = 0x24;
  record.type = 0xFE;
  std::memcpy(block.WritableBytes() + 4, "abc", 3);
  const unsigned char expected[] = {0x03, 0x02, 0x24, 0xFE, 'a', 'b', 'c'};
  EXPECT_THAT(std::vector<unsigned char>(block.Bytes(), block.Bytes() + 7),
              ElementsAreArray(expected));
}

TEST_F(StructBlock, PutsThePayloadRightAfterTheFieldsOfTheNode) {
  const IndexBlock block = IndexBlock::New();
  EXPECT_EQ(block.Bytes(),
            reinterpret_cast<unsigned char*>(&NodeAccess::Of(block)) + sizeof(cMemBlock::node));
}

TEST_F(StructBlock, GivesTheSameStorageToItsOnlyOwner) {
  DataBlock block = DataBlock::New(104);
  const unsigned char* const before = block.Bytes();
  EXPECT_EQ(block.WritableBytes(), before);
  EXPECT_EQ(static_cast<void*>(&block.WritableRecord()), before);
  EXPECT_EQ(block.GetData(), before);
}

TEST_F(StructBlock, IsFilledWhereItIsWhenItHasJustBeenMade) {
  DataBlock block = DataBlock::New(5);
  const unsigned char* const before = block.Bytes();
  block.FreshRecord().type = 0xFE;
  block.FreshBytes()[4] = 'a';
  EXPECT_EQ(block.FreshBytes(), before);
  EXPECT_EQ(block.Record().type, 0xFE);
  EXPECT_EQ(block.ExtraBytes()[0], 'a');
}

TEST_F(StructBlock, GivesTheWriterOfASharedBlockACopyOfItsOwn) {
  DataBlock first = DataBlock::New(6);
  std::memcpy(first.WritableBytes(), "\x02\x00\x1F\x80hi", 6);
  DataBlock second = first;
  const unsigned char* const before = first.Bytes();

  second.WritableRecord().type = 0x05;
  second.WritableBytes()[5] = 'o';
  EXPECT_EQ(first.Bytes(), before);
  EXPECT_NE(second.Bytes(), before);
  EXPECT_EQ(std::memcmp(first.Bytes(), "\x02\x00\x1F\x80hi", 6), 0);
  EXPECT_EQ(std::memcmp(second.Bytes(), "\x02\x00\x1F\x05ho", 6), 0);
  EXPECT_EQ(second.Size(), 6U);
  EXPECT_EQ(second.GetType(), first.GetType());
  EXPECT_EQ(NodeAccess::Of(first).refCount, 1U);
  EXPECT_EQ(NodeAccess::Of(second).refCount, 1U);
}

TEST_F(StructBlock, CopiesThroughGetDataForWritingOnly) {
  DataBlock first = DataBlock::New();
  const DataBlock second = first;
  EXPECT_EQ(second.GetData(), second.Bytes());
  EXPECT_EQ(second.Bytes(), first.Bytes());
  const void* const written = first.GetData();
  EXPECT_EQ(written, first.Bytes());
  EXPECT_NE(written, second.Bytes());
}

TEST_F(StructBlock, CopiesTheTagThatTheNodeCarries) {
  const DataBlock original = DataBlock::New();
  NodeAccess::Of(original).type = 863136886;
  DataBlock copy = original;
  copy.WritableBytes();
  EXPECT_EQ(copy.GetType(), 863136886U);
}

TEST_F(StructBlock, IsWritableInPlaceAgainWhenTheOtherHandleIsGone) {
  DataBlock block = DataBlock::New();
  const unsigned char* const before = block.Bytes();
  { const cMemBlock other = block; }
  EXPECT_EQ(block.WritableBytes(), before);
}

TEST_F(StructBlock, IsViewedWithAReferenceAndWithoutACopy) {
  const long liveNodes = cMemBlock::node::LiveCount();
  const cMemBlock plain = DataBlock::New(10);
  const auto view = DataBlock::View(plain);
  EXPECT_EQ(&NodeAccess::Of(view), &NodeAccess::Of(plain));
  EXPECT_EQ(NodeAccess::Of(plain).refCount, 2U);
  EXPECT_EQ(cMemBlock::node::LiveCount(), liveNodes + 1);
  EXPECT_EQ(view.GetExtraSize(), 6U);
}

TEST_F(StructBlock, TakesRawDataAsItsWholePayload) {
  RawDataBlock block = RawDataBlock::New(3);
  std::memcpy(block.WritableBytes(), "\x05\xB5\xB5", 3);
  EXPECT_EQ(block.GetType(), 1952531538U);
  EXPECT_EQ(block.Size(), 3U);
  EXPECT_EQ(block.Record(), 0x05);
}

struct SmallNode {
  std::uint32_t size;
  bool isEmpty;
};

class StructBlockSmallNode : public StructBlock, public testing::WithParamInterface<SmallNode> {};

TEST_P(StructBlockSmallNode, HoldsNoRecordAndNoExtraBytes) {
  const IndexBlock block = IndexBlock::New(GetParam().size);
  EXPECT_EQ(block.Size(), GetParam().size);
  EXPECT_EQ(block.IsEmpty(), GetParam().isEmpty);
  EXPECT_FALSE(block.HoldsRecord());
  EXPECT_EQ(block.GetExtraSize(), 0U);
}

TEST_P(StructBlockSmallNode, IsCopiedAsAFreshRecord) {
  IndexBlock original = IndexBlock::New(GetParam().size);
  original.WritableRecord().time = 99;
  IndexBlock copy = original;
  EXPECT_EQ(copy.WritableRecord().time, 0U);
  EXPECT_EQ(copy.Size(), GetParam().size);
  EXPECT_EQ(copy.GetType(), original.GetType());
  EXPECT_EQ(original.Record().time, 99U);
}

INSTANTIATE_TEST_SUITE_P(BelowTheRecordsSize, StructBlockSmallNode,
                         testing::Values(SmallNode{0, true}, SmallNode{1, false},
                                         SmallNode{8, false}));

// In 32 bits, node and payload together would exceed the largest size.
TEST_F(StructBlock, IsRefusedWhenItsSizeDoesNotFitMemory) {
  if (sizeof(std::size_t) > 4) GTEST_SKIP() << "64 bits hold every size";
  EXPECT_THROW(RawDataBlock::New(0xFFFFFFFF), std::bad_alloc);
  EXPECT_THROW(HeaderBlock::New(0xFFFFFFF0), std::bad_alloc);
}

TEST_F(StructBlock, CopiesTheStringsOfARecord) {
  HeaderBlock first = HeaderBlock::New();
  first.WritableRecord().title = "gate";
  first.WritableRecord().streams[255].text3 = "north";
  HeaderBlock second = first;
  second.WritableRecord().title[0] = 'l';
  second.WritableRecord().streams[255].text3 += " side";
  second.WritableRecord().extraText[8] = "new";
  EXPECT_EQ(first.Record().title, "gate");
  EXPECT_EQ(first.Record().streams[255].text3, "north");
  EXPECT_EQ(first.Record().extraText[8], "");
  EXPECT_EQ(second.Record().title, "late");
  EXPECT_EQ(second.Record().streams[255].text3, "north side");
}

struct NamedRecord {
  std::string text;
};
using NamedBlock = cStructBlock<NamedRecord, FourCc("name")>;

// Were the record copied as bytes, both would write into the same characters and free them twice.
TEST_F(StructBlock, CopiesTheStringsOfARecordThatHasExtraBytes) {
  NamedBlock first = NamedBlock::New(sizeof(NamedRecord) + 3);
  first.WritableRecord().text = std::string("a name on the heap");
  std::memcpy(first.WritableBytes() + sizeof(NamedRecord), "xyz", 3);

  NamedBlock second = first;
  second.WritableRecord().text[0] = 'A';
  EXPECT_EQ(first.Record().text, "a name on the heap");
  EXPECT_EQ(second.Record().text, "A name on the heap");
  EXPECT_EQ(std::memcmp(second.ExtraBytes(), "xyz", 3), 0);

  first = NamedBlock::New();
  EXPECT_EQ(second.Record().text, "A name on the heap");
}

TEST_F(StructBlock, ReleasesTheStringsOfItsRecord) {
  std::string text(100, 't');
  {
    NamedBlock block = NamedBlock::New();
    block.WritableRecord().text = text;
    NamedBlock copy = block;
    copy.WritableRecord();
  }
  EXPECT_TRUE(IsOnlyOwner(text));
}

struct FailingRecord {
  FailingRecord() = default;
  FailingRecord(const FailingRecord&) { throw std::bad_alloc(); }
};
using FailingBlock = cStructBlock<FailingRecord, FourCc("fail")>;

TEST_F(StructBlock, StaysSharedWhenACopyCannotBeMade) {
  const FailingBlock first = FailingBlock::New();
  FailingBlock second = first;
  EXPECT_THROW(second.WritableRecord(), std::bad_alloc);
  EXPECT_EQ(second.Bytes(), first.Bytes());
  EXPECT_EQ(NodeAccess::Of(first).refCount, 2U);
}

}  // namespace
