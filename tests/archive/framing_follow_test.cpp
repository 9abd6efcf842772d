#include "archive/framing_follow.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <random>

#include "archive/archive_headers.h"
#include "made_file.h"
#include "parser/framing_parser.h"

namespace {

std::string Text(const FollowedFraming& followed) {
  if (followed.index) return fmt::format("index @{}", *followed.index);
  return fmt::format("{} up to {}", followed.isDamaged ? "damaged" : "whole", followed.wholeUpTo);
}

std::string Followed(const PlainFile& file, FilePosition from, FilePosition end,
                     std::optional<FilePosition> header = FilePosition{0}) {
  return Text(FollowFraming(file, from, end, header));
}

// The same by a parser, which gets the header in force first.
class ParsedFraming : public FramingSink {
 public:
  ParsedFraming(const Bytes& bytes, FilePosition from, FilePosition end, const Bytes& header) {
    mFramed.wholeUpTo = from;
    FramingParser parser(*this);
    mFrom = from;
    mHeaderSize = header.size();
    parser.Feed(header.data(), header.size());
    parser.Feed(bytes.data() + from, static_cast<std::size_t>(end - from));
    parser.Finish();
  }

  const FollowedFraming& Framed() const { return mFramed; }

  void OnHeader(FilePosition position, const ArchiveHeader& header) override {
    Pass(position, SizeOfHeaderRecord(header.length));
  }
  void OnIndex(FilePosition position, const IDX_T& /*index*/) override {
    if (!mFramed.index) mFramed.index = position - mHeaderSize + mFrom;
  }
  void OnData(FilePosition position, const DATA_T& head, const unsigned char* /*payload*/,
              Tag /*kind*/) override {
    Pass(position, sizeof(head) + head.length);
  }
  void OnDamage(FilePosition /*position*/, std::uint64_t /*bytes*/) override {
    if (!mFramed.index) mFramed.isDamaged = true;
  }

 private:
  void Pass(FilePosition position, std::size_t size) {
    if (position >= mHeaderSize) mFramed.wholeUpTo = position - mHeaderSize + mFrom + size;
  }

  FollowedFraming mFramed;
  FilePosition mFrom = 0;
  std::size_t mHeaderSize = 0;
};

}  // namespace

TEST(FramingFollow, EndsAtTheNextIndexRecord) {
  const MadeFile made(EntriesAt({10, 20, 30}));
  EXPECT_EQ(Followed(made.File(), 0, 104, std::nullopt), "index @32");
  EXPECT_EQ(Followed(made.File(), 32, 104), "index @32");
  EXPECT_EQ(Followed(made.File(), 45, 104), "index @56");
  EXPECT_EQ(Followed(made.File(), 45, 56), "whole up to 56") << "none before the end";
  EXPECT_EQ(Followed(made.File(), 93, 104), "whole up to 104");
  EXPECT_EQ(Followed(made.File(), 104, 104), "whole up to 104");
}

TEST(FramingFollow, WhatTheEndCutsOffIsNotDamage) {
  const MadeFile made(EntriesAt({10, 20}));
  for (const FilePosition end : {46, 48, 49, 55})
    EXPECT_EQ(Followed(made.File(), 45, end), "whole up to 45") << end;
  for (const FilePosition end : {57, 60, 68})
    EXPECT_EQ(Followed(made.File(), 45, end), "whole up to 56") << end;
  EXPECT_EQ(Followed(made.File(), 0, 20, std::nullopt), "whole up to 0") << "of the header";
}

TEST(FramingFollow, KnowsDataByTheHeaderInForce) {
  ArchiveBuilder archive("cam");
  archive.Header({{1}, {2, false}}).Index(10).Data(1, 3, "picture").Data(0x80, 0, "event");
  const auto size = static_cast<FilePosition>(archive.Size());
  archive.Data(2, 3, "sound");
  const MadeFile made(archive);
  EXPECT_EQ(size, 85U);
  EXPECT_EQ(Followed(made.File(), 65, 85), "whole up to 85") << "events are always known";
  EXPECT_EQ(Followed(made.File(), 65, 94), "damaged up to 85") << "stream 2 is not active";
  EXPECT_EQ(Followed(made.File(), 65, 90), "damaged up to 85") << "also where the end cuts it off";
  EXPECT_EQ(Followed(made.File(), 65, 85, std::nullopt), "damaged up to 65") << "no header";
  EXPECT_EQ(Followed(made.File(), 65, 85, 1), "damaged up to 65") << "no header stands there";
  EXPECT_EQ(Followed(made.File(), 0, 52, std::nullopt), "whole up to 52");
}

