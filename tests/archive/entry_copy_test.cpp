#include "archive/entry_copy.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "made_file.h"
#include "support/file_faults.h"
#include "support/index_cache.h"
#include "support/sample_archive.h"

namespace {

namespace fs = std::filesystem;

struct Range {
  std::size_t first;
  std::size_t end;
};
using Ranges = std::vector<Range>;

// "4 entries", and what has been met.
std::string Text(const CopyCounts& counts) {
  std::string text = fmt::format("{} entries", counts.entries);
  if (counts.damagedEntries > 0) text += fmt::format(", {} damaged", counts.damagedEntries);
  if (counts.lostBytes > 0) text += fmt::format(", {} lost", counts.lostBytes);
  if (counts.cutOffBytes > 0) text += fmt::format(", {} cut off", counts.cutOffBytes);
  if (counts.undeclaredEntries > 0)
    text += fmt::format(", {} undeclared", counts.undeclaredEntries);
  if (counts.hasNoHeader) text += ", no header";
  return text;
}

struct Copied {
  Bytes bytes;
  std::string counts;
};

Copied CopyOf(const MadeFile& made, const KeptIndex& index, const Ranges& ranges) {
  Copied copied;
  CopyCounts counts;
  EntryCopy copy(made.File(), index, &counts, [&](const unsigned char* bytes, std::size_t size) {
    copied.bytes.insert(copied.bytes.end(), bytes, bytes + size);
  });
  for (const Range& range : ranges) copy.Copy(range.first, range.end);
  copied.counts = Text(counts);
  return copied;
}

// Of an archive that has changed since it was indexed.
Copied CopyOf(const Bytes& indexed, const Bytes& now, const Ranges& ranges) {
  MadeFile made(indexed);
  const auto index = KeptIndex::Collect(made.Path());
  ReplaceFile(made.Path(), now);
  made.Open();
  return CopyOf(made, index.value(), ranges);
}

Copied CopyOf(const Bytes& bytes, const Ranges& ranges) {
  return CopyOf(bytes, bytes, ranges);
}

Bytes Changed(Bytes bytes, std::size_t place, const Bytes& others) {
  std::copy(others.begin(), others.end(), bytes.begin() + static_cast<std::ptrdiff_t>(place));
  return bytes;
}

// A header up to byte 32, and entries from bytes 32, 56, 80 and 104 on.
Bytes Four() {
  return EntriesAt({10, 20, 30, 40}).Content();
}

const Bytes kDamage(4, 0xEE);
const Ranges kAll{{0, 4}};

}  // namespace

TEST(EntryCopy, GivesTheBytesOfTheFile) {
  const struct {
    const char* what;
    Ranges ranges;
    Bytes bytes;
    const char* counts;
  } cases[] = {
      {"all", {{0, 4}}, Four(), "4 entries"},
      {"all, entry by entry", {{0, 1}, {1, 2}, {2, 3}, {3, 4}}, Four(), "4 entries"},
      {"all in two ranges", {{0, 2}, {2, 4}}, Four(), "4 entries"},
      {"none", {{2, 2}, {3, 1}}, {}, "0 entries"},
      {"the first", {{0, 1}}, Between(Four(), 0, 56), "1 entries"},
      {"one in the middle",
       {{1, 2}},
       Between(Four(), 0, 32) + Between(Four(), 56, 80),
       "1 entries"},
      {"the last", {{3, 4}}, Between(Four(), 0, 32) + Between(Four(), 104, 128), "1 entries"},
      {"two ranges with one header",
       {{1, 2}, {3, 4}},
       Between(Four(), 0, 32) + Between(Four(), 56, 80) + Between(Four(), 104, 128),
       "2 entries"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.what);
    const Copied copied = CopyOf(Four(), row.ranges);
    EXPECT_EQ(copied.bytes, row.bytes);
    EXPECT_EQ(copied.counts, row.counts);
  }
}

TEST(EntryCopy, TakesTheHeaderInForce) {
  ArchiveBuilder archive = EntriesAt({10, 20});
  archive.Header({{2}}).Index(30).Data(2, 3, "sound").Index(40).Data(2, 3, "sound");
  const Bytes bytes = archive.Content();
  ASSERT_EQ(bytes.size(), 156U);
  EXPECT_EQ(CopyOf(bytes, {{0, 4}}).bytes, bytes);
  EXPECT_EQ(CopyOf(bytes, {{1, 3}}).bytes, Between(bytes, 0, 32) + Between(bytes, 56, 134))
      << "the second one comes with its entry";
  EXPECT_EQ(CopyOf(bytes, {{3, 4}}).bytes, Between(bytes, 80, 112) + Between(bytes, 134, 156));
  EXPECT_EQ(CopyOf(bytes, {{0, 1}, {3, 4}}).bytes,
            Between(bytes, 0, 56) + Between(bytes, 80, 112) + Between(bytes, 134, 156));
}

