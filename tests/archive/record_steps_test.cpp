#include "archive/record_steps.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <filesystem>

#include "made_file.h"
#include "support/file_faults.h"
#include "support/sparse_file.h"

using testing::ElementsAre;

namespace {

using Kind = RecordSteps::Kind;
using Steps = std::vector<std::string>;

constexpr FilePosition kToTheEnd = ~FilePosition{0};

std::string LineOf(const RecordSteps::Record& record) {
  static constexpr const char* kNames[] = {"header",     "index",   "data",
                                           "impossible", "cut off", "end"};
  std::string line = fmt::format("{} @{}", kNames[static_cast<int>(record.kind)], record.position);
  if (record.size > 0) line += fmt::format(" +{}", record.size);
  if (record.type) line += fmt::format(" type {}", *record.type);
  if (record.kind == Kind::kIndex) line += fmt::format(" time {}", record.index.time);
  if (record.isZeros) line += " zeros";
  return line;
}

// All records, and what the steps come to at last, which must then stay the same.
Steps StepsThrough(const PlainFile& file, FilePosition from = 0, FilePosition end = kToTheEnd) {
  RecordSteps steps(file, from, std::min<FilePosition>(end, file.Size()));
  Steps lines;
  for (;;) {
    const RecordSteps::Record record = steps.Next();
    lines.push_back(LineOf(record));
    if (record.size > 0) continue;
    EXPECT_EQ(LineOf(steps.Next()), lines.back());
    return lines;
  }
}

Steps StepsThrough(const Bytes& bytes) {
  return StepsThrough(MadeFile(bytes).File());
}

}  // namespace

TEST(RecordSteps, GoFromRecordToRecord) {
  ArchiveBuilder archive = EntriesAt({7});
  archive.Data(0x80, 0, "").Index(8, 1);
  const MadeFile made(archive);
  EXPECT_THAT(StepsThrough(made.File()),
              ElementsAre("header @0 +32", "index @32 +13 time 7", "data @45 +11 type 1",
                          "data @56 +4 type 128", "index @60 +13 time 8", "end @73"));
  EXPECT_THAT(StepsThrough(made.File(), 45, 60),
              ElementsAre("data @45 +11 type 1", "data @56 +4 type 128", "end @60"));
  EXPECT_THAT(StepsThrough(made.File(), 60, 60), ElementsAre("end @60"));
  EXPECT_THAT(StepsThrough(made.File(), 74, 80), ElementsAre("end @74"));
}

TEST(RecordSteps, OnlyAWholeRecordIsPassed) {
  const Bytes header = {0xB5, 0xB5, 0x05, 0xB5};
  const Bytes index = {0x05, 0xB5, 0xB5, 0xB5};
  const auto with = [](Bytes marker, const Bytes& rest) {
    marker.insert(marker.end(), rest.begin(), rest.end());
    return marker;
  };
  const struct {
    const char* what;
    Bytes bytes;
    Steps steps;
  } cases[] = {
      {"nothing", {}, {"end @0"}},
      {"less than a marker", {0xB5, 0xB5, 0x05}, {"cut off @0"}},
      {"a header without a whole length", with(header, {4}), {"cut off @0"}},
      {"the shortest header", with(header, {4, 0, 5, 0, 0}), {"header @0 +9", "end @9"}},
      {"its last byte is missing", with(header, {4, 0, 5, 0}), {"cut off @0"}},
      {"a header that is too short", with(header, {3, 0, 5, 0, 0}), {"impossible @0"}},
      {"a header of less than nothing", with(header, {0xFF, 0xFF, 5, 0, 0}), {"impossible @0"}},
      {"a header that goes on", with(header, {0xFF, 0x7F, 5, 0, 0}), {"cut off @0"}},
      {"an index record",
       with(index, {1, 0, 0, 0, 0, 0, 0, 0, 0}),
       {"index @0 +13 time 1", "end @13"}},
      {"its last byte is missing", with(index, {1, 0, 0, 0, 0, 0, 0, 0}), {"cut off @0"}},
      {"data", {2, 0, 3, 9, 'a', 'b'}, {"data @0 +6 type 9", "end @6"}},
      {"its last byte is missing", {2, 0, 3, 9, 'a'}, {"cut off @0 type 9"}},
      {"the largest data",
       with({0xFF, 0xFF, 3, 9}, Bytes(65535)),
       {"data @0 +65539 type 9", "end @65539"}},
      {"zeros", Bytes(10), {"data @0 +4 type 0 zeros", "data @4 +4 type 0 zeros", "cut off @8"}},
      {"empty data with a level", {0, 0, 1, 0}, {"data @0 +4 type 0", "end @4"}},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.what);
    EXPECT_EQ(StepsThrough(row.bytes), row.steps);
  }
}

TEST(RecordSteps, TheZerosOfAHoleAreOne) {
  constexpr std::int64_t kHole = std::int64_t{1} << 30;
  const TempFolder folder;
  MakeSparseFile(folder / "hole", kHole + 2);
  PlainFile file;
  ASSERT_TRUE(file.Open(folder / "hole", PlainFile::Mode::kRead));
  EXPECT_THAT(StepsThrough(file),
              ElementsAre("data @0 +1073741824 type 0 zeros", "cut off @1073741824"));
  EXPECT_THAT(StepsThrough(file, 1, 101), ElementsAre("data @1 +100 type 0 zeros", "end @101"));
}

// What is read at once ends somewhere within a record.
TEST(RecordSteps, AreTheSameInALongFile) {
  ArchiveBuilder archive("cam");
  archive.Header({{1}});
  Steps expected{"header @0 +32"};
  for (std::uint32_t time = 1; time <= 1000; ++time) {
    expected.push_back(fmt::format("index @{} +13 time {}", archive.Size(), time));
    archive.Index(time);
    const std::string payload(time * 7 % 300, 'x');
    expected.push_back(fmt::format("data @{} +{} type 1", archive.Size(), payload.size() + 4));
    archive.Data(1, 0, payload);
  }
  expected.push_back(fmt::format("end @{}", archive.Size()));
  EXPECT_EQ(StepsThrough(archive.Content()), expected);
}

TEST(RecordSteps, EndWhereTheFileCannotBeRead) {
  const MadeFile made(EntriesAt({7, 8}));
  const UnreadableBytes unreadable(made.Path(), {{58, 60}});
  EXPECT_THAT(StepsThrough(made.File()), ElementsAre("header @0 +32", "index @32 +13 time 7",
                                                     "data @45 +11 type 1", "cut off @56"));
}

TEST(RecordSteps, EndWhereTheFileHasBecomeShorter) {
  const MadeFile made(EntriesAt({7, 8}));
  std::filesystem::resize_file(made.Path(), 50);
  EXPECT_THAT(StepsThrough(made.File()), ElementsAre("header @0 +32", "index @32 +13 time 7",
                                                     "data @45 +11 type 1", "cut off @56"))
      << "payloads are not read";
}
