#include "parser/marker_search.h"

#include <gmock/gmock.h>

#include "samples/random_numbers.h"
#include "support/temp_folder.h"

namespace {

using testing::Eq;
using testing::Optional;

std::optional<std::size_t> Find(const Bytes& bytes) {
  return FindMarker(bytes.data(), bytes.size());
}

// The obvious way.
std::optional<std::size_t> FindByteByByte(const Bytes& bytes) {
  for (std::size_t at = 0; at + 4 <= bytes.size(); ++at) {
    const Bytes four(bytes.begin() + static_cast<std::ptrdiff_t>(at),
                     bytes.begin() + static_cast<std::ptrdiff_t>(at + 4));
    if (four == Bytes{0xB5, 0xB5, 0x05, 0xB5} || four == Bytes{0x05, 0xB5, 0xB5, 0xB5}) return at;
  }
  return std::nullopt;
}

TEST(FindMarker, FindsBothMarkers) {
  EXPECT_THAT(Find({0xB5, 0xB5, 0x05, 0xB5}), Optional(Eq(0u)));
  EXPECT_THAT(Find({0x05, 0xB5, 0xB5, 0xB5}), Optional(Eq(0u)));
  EXPECT_THAT(Find({1, 2, 0xB5, 0xB5, 0x05, 0xB5, 9}), Optional(Eq(2u)));
  EXPECT_THAT(Find({1, 2, 0x05, 0xB5, 0xB5, 0xB5, 9}), Optional(Eq(2u)));
}

TEST(FindMarker, TakesTheFirstOfTwoThatOverlap) {
  EXPECT_THAT(Find({0xB5, 0xB5, 0x05, 0xB5, 0xB5, 0xB5}), Optional(Eq(0u)));
  EXPECT_THAT(Find({0xB5, 0x05, 0xB5, 0xB5, 0xB5, 0x05, 0xB5}), Optional(Eq(1u)));
}

TEST(FindMarker, FindsNoneThatIsNotWhole) {
  EXPECT_FALSE(Find({}));
  EXPECT_FALSE(Find({0x05, 0xB5, 0xB5}));
  EXPECT_FALSE(Find({0xB5, 0xB5, 0x05}));
  EXPECT_FALSE(Find({0xB5, 0xB5, 0xB5, 0xB5}));
}

TEST(FindMarker, FindsWhatALookAtEveryByteFinds) {
  // Only bytes of markers and one other, so that halves of markers stand in each other's way.
  constexpr unsigned char kBytes[] = {0xB5, 0xB5, 0x05, 0x00};
  RandomNumbers random(20240501);
  for (int round = 0; round < 5000; ++round) {
    Bytes bytes(random.Below(24));
    for (unsigned char& byte : bytes) byte = kBytes[random.Below(4)];
    ASSERT_EQ(Find(bytes), FindByteByByte(bytes)) << testing::PrintToString(bytes);
  }
}

}  // namespace
