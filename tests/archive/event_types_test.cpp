#include "archive/event_types.h"

#include <gmock/gmock.h>

#include "blocks/stream_records.h"

using testing::Optional;

TEST(EventTypes, EveryTypeOfEventHasAName) {
  for (unsigned type = 0; type < 256; ++type) {
    const auto value = static_cast<std::uint8_t>(type);
    SCOPED_TRACE(type);
    EXPECT_EQ(event_types::Name(value).substr(0, 2) != "0x", IsEventType(value));
    EXPECT_THAT(event_types::FromText(event_types::Name(value)), Optional(value));
  }
}

TEST(EventTypes, AreReadFromNamesAndNumbers) {
  const struct {
    const char* text;
    unsigned type;
  } cases[] = {{"motion", 0x80}, {"plate-unreadable", 0x91},
               {"0xFE", 0xFE},   {"0xfa", 0xFA},
               {"144", 0x90},    {"0", 0},
               {"255", 0xFF}};
  for (const auto& each : cases) {
    EXPECT_THAT(event_types::FromText(each.text), Optional(each.type)) << each.text;
  }
}

TEST(EventTypes, OtherTextsAreRefused) {
  for (const char* const text : {"", "Motion", "door", "0x", "0x1FF", "256", "-1", "12 ", "ff"}) {
    EXPECT_EQ(event_types::FromText(text), std::nullopt) << text;
  }
}