TEST(EntryCopy, PassesOverDamage) {
  ArchiveBuilder twoBlocks("cam");
  twoBlocks.Header({{1}});
  for (const std::uint32_t time : {10, 20})
    twoBlocks.Index(time).Data(1, 3, "picture").Data(1, 3, "picture");
  const Bytes two = twoBlocks.Content();  // entries of 35 bytes
  const struct {
    const char* what;
    Bytes indexed;
    Bytes now;
    Ranges ranges;
    Bytes bytes;
    const char* counts;
  } cases[] = {
      {"before the header", Bytes(20, 0xEE) + Four(), Bytes(20, 0xEE) + Four(), kAll, Four(),
       "4 entries, 20 lost"},
      {"of the header", Four(), Changed(Four(), 31, {1}), kAll, Between(Four(), 32, 128),
       "4 entries, 32 lost, no header"},
      {"of the header of some",
       Four(),
       Changed(Four(), 31, {1}),
       {{1, 2}},
       Between(Four(), 56, 80),
       "1 entries, no header"},
      {"between header and first entry",
       Between(Four(), 0, 32) + kDamage + Between(Four(), 32, 128),
       Between(Four(), 0, 32) + kDamage + Between(Four(), 32, 128), kAll, Four(),
       "4 entries, 4 lost"},
      {"of the first index record", Four(), Changed(Four(), 32, kDamage), kAll,
       Between(Four(), 0, 32) + Between(Four(), 56, 128), "3 entries, 1 damaged, 24 lost"},
      {"of another one", Four(), Changed(Four(), 80, kDamage), kAll,
       Between(Four(), 0, 80) + Between(Four(), 104, 128), "3 entries, 1 damaged, 24 lost"},
      {"of the last one", Four(), Changed(Four(), 104, kDamage), kAll, Between(Four(), 0, 104),
       "3 entries, 1 damaged, 24 lost"},
      {"of a time", Four(), Changed(Four(), 84, {31}), kAll,
       Between(Four(), 0, 80) + Between(Four(), 104, 128), "3 entries, 1 damaged, 24 lost"},
      {"of the head of a block", Four(), Changed(Four(), 93, kDamage), kAll,
       Between(Four(), 0, 93) + Between(Four(), 104, 128), "4 entries, 1 damaged, 11 lost"},
      {"of the last head", Four(), Changed(Four(), 117, kDamage), kAll, Between(Four(), 0, 117),
       "4 entries, 1 damaged, 11 lost"},
      {"of a length", Four(), Changed(Four(), 93, {6}), kAll,
       Changed(Between(Four(), 0, 103), 93, {6}) + Between(Four(), 104, 128),
       "4 entries, 1 damaged, 1 lost"},
      {"of the second block",
       two,
       Changed(two, 56, kDamage),
       {{0, 2}},
       Between(two, 0, 56) + Between(two, 67, 102),
       "2 entries, 1 damaged, 11 lost"},
      {"of the first of two blocks",
       two,
       Changed(two, 45, kDamage),
       {{0, 2}},
       Between(two, 0, 45) + Between(two, 67, 102),
       "2 entries, 1 damaged, 22 lost"},
      {"of an entry that is not wanted",
       Four(),
       Changed(Four(), 80, kDamage),
       {{0, 2}, {3, 4}},
       Between(Four(), 0, 80) + Between(Four(), 104, 128),
       "3 entries"},
      {"after the last block", Four(), Four() + kDamage, kAll, Four(),
       "4 entries, 1 damaged, 4 lost"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.what);
    const Copied copied = CopyOf(row.indexed, row.now, row.ranges);
    EXPECT_EQ(copied.bytes, row.bytes);
    EXPECT_EQ(copied.counts, row.counts);
  }
}

