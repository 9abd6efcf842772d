#include "indexer/archive_stream.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <memory>

#include "support/file_faults.h"
#include "support/temp_folder.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Ranges = std::vector<UnreadableBytes::Range>;
using Places = std::vector<std::uint64_t>;

constexpr std::uint64_t kPage = 4096;
constexpr std::uint64_t kMegabyte = 1024 * 1024;
constexpr auto kFailAsAWhole = UnreadableBytes::Reads::kFailAsAWhole;

// A stream over a file of which some bytes cannot be read. A byte that is read tells its place, and
// is never zero.
class Stream : public testing::Test {
 protected:
  void Place(std::uint64_t size) {
    mContent.resize(size);
    for (std::size_t i = 0; i < mContent.size(); ++i)
      mContent[i] = static_cast<unsigned char>(i % 251 + 1);
    WriteFile(mPath, mContent);
    mFile.Close();
    mFile.Open(QString::fromStdString(mPath), PlainFile::Mode::kRead);
    mStream = ArchiveStream();
  }
  // A file of so many bytes, of which those in the ranges cannot be read.
  void Place(std::uint64_t size, const Ranges& ranges,
             UnreadableBytes::Reads reads = UnreadableBytes::Reads::kStopBefore) {
    Place(size);
    mDamage.reset();
    mDamage = std::make_unique<UnreadableBytes>(mPath, ranges, reads);
  }
  void Mend() { mDamage.reset(); }

  Bytes Read(std::size_t size) {
    Bytes bytes(size, 0xEE);
    bytes.resize(mStream.Read(mFile, bytes.data(), size));
    return bytes;
  }
  // All of the stream, in portions that end within pages.
  Bytes ReadAll() {
    Bytes all;
    for (;;) {
      const Bytes portion = Read(65535);
      if (portion.empty()) return all;
      all.insert(all.end(), portion.begin(), portion.end());
    }
  }
  // The content with zeros in the ranges.
  Bytes ContentWithout(const Ranges& ranges) const {
    Bytes content = mContent;
    for (const auto& range : ranges) {
      const auto to = std::min<std::uint64_t>(range.to, content.size());
      std::fill(content.begin() + static_cast<std::ptrdiff_t>(range.from),
                content.begin() + static_cast<std::ptrdiff_t>(to), 0);
    }
    return content;
  }
  // What a stream over such a file leaves out is exactly these ranges, whatever reads do there.
  void ExpectZeros(std::uint64_t size, const Ranges& unreadable, const Ranges& zeros) {
    for (const auto reads : {UnreadableBytes::Reads::kStopBefore, kFailAsAWhole}) {
      Place(size, unreadable, reads);
      EXPECT_TRUE(ReadAll() == ContentWithout(zeros)) << static_cast<int>(reads);
    }
  }

  TempFolder mFolder;
  const std::string mPath = mFolder / "cam.zel3";
  Bytes mContent;
  PlainFile mFile;
  ArchiveStream mStream;
  std::unique_ptr<UnreadableBytes> mDamage;
};

TEST_F(Stream, GivesAFileAsItIs) {
  for (const std::size_t size : {0u, 1u, 4096u, 65535u, 65536u, 200000u}) {
    Place(size);
    EXPECT_TRUE(ReadAll() == mContent) << size;
    EXPECT_FALSE(mStream.CanBeReadNow(mFile));
    EXPECT_TRUE(mStream.ReachesTheEnd(mFile));
  }
}

TEST_F(Stream, PassesOverOnePage) {
  ExpectZeros(200000, {{8192, 12288}}, {{8192, 12288}});
  EXPECT_TRUE(mStream.ReachesTheEnd(mFile));
}

TEST_F(Stream, PassesOverTheRestOfAPageOnly) {
  Place(200000, {{10000, 10001}});
  EXPECT_TRUE(ReadAll() == ContentWithout({{10000, 12288}}));
}

TEST_F(Stream, PassesOverAWholePageThatOnlyFailsAsAWhole) {
  Place(200000, {{10000, 10001}}, kFailAsAWhole);
  EXPECT_TRUE(ReadAll() == ContentWithout({{8192, 12288}}));
}

TEST_F(Stream, PassesOverAPageThatTwoPortionsShare) {
  ExpectZeros(200000, {{61440, 69632}}, {{61440, 73728}});
  ExpectZeros(200000, {{65535, 65536}}, {{65535, 65536}});
}

TEST_F(Stream, GivesWhatLiesBetweenTwoPagesThatFail) {
  const Ranges ranges = {{8192, 12288}, {16384, 20480}, {28672, 32768}};
  ExpectZeros(200000, ranges, ranges);
}

// Even in a page of which only the front can be read.
TEST_F(Stream, BeginsAnewWithShortStepsAfterASuccess) {
  const Ranges unreadable = {{0, 8192}, {13000, 20480}};
  const Ranges zeros = {{0, 12288}, {13000, 16384 + 8192}};
  Place(200000, unreadable);
  EXPECT_TRUE(ReadAll() == ContentWithout(zeros));
}

