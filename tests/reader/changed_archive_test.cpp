#include <sys/stat.h>

#include <filesystem>
#include <functional>

#include "every_request.h"
#include "host/brick_plugins.h"
#include "support/unprivileged.h"

namespace {

namespace fs = std::filesystem;

struct Change {
  const char* what;
  std::function<void(const std::string& path)> make;
};

Bytes Grown(Bytes content) {
  content.insert(content.end(), {0x05, 0xB5, 0xB5, 0xB5, 1, 2, 3});
  return content;
}

// What may happen to an archive while a reader has it open or means to open it.
const Change kChanges[] = {
    {"removed", [](const std::string& path) { fs::remove(path); }},
    {"emptied", [](const std::string& path) { fs::resize_file(path, 0); }},
    {"cut within its header", [](const std::string& path) { fs::resize_file(path, 20); }},
    {"cut within an entry",
     [](const std::string& path) { fs::resize_file(path, fs::file_size(path) / 2); }},
    {"grown", [](const std::string& path) { WriteFile(path, Grown(ReadFile(path))); }},
    {"overwritten", [](const std::string& path) { WriteFile(path, NumberedBytes(100'000)); }},
    {"replaced by another archive",
     [](const std::string& path) {
       ReplaceFile(path, ArchiveOf("other", {15, 16}).bytes);
     }},
    {"replaced by other bytes",
     [](const std::string& path) { ReplaceFile(path, NumberedBytes(500)); }},
    {"replaced by a folder",
     [](const std::string& path) {
       fs::remove(path);
       fs::create_directory(path);
     }},
    {"replaced by a pipe",
     [](const std::string& path) {
       fs::remove(path);
       mkfifo(path.c_str(), 0600);
     }},
    {"made unreadable", [](const std::string& path) { chmod(path.c_str(), 0); }},
};

// An index record, a block of 6,000 bytes and the end marker.
constexpr std::size_t kEntryAnswerSize = 13 + 4 + 6000 + 13;

// A folder of two archives, one of which changes.
class ChangedArchive : public EveryRequest {
 protected:
  void SetUp() override {
    brick_plugins::ResetRegistrations();
    ArchiveBuilder builder("cam");
    builder.Header({{1}});
    for (std::uint32_t time = 10; time < 40; ++time)
      builder.Index(time).Data(1, 3, std::string(6000, 'v'), tag::kVideo);
    content = builder.Content();
    ASSERT_GT(content.size(), 2u * 65535) << "a run reads more than one block";
    otherPath = Place("other.zel3", ArchiveOf("other", {110, 120, 130}));
  }

  // Both archives as they were, with or without their index.
  void Restore(bool cached) {
    fs::remove_all(folder / "cam.zel3");
    path = Place("cam.zel3", content);
    for (const std::string& archive : {path, otherPath}) {
      for (const char* const extension : {"id3", "hdr", "evt"})
        fs::remove(CachePath(archive, extension));
      if (!cached) continue;
      OpenAndSettle(archive);
      EndReader();
    }
  }

  void OpenAndSettle(const std::string& source) {
    Open(source);
    Settle();
  }
  Lines Find(std::uint64_t time) { return Without("Warn W008", Ask(ChunkRequest(time))); }

  void ExpectTheOtherToBeServed() {
    EXPECT_THAT(Find(120000), ElementsAre("IRN3 1/1 at 120000"));
    const Bytes other = ReadFile(otherPath);
    const Bytes answer = BytesFor(BytesRequest(MakeIndexId(1, 1), 120000));
    EXPECT_NE(std::search(other.begin(), other.end(), answer.end() - 30, answer.end() - 13),
              other.end());
  }

  // With the archive as it was, and its index made anew, all is as it was.
  void ExpectAsBefore() {
    EndReader();
    Restore(false);
    OpenAndSettle(path);
    EXPECT_THAT(Find(20000), ElementsAre("IRN3 0/10 at 20000"));
    EndReader();
    EXPECT_EQ(ReadFile(path), content);
  }

  // For as long as a test lasts, so that a file can be unreadable.
  const Unprivileged unprivileged;
  Bytes content;
  std::string path;
  std::string otherPath;
};

TEST_F(ChangedArchive, WhileItIsServed) {
  for (const Change& change : kChanges) {
    SCOPED_TRACE(change.what);
    Restore(true);
    OpenAndSettle(folder.Path());
    ASSERT_THAT(Find(20000), ElementsAre("IRN3 0/10 at 20000"));
    const Bytes before = BytesFor(BytesRequest(MakeIndexId(0, 10), 20000));
    change.make(path);
    // The file is still open: the answer is laid out as before, whatever its bytes are.
    EXPECT_EQ(BytesFor(BytesRequest(MakeIndexId(0, 10), 20000)).size(), kEntryAnswerSize);
    EXPECT_GT(before.size(), kEntryAnswerSize) << "with the header, the first time";
    ExpectTheOtherToBeServed();
    EXPECT_THAT(Find(20000), ElementsAre("IRN3 0/10 at 20000")) << "the index stays";
    AskEverything();
    ExpectAsBefore();
  }
}

TEST_F(ChangedArchive, BeforeItIsOpenedForItsBytes) {
  for (const Change& change : kChanges) {
    SCOPED_TRACE(change.what);
    Restore(true);
    OpenAndSettle(folder.Path());
    ExpectTheOtherToBeServed();
    ASSERT_THAT(Find(20000), ElementsAre("IRN3 0/10 at 20000"));
    change.make(path);
    EXPECT_GT(BytesFor(BytesRequest(MakeIndexId(0, 10), 20000)).size(), kEntryAnswerSize);
    ExpectTheOtherToBeServed();
    AskEverything();
    ExpectAsBefore();
  }
}

// After each step of the pipeline, from before the first byte is read to after the end.
TEST_F(ChangedArchive, DuringItsRun) {
  for (const Change& change : kChanges) {
    bool atRest = false;
    for (int steps = 0; !atRest; steps = 2 * steps + 1) {
      SCOPED_TRACE(testing::Message() << change.what << " after " << steps << " steps");
      Restore(false);
      Open(folder.Path());
      for (int request = 0; request < 2; ++request) Send(ChunkRequest(20000));
      int left = steps;
      while (left > 0 && pipeline.RunOne()) --left;
      atRest = left > 0;
      change.make(path);
      Settle();
      AskEverything();
      ExpectAsBefore();
    }
  }
}

TEST_F(ChangedArchive, BetweenTwoStarts) {
  for (const Change& change : kChanges) {
    SCOPED_TRACE(change.what);
    Restore(true);
    change.make(path);
    OpenAndAskEverything(folder.Path());
    OpenAndAskEverything(path);
    ExpectAsBefore();
  }
}

// Cache files change between two starts, even into those of another archive.
TEST_F(ChangedArchive, CachesThatChangeBetweenTwoStarts) {
  for (const Change& change : kChanges) {
    for (const char* const extension : {"id3", "hdr", "evt"}) {
      SCOPED_TRACE(testing::Message() << extension << ' ' << change.what);
      Restore(true);
      const std::string cache = CachePath(path, extension);
      if (!fs::exists(cache) || (fs::file_size(cache) < 20 && change.what[0] == 'c')) continue;
      change.make(cache);
      OpenAndAskEverything(folder.Path());
      OpenAndAskEverything(path);
      chmod(cache.c_str(), 0600);
      fs::remove_all(cache);
      ExpectAsBefore();
    }
  }
}

}  // namespace