TEST(FramingFollow, ALaterHeaderTakesTheFirstOnesPlace) {
  ArchiveBuilder archive("cam");
  archive.Header({{1}}).Index(10).Header({{2}}).Data(2, 3, "sound").Data(1, 3, "picture");
  const MadeFile made(archive);
  EXPECT_EQ(Followed(made.File(), 45, archive.Size()), "damaged up to 86");
}

TEST(FramingFollow, AfterDamageTheNextMarkerCounts) {
  ArchiveBuilder archive = EntriesAt({10});
  archive.Filler(100'000, 0xEE).Index(20).Data(1, 3, "picture");
  const MadeFile made(archive);
  const FollowedFraming followed =
      FollowFraming(made.File(), 45, made.File().Size(), FilePosition{0});
  EXPECT_EQ(followed.index, FilePosition{100'056});
  EXPECT_TRUE(followed.isDamaged);
  EXPECT_EQ(Followed(made.File(), 45, 100'058), "damaged up to 56") << "half a marker";
  EXPECT_EQ(Followed(made.File(), 45, 100'060), "damaged up to 56") << "a marker and no record";
}

// A marker never begins in the last bytes, and the end may lie right after a hole.
TEST(FramingFollow, EndsRightAfterAHole) {
  constexpr FilePosition kData = 1 << 20;
  ArchiveBuilder archive = EntriesAt({10});
  archive.Filler(5, 0xEE);
  const MadeFile made(archive);
  std::filesystem::resize_file(made.Path(), kData);
  const Bytes more = EntriesAt({20}).Content();
  std::ofstream(made.Path(), std::ios::binary | std::ios::app)
      .write(reinterpret_cast<const char*>(more.data()), static_cast<std::streamsize>(more.size()));
  for (const FilePosition bytes : {1, 2, 3, 4, 32})
    EXPECT_EQ(Followed(made.File(), 45, kData + bytes),
              bytes < 32 ? "damaged up to 56" : "damaged up to 1048608");
  EXPECT_EQ(Followed(made.File(), 45, kData + 56), "index @1048608");
}

TEST(FramingFollow, IsWhatAParserFinds) {
  ArchiveBuilder archive("cam");
  archive.Header({{1}, {0}});
  for (std::uint32_t time = 1; time < 40; ++time) {
    archive.Index(time).Data(1, 3, std::string(time, 'x')).Data(0x80, 0, "event");
    if (time % 7 == 0) archive.Header({{1}, {static_cast<std::uint8_t>(time)}});
    if (time % 5 == 0) archive.Filler(4 * time, 0);
  }
  std::mt19937 random(15);
  const auto below = [&random](std::size_t most) { return random() % most; };
  for (int round = 0; round < 400; ++round) {
    Bytes bytes = archive.Content();
    for (int damage = 0; damage < 6; ++damage)
      bytes[below(bytes.size())] = static_cast<unsigned char>(below(256));
    const MadeFile made(bytes);
    const FilePosition from = below(bytes.size());
    const FilePosition end = from + below(bytes.size() - from);
    SCOPED_TRACE(fmt::format("round {}: {} to {}", round, from, end));
    const auto header = HeaderAt(made.File(), 0);
    const Bytes inForce =
        header
            ? Bytes(bytes.begin(),
                    bytes.begin() + static_cast<std::ptrdiff_t>(SizeOfHeaderRecord(header->length)))
            : Bytes();
    EXPECT_EQ(Followed(made.File(), from, end),
              Text(ParsedFraming(bytes, from, end, inForce).Framed()));
  }
}