TEST_F(Stream, GoesTwiceAsFarAfterEachFurtherFailure) {
  Place(16 * kMegabyte, {{0, 16 * kMegabyte}}, kFailAsAWhole);
  EXPECT_TRUE(ReadAll() == Bytes(16 * kMegabyte));
  Places expected = {0, 0, 4096};  // the first place once more by itself
  std::uint64_t place = 4096;
  for (std::uint64_t step = 8192; step <= kMegabyte; step *= 2) expected.push_back(place += step);
  while (place + kMegabyte < 16 * kMegabyte - kPage) expected.push_back(place += kMegabyte);
  expected.push_back(16 * kMegabyte - kPage);
  EXPECT_EQ(mDamage->FailedAt(), expected);
}

// Doubt lasts from one portion to the next.
TEST_F(Stream, TriesAPlaceOnceWhereAPortionEndsBeforeIt) {
  Place(40960, {{0, 40960}});
  for (int portion = 0; portion < 10; ++portion) EXPECT_EQ(Read(4096), Bytes(4096));
  EXPECT_EQ(mDamage->FailedAt(), (Places{0, 0, 4096, 12288, 28672, 36864}));
}

TEST_F(Stream, CountsWhatItHasPassedOver) {
  Place(200000, {{8192, 12288}, {100000, 100001}});
  EXPECT_EQ(mStream.PassedOver(), 0u);
  ReadAll();
  EXPECT_EQ(mStream.PassedOver(), 4096u + 2400);
}

TEST_F(Stream, TriesTheLast4KiBPageByPage) {
  Place(1'000'000, {{0, 1'000'000}});
  ReadAll();
  // They begin at 995,904, in the page at 995,328.
  Places failed = mDamage->FailedAt();
  ASSERT_GE(failed.size(), 2u);
  EXPECT_EQ(Places(failed.end() - 2, failed.end()), (Places{995328, 999424}));
}

TEST_F(Stream, GivesTheLastBytesAlsoAfterALongStep) {
  ExpectZeros(1'000'000, {{0, 999424}}, {{0, 999424}});
  EXPECT_TRUE(mStream.ReachesTheEnd(mFile));
}

TEST_F(Stream, TriesAPlaceASecondTimeBeforeItCountsAsFailed) {
  Place(100000);
  const FileFaults faults(FileOperation::kRead, 0, FileFaults::Repeats::kOnce, EIO);
  EXPECT_TRUE(ReadAll() == mContent);
  EXPECT_TRUE(mStream.ReachesTheEnd(mFile));
}

TEST_F(Stream, EndsWhereTheFileEndsNow) {
  Place(100000);
  EXPECT_EQ(Read(50000).size(), 50000u);
  std::filesystem::resize_file(mPath, 60000);
  EXPECT_EQ(ReadAll().size(), 10000u);
  std::filesystem::resize_file(mPath, 70000);
  EXPECT_EQ(ReadAll().size(), 10000u);
}

TEST_F(Stream, FillsWhatWasAskedForWhereTheFileGrowsBetweenTwoLooksAtItsSize) {
  constexpr int kThirdLook = 2;  // the first two find the place to try next, and the end
  Place(10000, {{8192, 10000}});
  Bytes bytes(30000, 0xEE);
  {
    const FileFaults between(FileOperation::kExamine, kThirdLook,
                             [this] { std::filesystem::resize_file(mPath, 12200); });
    EXPECT_EQ(mStream.Read(mFile, bytes.data() + 10000, 12000), 12000u);
  }
  Bytes expected(30000, 0xEE);
  std::copy_n(mContent.begin(), 8192, expected.begin() + 10000);
  std::fill_n(expected.begin() + 18192, 3808, 0);
  EXPECT_TRUE(bytes == expected);
}

TEST_F(Stream, EndsInAFileThatIsCutWithinWhatIsPassedOver) {
  for (const std::uint64_t size : {0u, 100u, 70000u, 1'500'000u}) {
    Place(3 * kMegabyte, {{0, 3 * kMegabyte}});
    EXPECT_EQ(Read(65535).size(), 65535u);
    std::filesystem::resize_file(mPath, size);
    EXPECT_EQ(ReadAll().size(), size > 65535 ? size - 65535 : 0u);
    EXPECT_THAT(Read(10), IsEmpty());
    EXPECT_FALSE(mStream.ReachesTheEnd(mFile)) << size;
    EXPECT_FALSE(mStream.CanBeReadNow(mFile)) << size;
  }
}

TEST_F(Stream, OfAClosedFileIsEmpty) {
  EXPECT_THAT(Read(10), IsEmpty());
  EXPECT_FALSE(mStream.CanBeReadNow(mFile));
}

struct Tail {
  std::uint64_t size;
  std::uint64_t readableUpTo;
  bool willDo;
};

