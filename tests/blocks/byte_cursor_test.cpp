#include "blocks/byte_cursor.h"

#include <gmock/gmock.h>

namespace {

const unsigned char kBytes[] = {0x01, 0x02, 0x03, 0x04, 0x05, 0x06,
                                0x07, 0x08, 'a',  'b',  0x00, 'c'};

TEST(LittleEndian, IsLoadedFromAnyAddress) {
  EXPECT_EQ(LoadLittleEndian<std::uint16_t>(kBytes + 1), 0x0302U);
  EXPECT_EQ(LoadLittleEndian<std::uint32_t>(kBytes + 1), 0x05040302U);
  EXPECT_EQ(LoadLittleEndian<std::uint64_t>(kBytes), 0x0807060504030201U);
  const unsigned char negative[] = {0xFE, 0xFF};
  EXPECT_EQ(LoadLittleEndian<std::int16_t>(negative), -2);
}

TEST(LittleEndian, IsStoredAtAnyAddress) {
  unsigned char bytes[6] = {};
  StoreLittleEndian(bytes + 1, std::uint32_t{0x0A0B0C0D});
  EXPECT_THAT(bytes, testing::ElementsAre(0, 0x0D, 0x0C, 0x0B, 0x0A, 0));
}

TEST(ByteCursor, MovesPastWhatItHasRead) {
  ByteCursor cursor(kBytes, sizeof(kBytes));
  std::uint32_t word = 0;
  std::uint8_t byte = 0;
  EXPECT_TRUE(cursor.Read(&word));
  EXPECT_TRUE(cursor.Read(&byte));
  EXPECT_EQ(word, 0x04030201U);
  EXPECT_EQ(byte, 0x05U);
  EXPECT_EQ(cursor.Left(), 7U);
  EXPECT_EQ(cursor.Next(), kBytes + 5);
}

TEST(ByteCursor, StaysWhereItIsWhenTooLittleIsLeft) {
  ByteCursor cursor(kBytes, 3);
  std::uint32_t word = 99;
  EXPECT_FALSE(cursor.Read(&word));
  EXPECT_FALSE(cursor.Skip(4));
  EXPECT_EQ(word, 99U);
  EXPECT_EQ(cursor.Left(), 3U);
  EXPECT_EQ(cursor.Next(), kBytes);
  EXPECT_TRUE(cursor.Skip(3));
  EXPECT_EQ(cursor.Left(), 0U);
  EXPECT_FALSE(cursor.Skip(1));
  EXPECT_TRUE(cursor.Skip(0));
}

TEST(ByteCursor, RefusesAStepBeyondEveryAddress) {
  ByteCursor cursor(kBytes, sizeof(kBytes));
  EXPECT_TRUE(cursor.Skip(1));
  EXPECT_FALSE(cursor.Skip(~std::size_t{0}));
  EXPECT_EQ(cursor.Left(), sizeof(kBytes) - 1);
}

TEST(ByteCursor, MeasuresATextUpToItsNulOrTheEnd) {
  ByteCursor cursor(kBytes, sizeof(kBytes));
  EXPECT_TRUE(cursor.Skip(8));
  EXPECT_EQ(cursor.TextLength(), 2U);
  EXPECT_TRUE(cursor.Skip(2));
  EXPECT_EQ(cursor.TextLength(), 0U);
  EXPECT_TRUE(cursor.Skip(1));
  EXPECT_EQ(cursor.TextLength(), 1U);
  EXPECT_TRUE(cursor.Skip(1));
  EXPECT_EQ(cursor.TextLength(), 0U);
}

}  // namespace