TEST(EntryCopy, LeavesOutARecordThatTheEndCutsOff) {
  const struct {
    const char* what;
    Bytes now;
    Bytes bytes;
    const char* counts;
  } cases[] = {
      {"within the last block", Between(Four(), 0, 120), Between(Four(), 0, 117),
       "4 entries, 3 cut off"},
      {"after one more head", Four() + Bytes{7, 0, 3, 1}, Four(), "4 entries, 4 cut off"},
      {"within one more marker", Four() + Bytes{0x05, 0xB5}, Four(), "4 entries, 2 cut off"},
      {"within one more header", Four() + Between(Four(), 0, 31), Four(), "4 entries, 31 cut off"},
      {"within an entry that is not the last any more", Between(Four(), 0, 95),
       Between(Four(), 0, 93), "3 entries, 1 damaged, 2 cut off"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.what);
    const Copied copied = CopyOf(Four(), row.now, kAll);
    EXPECT_EQ(copied.bytes, row.bytes);
    EXPECT_EQ(copied.counts, row.counts);
  }
}

TEST(EntryCopy, DataOfAStreamThatNoHeaderDeclaresIsCopiedWhereItLeadsToTheNextEntry) {
  ArchiveBuilder archive = EntriesAt({10});
  archive.Data(2, 3, "sound").Index(20).Data(1, 3, "picture");
  const Bytes bytes = archive.Content();
  ASSERT_EQ(bytes.size(), 89U);
  Copied copied = CopyOf(bytes, {{0, 2}});
  EXPECT_EQ(copied.bytes, bytes);
  EXPECT_EQ(copied.counts, "2 entries, 1 undeclared");

  copied = CopyOf(bytes, Changed(bytes, 56, {4}), {{0, 2}});
  EXPECT_EQ(copied.bytes, Between(bytes, 0, 56) + Between(bytes, 65, 89)) << "it does not";
  EXPECT_EQ(copied.counts, "2 entries, 1 damaged, 9 lost");

  ArchiveBuilder withEvent = EntriesAt({10});
  withEvent.Data(0x80, 0, "event");
  EXPECT_EQ(CopyOf(withEvent.Content(), {{0, 1}}).counts, "1 entries") << "events are known";

  // Before the first entry.
  ArchiveBuilder before("cam");
  before.Header({{1}}).Data(2, 3, "sound").Index(10);
  copied = CopyOf(before.Content(), {{0, 1}});
  EXPECT_EQ(copied.bytes, before.Content());
  EXPECT_EQ(copied.counts, "1 entries, 1 undeclared");
}

TEST(EntryCopy, ZerosAreNotDataUnlessTheirStreamIsDeclared) {
  ArchiveBuilder archive = EntriesAt({10});
  archive.Filler(8, 0).Index(20).Data(1, 3, "picture");
  const Bytes bytes = archive.Content();
  Copied copied = CopyOf(bytes, {{0, 2}});
  EXPECT_EQ(copied.bytes, Between(bytes, 0, 56) + Between(bytes, 64, 88));
  EXPECT_EQ(copied.counts, "2 entries, 1 damaged, 8 lost");

  ArchiveBuilder declared("cam");
  declared.Header({{1}, {0}}).Index(10).Filler(8, 0).Index(20);
  copied = CopyOf(declared.Content(), {{0, 2}});
  EXPECT_EQ(copied.bytes, declared.Content());
  EXPECT_EQ(copied.counts, "2 entries");
}

TEST(EntryCopy, AHoleOfEmptyBlocksIsCopiedInPortions) {
  constexpr std::size_t kHole = 64 << 20;
  ArchiveBuilder front("cam");
  front.Header({{1}, {0}}).Index(10).Data(1, 3, "odd");
  ArchiveBuilder back("cam");
  back.Index(20).Data(1, 3, "picture");
  MadeFile made(front);
  fs::resize_file(made.Path(), front.Size() + kHole);
  std::ofstream(made.Path(), std::ios::binary | std::ios::app)
      .write(reinterpret_cast<const char*>(back.Content().data()), 24);
  made.Open();
  const auto index = KeptIndex::Collect(made.Path());
  CopyCounts counts;
  std::size_t size = 0;
  std::size_t largest = 0;
  EntryCopy copy(made.File(), *index, &counts,
                 [&](const unsigned char* /*bytes*/, std::size_t more) {
                   EXPECT_EQ(more % 4, size == 0 ? front.Size() % 4 : 0) << "whole records";
                   size += more;
                   largest = std::max(largest, more);
                 });
  copy.Copy(0, 2);
  EXPECT_EQ(size, made.File().Size());
  EXPECT_LE(largest, 1U << 20);
  EXPECT_EQ(Text(counts), "2 entries");
}

