#include "archive/growing_archive.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "made_file.h"
#include "support/file_faults.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Found = GrowingArchive::Found;
using Lines = std::vector<std::string>;

// Notes what is handed over.
class NotingSink : public FramingSink {
 public:
  void OnHeader(FilePosition position, const ArchiveHeader& header) override {
    lines.push_back(fmt::format("header @{} of {}", position, header.streams.size()));
  }
  void OnIndex(FilePosition position, const IDX_T& index) override {
    lines.push_back(fmt::format("index @{} {}", position, index.time));
  }
  void OnData(FilePosition position, const DATA_T& head, const unsigned char* payload,
              Tag /*kind*/) override {
    lines.push_back(fmt::format("data @{} {} {}", position, head.type,
                                std::string(payload, payload + head.length)));
  }
  void OnDamage(FilePosition position, std::uint64_t bytes) override {
    lines.push_back(fmt::format("damage @{} {}", position, bytes));
  }
  void OnCutOff(FilePosition position, std::uint64_t bytes) override {
    lines.push_back(fmt::format("cut off @{} {}", position, bytes));
  }

  Lines Take() { return std::exchange(lines, {}); }

  Lines lines;
};

void AppendTo(const std::string& path, const Bytes& bytes) {
  std::ofstream file(path, std::ios::binary | std::ios::app);
  file.write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
}

Bytes From(const ArchiveBuilder& archive, std::size_t position) {
  return {archive.Content().begin() + static_cast<std::ptrdiff_t>(position),
          archive.Content().end()};
}

class GrowingArchiveTest : public testing::Test {
 protected:
  std::string Path() const { return mFolder / "a.zel3"; }
  std::string operator/(const std::string& name) const { return mFolder / name; }
  void Append(const Bytes& bytes) const { AppendTo(Path(), bytes); }

  TempFolder mFolder;
  NotingSink mSink;
  GrowingArchive mGrowing{mFolder / "a.zel3", &mSink};
};

}  // namespace

TEST_F(GrowingArchiveTest, HandsOverWhatIsNew) {
  ArchiveBuilder archive = EntriesAt({7});
  Append(archive.Content());
  EXPECT_EQ(mGrowing.Look(), Found::kMore);
  EXPECT_THAT(mSink.Take(), ElementsAre("header @0 of 1", "index @32 7", "data @45 1 picture"));
  EXPECT_EQ(mGrowing.Look(), Found::kNothing);
  const std::size_t before = archive.Size();
  archive.Data(0x80, 0, "motion");
  Append(From(archive, before));
  EXPECT_EQ(mGrowing.Look(), Found::kMore);
  EXPECT_THAT(mSink.Take(), ElementsAre("data @56 128 motion"));
  EXPECT_EQ(mGrowing.BytesRead(), archive.Size());
}

// Whatever is looked at while it is written: no record before its last byte, none twice, and each
// byte read once.
TEST_F(GrowingArchiveTest, EachRecordComesWithItsLastByte) {
  ArchiveBuilder archive = EntriesAt({7});
  archive.Data(0xFA, 0, "note").Header({{1}, {2}}).Index(8).Data(2, 0, "sound");
  const std::vector<std::pair<std::size_t, std::string>> ends = {
      {32, "header @0 of 1"},    {45, "index @32 7"},      {56, "data @45 1 picture"},
      {64, "data @56 250 note"}, {116, "header @64 of 2"}, {129, "index @116 8"},
      {138, "data @129 2 sound"}};
  ASSERT_EQ(archive.Size(), ends.back().first);
  std::size_t next = 0;
  for (std::size_t size = 1; size <= archive.Size(); ++size) {
    Append({archive.Content()[size - 1]});
    EXPECT_EQ(mGrowing.Look(), Found::kMore);
    EXPECT_EQ(mGrowing.BytesRead(), size);
    if (size < ends[next].first) {
      EXPECT_THAT(mSink.Take(), IsEmpty()) << size;
    } else {
      EXPECT_THAT(mSink.Take(), ElementsAre(ends[next++].second)) << size;
    }
  }
  EXPECT_EQ(next, ends.size());
}

