#include "archive/archive_ends.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include "made_file.h"
#include "support/sample_archive.h"

namespace {

std::string EndsIn(const Bytes& bytes) {
  const MadeFile made(bytes);
  const std::optional<ArchiveEnds> ends = EndsOf(made.File());
  if (!ends) return "not known";
  return fmt::format("{} to {}{}", ends->start, ends->end, ends->isCutOff ? ", cut off" : "");
}

Bytes With(Bytes bytes, std::size_t place, const Bytes& others) {
  std::copy(others.begin(), others.end(), bytes.begin() + static_cast<std::ptrdiff_t>(place));
  return bytes;
}

}  // namespace

TEST(ArchiveEnds, AreTheTimesOfTheFirstAndTheLastIndexRecord) {
  const Bytes bytes = EntriesAt({10, 20, 30}).Content();
  const Bytes damage(4, 0xEE);
  const struct {
    const char* what;
    Bytes bytes;
    const char* ends;
  } cases[] = {
      {"whole", bytes, "10000 to 30000"},
      {"one entry", Between(bytes, 0, 56), "10000 to 10000"},
      {"one index record", Between(bytes, 0, 45), "10000 to 10000"},
      {"without the last block", Between(bytes, 0, 93), "10000 to 30000"},
      {"within the last block", Between(bytes, 0, 100), "10000 to 30000, cut off"},
      {"within the last index record", Between(bytes, 0, 92), "10000 to 20000, cut off"},
      {"within the only one", Between(bytes, 0, 44), "not known"},
      {"a header", Between(bytes, 0, 32), "not known"},
      {"nothing", {}, "not known"},
      {"no header", Between(bytes, 32, 104), "not known"},
      {"a damaged header", With(bytes, 2, damage), "not known"},
      {"damage before the header", damage + bytes, "not known"},
      {"damage after the header", Between(bytes, 0, 32) + damage + Between(bytes, 32, 104),
       "not known"},
      {"damage in the middle", With(bytes, 69, damage), "10000 to 30000"},
      {"a damaged last index record", With(bytes, 80, damage), "not known"},
      {"damage at the end", bytes + damage, "not known"},
      {"zeros at the end", bytes + Bytes(100), "not known"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.what);
    EXPECT_EQ(EndsIn(row.bytes), row.ends);
  }
}

TEST(ArchiveEnds, APayloadThatLooksLikeARecordIsNone) {
  const std::string record("\x05\xB5\xB5\xB5\x63\0\0\0\0\0\0\0\0", 13);
  ArchiveBuilder archive = EntriesAt({10, 20});
  archive.Data(1, 3, "before" + record + "after");
  EXPECT_EQ(EndsIn(archive.Content()), "10000 to 20000");
}

TEST(ArchiveEnds, TheLastHeaderTellsTheStreamsThatTheFirstDoesNotHave) {
  ArchiveBuilder archive = EntriesAt({10});
  archive.Header({{2}}).Index(20).Data(2, 3, "sound");
  EXPECT_EQ(EndsIn(archive.Content()), "10000 to 20000");
  // Data of a stream that no header has.
  archive.Data(3, 3, "text");
  EXPECT_EQ(EndsIn(archive.Content()), "not known");
}

// The search goes through the file in portions.
TEST(ArchiveEnds, TheLastIndexRecordMayStandAnywhereInALongFile) {
  for (const std::size_t size : {65511, 65512, 65513, 65514, 65515, 65516, 65532}) {
    ArchiveBuilder archive = EntriesAt({10, 20});
    archive.Data(1, 3, std::string(size, 'x'));
    EXPECT_EQ(EndsIn(archive.Content()), "10000 to 20000") << size;
  }
}

TEST(ArchiveEnds, AreNotSearchedFarFromTheEnd) {
  ArchiveBuilder archive = EntriesAt({10, 20});
  for (int i = 0; i < 255; ++i) archive.Data(1, 3, std::string(65535, 'x'));
  EXPECT_EQ(EndsIn(archive.Content()), "10000 to 20000");
  for (int i = 0; i < 2; ++i) archive.Data(1, 3, std::string(65535, 'x'));
  EXPECT_EQ(EndsIn(archive.Content()), "not known");
}