TEST(EntryCopy, AHeaderAmongLostBytesIsNotLost) {
  ArchiveBuilder archive = EntriesAt({10});
  archive.Data(1, 3, "picture").Header({{2}}).Index(20).Data(2, 3, "sound");
  const Bytes bytes = archive.Content();
  ASSERT_EQ(bytes.size(), 121U);
  // The second block of the first entry, right before the header.
  const Copied copied = CopyOf(bytes, Changed(bytes, 56, kDamage), {{0, 2}});
  EXPECT_EQ(copied.bytes, Between(bytes, 0, 56) + Between(bytes, 67, 121));
  EXPECT_EQ(copied.counts, "2 entries, 1 damaged, 11 lost");
}

TEST(EntryCopy, ThereMayBeSeveralHeadersBeforeTheFirstEntry) {
  ArchiveBuilder archive("cam");
  archive.Header({{1}}).Data(1, 3, "picture").Header({{1}, {2}}).Index(10).Data(2, 3, "sound");
  const Bytes bytes = archive.Content();
  ASSERT_EQ(bytes.size(), 117U);
  const struct {
    const char* what;
    Bytes now;
    Bytes bytes;
    const char* counts;
  } cases[] = {
      {"whole", bytes, bytes, "1 entries"},
      {"the block between them is damaged", Changed(bytes, 32, kDamage),
       Between(bytes, 0, 32) + Between(bytes, 43, 117), "1 entries, 11 lost"},
      {"the first is damaged", Changed(bytes, 31, {1}), Between(bytes, 43, 117),
       "1 entries, 43 lost"},
      {"the second is damaged", Changed(bytes, 94, {1}),
       Between(bytes, 0, 43) + Between(bytes, 95, 117), "1 entries, 52 lost, no header"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.what);
    const Copied copied = CopyOf(bytes, row.now, {{0, 1}});
    EXPECT_EQ(copied.bytes, row.bytes);
    EXPECT_EQ(copied.counts, row.counts);
  }
}

TEST(EntryCopy, AHeaderBetweenUndeclaredDataAndDamageIsCopied) {
  ArchiveBuilder archive("cam");
  archive.Header({{1}}).Data(2, 3, "sound").Header({{1}, {2}}).Filler(4, 0xEE);
  archive.Index(10).Data(2, 3, "sound");
  const Bytes bytes = archive.Content();
  ASSERT_EQ(bytes.size(), 119U);
  const Copied copied = CopyOf(bytes, {{0, 1}});
  EXPECT_EQ(copied.bytes, Between(bytes, 0, 32) + Between(bytes, 41, 93) + Between(bytes, 97, 119));
  EXPECT_EQ(copied.counts, "1 entries, 13 lost");
}

// What is copied at once is more than an entry, or less.
TEST(EntryCopy, EntriesOfAnyLengthAreCopied) {
  ArchiveBuilder archive("cam");
  archive.Header({{1}});
  for (std::uint32_t time = 1; time <= 60; ++time) {
    archive.Index(time);
    for (std::uint32_t block = 0; block < time % 13; ++block)
      archive.Data(1, 3, std::string(65535 - time, static_cast<char>('a' + block)));
  }
  const Copied copied = CopyOf(archive.Content(), {{0, 20}, {20, 21}, {21, 60}});
  EXPECT_EQ(copied.bytes, archive.Content());
  EXPECT_EQ(copied.counts, "60 entries");
}

TEST(EntryCopy, RecordsThatCannotBeReadAreLost) {
  const MadeFile made(Four());
  const auto index = KeptIndex::Collect(made.Path());
  const struct {
    const char* what;
    std::vector<UnreadableBytes::Range> unreadable;
    Bytes bytes;
    const char* counts;
  } cases[] = {
      {"a payload",
       {{98, 99}},
       Between(Four(), 0, 93) + Between(Four(), 104, 128),
       "4 entries, 1 damaged, 11 lost"},
      {"payloads of two entries",
       {{74, 75}, {98, 99}},
       Between(Four(), 0, 69) + Between(Four(), 80, 93) + Between(Four(), 104, 128),
       "4 entries, 2 damaged, 22 lost"},
      {"an index record",
       {{82, 83}},
       Between(Four(), 0, 80) + Between(Four(), 104, 128),
       "3 entries, 1 damaged, 24 lost"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.what);
    const UnreadableBytes unreadable(made.Path(), row.unreadable);
    const Copied copied = CopyOf(made, *index, kAll);
    EXPECT_EQ(copied.bytes, row.bytes);
    EXPECT_EQ(copied.counts, row.counts);
  }
}