TEST_F(Stream, ReachesTheEndWhereOnlyASmallRestIsMissing) {
  const Tail tails[] = {
      // at least 4 KiB
      {20000, 20000 - 4096, true},
      {20000, 20000 - 4097, false},
      {5000, 904, true},
      {5000, 903, false},
      // a sixteenth
      {1'600'000, 1'500'000, true},
      {1'600'000, 1'499'999, false},
      // at most 1 MiB
      {20 * kMegabyte, 19 * kMegabyte, true},
      {20 * kMegabyte, 19 * kMegabyte - 1, false},
      // something has to be read
      {3000, 0, false},
  };
  for (const Tail& tail : tails) {
    Place(tail.size, {{tail.readableUpTo, tail.size}});
    EXPECT_EQ(ReadAll().size(), tail.size);
    EXPECT_EQ(mStream.ReachesTheEnd(mFile), tail.willDo)
        << tail.readableUpTo << " of " << tail.size;
  }
}

TEST_F(Stream, ReachesTheEndOfAFileThatIsCutWhereItFailed) {
  Place(20000, {{8192, 20000}});
  ReadAll();
  EXPECT_FALSE(mStream.ReachesTheEnd(mFile));
  std::filesystem::resize_file(mPath, 8192);
  EXPECT_TRUE(mStream.ReachesTheEnd(mFile));
  std::filesystem::resize_file(mPath, 8191);
  EXPECT_FALSE(mStream.ReachesTheEnd(mFile));
}

TEST_F(Stream, TellsWhetherAPlaceThatFailedCanBeReadNow) {
  Place(200000, {{8192, 12288}, {100000, 100001}});
  ReadAll();
  EXPECT_FALSE(mStream.CanBeReadNow(mFile));
  Mend();
  EXPECT_TRUE(mStream.CanBeReadNow(mFile));
  for (const UnreadableBytes::Range& stillUnreadable : Ranges{{8192, 12288}, {100000, 100001}}) {
    const UnreadableBytes damage(mPath, {stillUnreadable});
    EXPECT_TRUE(mStream.CanBeReadNow(mFile));
  }
}

// Every place that was tried, but no byte that was only passed over.
TEST_F(Stream, TriesOnlyThePlacesThatFailed) {
  Place(kMegabyte, {{0, 300000}});
  ReadAll();
  const Places first = mDamage->FailedAt();
  mDamage = nullptr;
  mDamage = std::make_unique<UnreadableBytes>(mPath, Ranges{{0, 300000}});
  EXPECT_FALSE(mStream.CanBeReadNow(mFile));
  EXPECT_EQ(mDamage->FailedAt(), Places(first.begin() + 1, first.end()));
}

TEST_F(Stream, TriesOnlyThePlacesThatFailedOfEachOfTwoStretches) {
  const Ranges ranges = {{4096, 8192}, {102400, 400000}};
  const Places places = {4096, 102400, 106496, 114688, 131072, 163840, 229376, 360448};
  Place(kMegabyte, ranges);
  ReadAll();
  mDamage = nullptr;
  mDamage = std::make_unique<UnreadableBytes>(mPath, ranges);
  EXPECT_FALSE(mStream.CanBeReadNow(mFile));
  EXPECT_EQ(mDamage->FailedAt(), places);
}

// As many as are kept apart.
TEST_F(Stream, TriesNothingElseOf64PlacesThatFailed) {
  Ranges ranges;
  for (std::uint64_t page = 1; page <= 64; ++page)
    ranges.push_back({page * 2 * kPage, page * 2 * kPage + kPage});
  Place(200 * kPage, ranges);
  ReadAll();
  mDamage = nullptr;
  mDamage = std::make_unique<UnreadableBytes>(mPath, ranges);
  EXPECT_FALSE(mStream.CanBeReadNow(mFile));
  EXPECT_EQ(mDamage->FailedAt().size(), 64u);
}

// More places than are kept apart.
TEST_F(Stream, TellsOfAGreatManyPlacesToo) {
  Ranges ranges;
  for (std::uint64_t page = 0; page < 200; ++page)
    ranges.push_back({page * 2 * kPage, page * 2 * kPage + kPage});
  ExpectZeros(400 * kPage, ranges, ranges);
  EXPECT_TRUE(mStream.ReachesTheEnd(mFile));
  Mend();
  EXPECT_TRUE(mStream.CanBeReadNow(mFile));
}

// The last of many failures counts, not the place of the stretch that holds it.
TEST_F(Stream, DoesNotReachTheEndAfterAGreatManyPlacesWhenItCannot) {
  Ranges ranges;
  for (std::uint64_t page = 0; page < 200; ++page)
    ranges.push_back({page * 2 * kPage, page * 2 * kPage + kPage});
  ranges.push_back({400 * kPage, 500 * kPage});
  Place(500 * kPage, ranges);
  ReadAll();
  EXPECT_FALSE(mStream.ReachesTheEnd(mFile));
}

}  // namespace
