#include "sources/cache_shape.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "support/sample_archive.h"

namespace {

const Bytes kEntry{0x80, 2, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8, 1, 62, 9, 0, 0, 0, 0, 0, 0, 0, 0, 0};
const Bytes kPosition{0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0, 0};
const Bytes kEvents{1, 0, 0, 0, 2, 0, 0, 0, 2, 0x80, 'a', 0, 0xFF, 0};

Bytes With(Bytes bytes, std::size_t place, unsigned char value) {
  bytes[place] = value;
  return bytes;
}

Bytes Text(const std::string& text) {
  return Bytes(text.begin(), text.end());
}

}  // namespace

TEST(CacheShape, TellsCachesFromStrangers) {
  constexpr auto kId3 = CacheKind::kEntries;
  constexpr auto kHdr = CacheKind::kHeaders;
  constexpr auto kEvt = CacheKind::kEvents;
  const struct {
    const char* what;
    CacheKind kind;
    Bytes bytes;
    bool isStranger;
    bool beginsAsStranger;
  } cases[] = {
      {"an empty .id3", kId3, {}, false, false},
      {"an empty .hdr", kHdr, {}, false, false},
      {"an empty .evt", kEvt, {}, false, false},
      {"entries", kId3, kEntry + kEntry, false, false},
      {"half an entry", kId3, kEntry + Between(kEntry, 0, 12), true, false},
      {"another flag", kId3, With(kEntry, 0, 1), true, true},
      {"seven pairs", kId3, With(kEntry, 1, 7), true, true},
      {"a pair that is not in use", kId3, With(kEntry, 16, 1), true, true},
      {"an odd level", kId3, With(kEntry, 13, 61), true, true},
      {"a level above all", kId3, With(kEntry, 13, 64), true, true},
      {"text as .id3", kId3, Text("What happened in the song, line by line."), true, true},
      {"positions", kHdr, Bytes(8, 0) + kPosition, false, false},
      {"half a position", kHdr, kPosition + Bytes(4, 0), true, false},
      {"a position after all files", kHdr, With(kPosition, 6, 1), true, true},
      {"text as .hdr", kHdr, Text("ENVI desc"), true, true},
      {"events", kEvt, kEvents + kEvents, false, false},
      {"more than 255 events", kEvt, kEvents + Bytes{1, 0, 0, 0, 2, 0, 0, 0, 0} + kEvents, false,
       false},
      {"a text that does not end", kEvt, Between(kEvents, 0, 11), true, false},
      {"an event less", kEvt, Between(kEvents, 0, 12), true, false},
      {"half a head", kEvt, kEvents + Bytes{1, 0, 0}, true, false},
      {"another type", kEvt, With(kEvents, 9, 0x84), true, true},
      {"zeros", kEvt, Bytes(1000, 0), true, true},
      {"text as .evt", kEvt, Text("Event log: all went well."), true, true},
  };
  const TempFolder folder;
  for (const auto& row : cases) {
    WriteFile(folder / "file", row.bytes);
    EXPECT_EQ(IsStranger(folder / "file", row.kind), row.isStranger) << row.what;
    EXPECT_EQ(BeginsAsStranger(folder / "file", row.kind), row.beginsAsStranger) << row.what;
  }
}

TEST(CacheShape, ALongFileIsLookedAtToItsEnd) {
  const TempFolder folder;
  Bytes entries;
  for (int i = 0; i < 5000; ++i) entries = entries + kEntry;
  WriteFile(folder / "long", entries);
  EXPECT_FALSE(IsStranger(folder / "long", CacheKind::kEntries));
  WriteFile(folder / "long", entries + With(kEntry, 0, 3));
  EXPECT_TRUE(IsStranger(folder / "long", CacheKind::kEntries));
  EXPECT_FALSE(BeginsAsStranger(folder / "long", CacheKind::kEntries));
}

// Entries and positions of zeros are sound; a hole between them need not be read.
TEST(CacheShape, AHoleIsZeros) {
  const TempFolder folder;
  constexpr std::uint64_t kSize = 1'999'999'992;
  static_assert(kSize % 24 == 0);
  const struct {
    const char* what;
    CacheKind kind;
    Bytes start;
    std::uint64_t size;
    Bytes end;
    bool isStranger;
  } cases[] = {
      {"entries", CacheKind::kEntries, kEntry, kSize, kEntry, false},
      {"a hole at the end", CacheKind::kEntries, kEntry, kSize, {}, false},
      {"half an entry at the end", CacheKind::kEntries, kEntry, kSize + 12, {}, true},
      {"another flag at the end", CacheKind::kEntries, kEntry, kSize, With(kEntry, 0, 1), true},
      {"positions", CacheKind::kHeaders, kPosition, kSize, kPosition, false},
      {"no position at the end", CacheKind::kHeaders, kPosition, kSize, With(kPosition, 6, 1),
       true},
      {"events", CacheKind::kEvents, kEvents, kSize, kEvents, true},
  };
  for (const auto& row : cases) {
    WriteFile(folder / "file", row.start);
    std::filesystem::resize_file(folder / "file", row.size);
    std::ofstream(folder / "file", std::ios::app | std::ios::binary)
        .write(reinterpret_cast<const char*>(row.end.data()),
               static_cast<std::streamsize>(row.end.size()));
    EXPECT_EQ(IsStranger(folder / "file", row.kind), row.isStranger) << row.what;
  }
}

TEST(CacheShape, NothingButAPlainFileOfOneNameIsACache) {
  const TempFolder folder;
  EXPECT_FALSE(IsStranger(folder / "nothing", CacheKind::kEntries));
  WriteFile(folder / "file", kEntry);
  ASSERT_FALSE(IsStranger(folder / "file", CacheKind::kEntries));
  ASSERT_EQ(symlink((folder / "file").c_str(), (folder / "link").c_str()), 0);
  ASSERT_EQ(symlink("nowhere", (folder / "dangling").c_str()), 0);
  ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
  std::filesystem::create_directory(folder / "folder");
  for (const char* const name : {"link", "dangling", "pipe", "folder"})
    EXPECT_TRUE(IsStranger(folder / name, CacheKind::kEntries)) << name;
  ASSERT_EQ(link((folder / "file").c_str(), (folder / "other name").c_str()), 0);
  EXPECT_TRUE(IsStranger(folder / "file", CacheKind::kEntries));
}