TEST_F(GrowingArchiveTest, BeginsAtTheEndAtEveryPlace) {
  ArchiveBuilder archive = EntriesAt({7});
  archive.Data(0xFA, 0, "old").Data(0xFA, 0, "new").Index(8).Data(0xFA, 0, "newer");
  // Where records begin: the index records at 32 and 70, old at 56, new at 63, newer at 83.
  for (std::size_t cut = 1; cut <= archive.Size(); ++cut) {
    SCOPED_TRACE(cut);
    const Bytes& all = archive.Content();
    const auto place = all.begin() + static_cast<std::ptrdiff_t>(cut);
    WriteFile(Path(), Bytes(all.begin(), place));
    NotingSink sink;
    GrowingArchive growing(Path(), &sink);
    growing.BeginAtEnd();
    EXPECT_EQ(growing.Look(), Found::kNothing);
    EXPECT_THAT(sink.Take(), IsEmpty());
    Append(Bytes(place, all.end()));
    growing.Look();
    Lines data;
    for (const std::string& line : sink.Take()) {
      if (line[0] == 'd') data.push_back(line);
    }
    Lines expected;
    if (cut < 56) expected.push_back("data @45 1 picture");
    if (cut < 63) expected.push_back("data @56 250 old");
    if (cut < 70) expected.push_back("data @63 250 new");
    if (cut < 92) expected.push_back("data @83 250 newer");
    EXPECT_EQ(data, expected);
    // What was there to find the last entry, and then all from that on.
    const std::size_t entry = cut < 45 ? 0 : cut < 83 ? 32 : 70;
    const bool isNew = cut < archive.Size();
    EXPECT_EQ(growing.BytesRead(), isNew ? cut + archive.Size() - entry : 0);
  }
}

TEST_F(GrowingArchiveTest, TheEndIsTheEndOfAnEntryInForce) {
  ArchiveBuilder archive = EntriesAt({7, 8});
  Append(archive.Content());
  mGrowing.BeginAtEnd();
  const std::size_t before = archive.Size();
  archive.Data(1, 0, "x");
  Append(From(archive, before));
  EXPECT_EQ(mGrowing.Look(), Found::kMore);
  EXPECT_THAT(mSink.Take(), ElementsAre("header @0 of 1", "index @56 8", "data @80 1 x"));
}

TEST_F(GrowingArchiveTest, BeginsAtAnEntry) {
  Append(EntriesAt({7, 8, 9}).Content());
  PlainFile file;
  ASSERT_TRUE(file.Open(Path(), PlainFile::Mode::kRead));
  const struct {
    std::optional<ArchiveTime> time;
    FilePosition position;
  } cases[] = {{std::nullopt, 80}, {8000, 56}, {8999, 56}, {7000, 32}, {1, 32}, {99000, 80}};
  for (const auto& row : cases) {
    const EntryStart start = LastEntry(file, file.Size(), row.time);
    EXPECT_EQ(start.position, row.position);
    EXPECT_EQ(start.header.size(), 32U);
    EXPECT_EQ(start.earliest, 7000U);
    EXPECT_EQ(start.latest, 9000U);
  }
  mGrowing.BeginAt(LastEntry(file, file.Size(), 8000));
  EXPECT_EQ(mGrowing.Look(), Found::kMore);
  EXPECT_THAT(mSink.Take(), ElementsAre("header @0 of 1", "index @56 8", "data @69 1 picture",
                                        "index @80 9", "data @93 1 picture"));
}

