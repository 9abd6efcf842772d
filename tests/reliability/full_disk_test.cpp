#include <filesystem>

#include "load_test.h"
#include "support/private_mount.h"

namespace {

constexpr int kPage = 4096;

// The disk of the cache folder is full, or nearly.
class FullDisk : public LoadTest {};

// An index of three files, which need a page, three and two.
TEST_F(FullDisk, KeepsAWholeIndexOrNoneAndTheNextStartFindsTheTimesAgain) {
  if (!PrivateMount::CanMount()) GTEST_SKIP() << "this system does not let a process mount";
  ArchiveBuilder builder("cam");
  builder.Header({{1}});
  for (std::uint32_t time = 100; time < 600; ++time) {
    builder.Index(time).Data(1, 3, "video", tag::kVideo);
    if (time % 4 == 0) builder.Data(0x80, 0, "an event with a text of some length");
  }
  const std::string path = Place("cam.zel3", builder.Content());
  const std::string cacheFolder = folder / "cache";
  const Bytes content = ReadFile(path);
  std::filesystem::create_directory(cacheFolder);

  bool wasSaved = false;
  for (int pages = 1; !wasSaved; ++pages) {
    SCOPED_TRACE(testing::Message() << pages << " pages");
    ASSERT_LT(pages, 100);
    const PrivateMount disk = PrivateMount::SmallDisk(cacheFolder, pages * kPage);
    Open(Config(path, cacheFolder));
    Settle();
    const std::string answer = Ask(ChunkRequest(200000)).back();
    EndReader();
    // What was saved is served; without an index the file is not an archive until the next start.
    wasSaved = answer == "IRN3 0/100 at 200000";
    EXPECT_TRUE(wasSaved || answer == "IRN3 none at 203000") << answer;

    disk.Grow(100 * kPage);
    Open(Config(path, cacheFolder));
    Settle();
    EXPECT_THAT(Ask(ChunkRequest(200000)), ElementsAre("IRN3 0/100 at 200000"));
    EXPECT_THAT(Ask(Play()), ElementsAre("Evt 125", "rset 25"));
    EndReader();
    EXPECT_EQ(EntryNames(cacheFolder).size(), 3u);
    EXPECT_EQ(ReadFile(path), content);
  }
  EXPECT_EQ(EntryNames(folder.Path()), (Lines{"cache", "cam.zel3"}));
}

}  // namespace
