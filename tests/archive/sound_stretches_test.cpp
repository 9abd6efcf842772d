#include "archive/sound_stretches.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include "archive/record_copy.h"
#include "made_file.h"
#include "support/file_faults.h"
#include "support/sample_archive.h"

using testing::ElementsAre;

namespace {

// "index 32-56", with what is lost up to the next one: " -80"; "?104" are bytes that no header
// declares.
std::vector<std::string> StretchesOf(const MadeFile& made) {
  std::vector<std::string> texts;
  FileWindow window(made.File());
  SoundStretches stretches(made.File(), &window, 0, made.File().Size(), std::nullopt);
  SoundStretch stretch;
  while (stretches.Next(&stretch)) {
    std::string text = stretch.kind == SoundStretch::Kind::kHeader  ? "header"
                       : stretch.kind == SoundStretch::Kind::kIndex ? "index"
                                                                    : "nothing";
    text += fmt::format(" {}-{}", stretch.from, stretch.wholeTo);
    if (stretch.Lost() > 0) text += fmt::format(" -{}", stretch.to);
    if (stretch.undeclared > 0) text += fmt::format(" ?{}", stretch.undeclared);
    if (stretch.isCutOff) text += " cut off";
    if (stretch.isUnreadable) text += " unreadable";
    texts.push_back(text);
  }
  return texts;
}

// A header of 32 bytes, and entries with three blocks of 24 bytes: the first stands at 32, its
// blocks at 45, 69 and 93; the second at 117, the third at 202.
Bytes ThreeEntries() {
  ArchiveBuilder archive("cam");
  archive.Header({{1}});
  for (const std::uint32_t time : {10, 20, 30}) {
    archive.Index(time);
    for (int block = 0; block < 3; ++block) archive.Data(1, 3, std::string(20, 'x'));
  }
  return archive.Content();
}

Bytes With(Bytes bytes, std::size_t position, const Bytes& changed) {
  std::copy(changed.begin(), changed.end(), bytes.begin() + static_cast<std::ptrdiff_t>(position));
  return bytes;
}

// What a copy of all stretches gives, and how much of it is lost.
struct CopiedStretches {
  Bytes bytes;
  std::uint64_t skipped = 0;
  std::vector<std::string> lost;
};

CopiedStretches CopyOf(const MadeFile& made, const KnownTypes& types) {
  CopiedStretches copied;
  FileWindow window(made.File());
  RecordCopy copy(made.File(), &window,
                  {[&](const unsigned char* bytes, std::size_t size) {
                     copied.bytes.insert(copied.bytes.end(), bytes, bytes + size);
                   },
                   [&](std::uint64_t size) { copied.skipped += size; },
                   [&](FilePosition position, std::uint64_t size, std::uint64_t entries) {
                     copied.lost.push_back(fmt::format("{} +{} {}", position, size, entries));
                   }});
  SoundStretches stretches(made.File(), &window, 0, made.File().Size(), std::nullopt);
  SoundStretch stretch;
  while (stretches.Next(&stretch)) types.all() ? copy.Add(stretch) : copy.AddTypes(stretch, types);
  copy.Flush();
  return copied;
}

}  // namespace

TEST(SoundStretches, FindAsMuchAsIsWhole) {
  const Bytes sound = ThreeEntries();
  ASSERT_EQ(sound.size(), 287U);
  const std::string header = "header 0-32";
  const std::string first = "index 32-117";
  const std::string second = "index 117-202";
  const std::string third = "index 202-287";
  const struct {
    const char* what;
    Bytes bytes;
    std::vector<std::string> found;
  } cases[] = {
      {"sound", sound, {header, first, second, third}},
      {"a type", With(sound, 69 + 3, {0x77}), {header, "index 32-117 ?24", second, third}},
      {"a length that leads into the next block",
       With(sound, 69, {23}),
       {header, "index 32-96 -117", second, third}},
      {"a length that leads over an entry",
       With(sound, 69, {100}),
       {header, "index 32-69 -117", second, third}},
      {"a length that leads over the end",
       With(sound, 69, {0, 0x40}),
       {header, "index 32-69 -117", second, third}},
      {"a marker", With(sound, 117, {0}), {header, "index 32-117 -202", third}},
      {"zeros", With(sound, 69, Bytes(40, 0)), {header, "index 32-69 -117", second, third}},
      {"a cut tail", Between(sound, 0, 280), {header, first, second, "index 202-263 -280 cut off"}},
      {"a header's length",
       With(sound, 4, {2}),
       {"nothing 0-0 -32", "index 32-117 ?72", "index 117-202 ?72", "index 202-287 ?72"}},
      {"nothing", Bytes(100, 'x'), {"nothing 0-0 -100"}},
      {"no byte", {}, {}},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.what);
    EXPECT_EQ(StretchesOf(MadeFile(each.bytes)), each.found);
  }
}

TEST(SoundStretches, AMarkerWithinABlockIsDataWhereTheFramingLeadsOn) {
  ArchiveBuilder archive("cam");
  archive.Header({{1}});
  archive.Index(10).Data(1, 3, "\x05\xB5\xB5\xB5 and more than that").Data(1, 3, "more");
  archive.Index(20);
  EXPECT_EQ(StretchesOf(MadeFile(archive.Content())).size(), 3U);
}

TEST(SoundStretches, WhatCannotBeReadIsOneLoss) {
  ArchiveBuilder archive("cam");
  archive.Header({{1}});
  archive.Index(10).Data(1, 3, std::string(20000, 'x')).Index(20).Data(1, 3, "picture");
  const MadeFile made(archive.Content());
  const UnreadableBytes unreadable(made.Path(), {{8192, 12288}});
  const CopiedStretches copied = CopyOf(made, KnownTypes().set());
  EXPECT_THAT(copied.lost, ElementsAre("45 +20004 0"));
  EXPECT_EQ(copied.bytes,
            Between(archive.Content(), 0, 45) + Between(archive.Content(), 20049, archive.Size()));
}

TEST(SoundStretches, AHeadThatCannotBeReadEndsAStretch) {
  const Bytes bytes = ThreeEntries();
  const MadeFile made(bytes);
  const UnreadableBytes unreadable(made.Path(), {{71, 72}});
  const std::vector<std::string> found = StretchesOf(made);
  ASSERT_GE(found.size(), 2U);
  EXPECT_EQ(found[1].substr(0, 11), "index 32-69");
  EXPECT_EQ(found[1].substr(found[1].size() - 10), "unreadable");
}

TEST(SoundStretches, ACopyTakesTheWantedTypes) {
  ArchiveBuilder archive("cam");
  archive.Header({{1}, {2}});
  archive.Index(10).Data(1, 3, "one").Data(2, 3, "two").Data(1, 3, "three").Index(20);
  const std::size_t start = archive.Size() - 13 - 7 - 7 - 9;
  KnownTypes types;
  types.set(1);
  EXPECT_EQ(CopyOf(MadeFile(archive.Content()), types).bytes,
            Between(archive.Content(), 0, start + 7) +
                Between(archive.Content(), start + 14, archive.Size()));
}

TEST(SoundStretches, ALongStretchIsCopiedInPieces) {
  ArchiveBuilder archive("cam");
  archive.Header({{1}});
  archive.Index(10);
  for (int i = 0; i < 40; ++i) archive.Data(1, 3, std::string(60000, static_cast<char>('a' + i)));
  const MadeFile made(archive.Content());
  EXPECT_EQ(CopyOf(made, KnownTypes().set()).bytes, archive.Content());
  KnownTypes one;
  one.set(1);
  EXPECT_EQ(CopyOf(made, one).bytes, archive.Content());
}