TEST_F(GrowingArchiveTest, DamageIsToldOnce) {
  ArchiveBuilder archive = EntriesAt({7});
  archive.Filler(20).Index(8);
  for (const unsigned char byte : archive.Content()) {
    Append({byte});
    mGrowing.Look();
  }
  EXPECT_THAT(mSink.Take(), ElementsAre("header @0 of 1", "index @32 7", "data @45 1 picture",
                                        "damage @56 20", "index @76 8"));
}

TEST_F(GrowingArchiveTest, AFileThatBecomesShorterBeginsAnew) {
  Append(EntriesAt({7, 8}).Content());
  ASSERT_EQ(mGrowing.Look(), Found::kMore);
  mSink.Take();
  std::filesystem::resize_file(Path(), 0);
  EXPECT_EQ(mGrowing.Look(), Found::kShorter);
  EXPECT_EQ(mGrowing.Look(), Found::kNothing);
  Append(EntriesAt({9}).Content());
  EXPECT_EQ(mGrowing.Look(), Found::kMore);
  EXPECT_THAT(mSink.Take(), ElementsAre("header @0 of 1", "index @32 9", "data @45 1 picture"));
}

TEST_F(GrowingArchiveTest, AFileThatTakesTheNameIsReadAfterAllOfTheEarlierOne) {
  const Bytes first = EntriesAt({7}).Content();
  Append(first);
  ASSERT_EQ(mGrowing.Look(), Found::kMore);
  mSink.Take();
  Append({1, 0, 0, 1, 'x', 9, 0});
  WriteFile(*this / "new", EntriesAt({9}).Content());
  std::filesystem::rename(*this / "new", Path());
  EXPECT_EQ(mGrowing.Look(), Found::kReplaced);
  EXPECT_THAT(mSink.Take(), ElementsAre("data @56 1 x", "cut off @61 2"));
  EXPECT_EQ(mGrowing.Look(), Found::kMore);
  EXPECT_THAT(mSink.Take(), ElementsAre("header @0 of 1", "index @32 9", "data @45 1 picture"));
}

TEST_F(GrowingArchiveTest, AFileThatWasClosedIsKnownAgain) {
  Append(EntriesAt({7}).Content());
  ASSERT_EQ(mGrowing.Look(), Found::kMore);
  mSink.Take();
  mGrowing.Close();
  EXPECT_EQ(mGrowing.Look(), Found::kNothing);
  EXPECT_FALSE(mGrowing.IsOpen());
  Append({1, 0, 0, 1, 'x'});
  EXPECT_EQ(mGrowing.Look(), Found::kMore);
  EXPECT_THAT(mSink.Take(), ElementsAre("data @56 1 x"));
  mGrowing.Close();
  WriteFile(*this / "new", EntriesAt({9, 10, 11}).Content());
  std::filesystem::rename(*this / "new", Path());
  EXPECT_EQ(mGrowing.Look(), Found::kReplaced);
}

TEST_F(GrowingArchiveTest, AFileThatIsRenamedGoesOn) {
  Append(EntriesAt({7}).Content());
  ASSERT_EQ(mGrowing.Look(), Found::kMore);
  mSink.Take();
  std::filesystem::rename(Path(), *this / "b.zel3");
  EXPECT_EQ(mGrowing.Look(), Found::kGone);
  EXPECT_EQ(mGrowing.Look(), Found::kNothing) << "told once";
  mGrowing.MoveTo(*this / "b.zel3");
  AppendTo(*this / "b.zel3", {1, 0, 0, 1, 'x'});
  EXPECT_EQ(mGrowing.Look(), Found::kMore);
  EXPECT_THAT(mSink.Take(), ElementsAre("data @56 1 x"));
}

TEST_F(GrowingArchiveTest, WhatIsNotAFileIsNotRead) {
  EXPECT_EQ(mGrowing.Look(), Found::kGone);
  std::filesystem::create_directory(Path());
  EXPECT_EQ(mGrowing.Look(), Found::kNotRead);
  EXPECT_EQ(mGrowing.Look(), Found::kNothing);
}
