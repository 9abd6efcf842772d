#include <sys/stat.h>

#include <filesystem>
#include <functional>
#include <random>

#include "every_request.h"

namespace {

namespace fs = std::filesystem;

// Files that are not what they should be. Whatever they hold, a reader ends at once, answers every
// request in the prescribed form and reads nothing but what is there.
using BadInput = EveryRequest;

TEST_F(BadInput, MissingPaths) {
  for (const std::string& source :
       {folder / "missing", folder / "missing/", folder / "missing.zel3", std::string(),
        std::string("\xFF\xFE.zel3"), std::string(260, 'x')}) {
    OpenAndAskEverything(source);
  }
}

TEST_F(BadInput, AnEmptyFolder) {
  OpenAndAskEverything(folder.Path());
}

// The smallest archive there can be has a header of 9 bytes and an index record of 13.
TEST_F(BadInput, FilesOf0To40BytesOfEveryKind) {
  const Bytes contents[] = {
      Bytes(40, 0),
      Bytes(40, 0xFF),
      Bytes(40, 0xB5),
      Part(ArchiveOf("c", {10, 20}).bytes, 0, 40),
      ArchiveBuilder("").Header({}).Index(10).Index(20).Content(),
      Joined(ArchiveBuilder("").Index(10).Content(), ArchiveBuilder("").Header({}).Content())};
  for (const Bytes& content : contents) {
    for (std::size_t size = 0; size <= 40; ++size) {
      fs::create_directory(folder / "one");
      Place("one/cam.zel3", Part(content, 0, size));
      OpenAndAskEverything(folder / "one");
      OpenAndAskEverything(folder / "one/cam.zel3");
      fs::remove_all(folder / "one");
    }
  }
}

TEST_F(BadInput, ATruncatedArchiveAtEveryLength) {
  const Bytes whole = ArchiveOf("cam", {10, 20, 30}).bytes;
  for (std::size_t size = 0; size < whole.size(); ++size) {
    Place("cam.zel3", Part(whole, 0, size));
    OpenAndAskEverything(folder.Path());
    for (const char* const extension : {"id3", "hdr", "evt"}) {
      fs::remove(CachePath(folder / "cam.zel3", extension));
    }
  }
}

TEST_F(BadInput, HeadersThatPointAnywhere) {
  const Bytes whole = ArchiveOf("cam", {10, 20, 30}).bytes;
  const unsigned char values[] = {0x00, 0x01, 0x7F, 0x80, 0xFF};
  for (const unsigned char low : values) {
    for (const unsigned char high : values) {
      for (const std::size_t field : {4u, 6u}) {
        Bytes content = whole;
        content[field] = low;
        content[field + 1] = high;
        Place("cam.zel3", content);
        OpenAndAskEverything(folder.Path());
      }
    }
  }
}

TEST_F(BadInput, AHeaderOfStringsWithoutEnd) {
  ArchiveBuilder builder("cam");
  builder.Header({{1}}).Index(10);
  Bytes content = builder.Content();
  // Everything after the index record is one string that never ends.
  content[4] = 0xFF;
  content[5] = 0x7F;
  const auto delta = static_cast<std::uint16_t>(builder.Size() - kIndexRecordSize - 0x7FFF);
  content[6] = static_cast<unsigned char>(delta);
  content[7] = static_cast<unsigned char>(delta >> 8);
  content.resize(200'000, 'x');
  Place("cam.zel3", content);
  Open(folder.Path());
  EXPECT_THAT(ArchiveTimes(), ElementsAre("10000-10000"));
  AskEverything();
}

// Cache files of all lengths and contents, one at a time and all three at once.
TEST_F(BadInput, RandomBytesInEveryCacheFile) {
  std::mt19937 random(1);
  const std::string path = Place("cam.zel3", NumberedBytes(1000));
  const auto randomBytes = [&random](std::size_t most) {
    Bytes bytes(random() % (most + 1));
    for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(random());
    return bytes;
  };
  for (int round = 0; round < 60; ++round) {
    IndexCache{{{10, 100}, {20, 200}, {30, 300}}, {0}, {{10, 100, {{0x80, "door"}}}}}.WriteBeside(
        path);
    const auto choice = round % 4;
    if (choice == 0 || choice == 3) ReplaceFile(CachePath(path, "id3"), randomBytes(200));
    if (choice == 1 || choice == 3) ReplaceFile(CachePath(path, "hdr"), randomBytes(100));
    if (choice == 2 || choice == 3) ReplaceFile(CachePath(path, "evt"), randomBytes(100));
    OpenAndAskEverything(path);
  }
}

TEST_F(BadInput, CacheFilesOf0To40Bytes) {
  const std::string path = Place("cam.zel3", NumberedBytes(1000));
  for (const unsigned char value : {0x00, 0x01, 0x80, 0xFF}) {
    for (std::size_t size = 0; size <= 40; ++size) {
      for (const char* const extension : {"id3", "hdr", "evt"}) {
        IndexCache{{{10, 100}, {20, 200}, {30, 300}}, {0}, {{10, 100, {{0x80, "door"}}}}}
            .WriteBeside(path);
        ReplaceFile(CachePath(path, extension), Bytes(size, value));
        Open(path);
        Ask(Play());
        Ask(ChunkRequest(15000));
        Ask(BytesRequest(MakeIndexId(0, 1), 15000));
        EndReader();
      }
    }
  }
}

// Sparse cache files claim more records than memory holds.
TEST_F(BadInput, HugeCacheFiles) {
  for (const char* const extension : {"id3", "hdr", "evt"}) {
    const std::string path = Place("cam.zel3", ArchiveOf("cam", {10, 20, 30}));
    IndexCache{{{10, 100}, {20, 200}, {30, 300}}, {0}, {{10, 100, {{0x80, "door"}}}}}.WriteBeside(
        path);
    fs::resize_file(CachePath(path, extension), std::uintmax_t{103} << 30);
    OpenAndAskEverything(path);
    fs::remove(CachePath(path, extension));
  }
}

TEST_F(BadInput, TimesThatAreNotAscending) {
  const std::string path = Place("cam.zel3", NumberedBytes(1000));
  IndexCache{{{0xFFFFFFFF, 100}, {0, 0xFFFFFFFF}, {20, 0}, {20, 300}, {5, 200}}, {~0ull, 500, 0}}
      .WriteBeside(path);
  OpenAndAskEverything(path);
}

TEST_F(BadInput, CacheFilesThatAreNoFiles) {
  const std::string path = Place("cam.zel3", ArchiveOf("cam", {10, 20, 30}));
  for (const char* const extension : {"id3", "hdr", "evt"}) {
    fs::remove(CachePath(path, extension));
    fs::create_directory(CachePath(path, extension));
    OpenAndAskEverything(path);
    fs::remove_all(CachePath(path, extension));
    fs::create_symlink("/dev/zero", CachePath(path, extension));
    OpenAndAskEverything(path);
    fs::remove_all(CachePath(path, extension));
  }
}

TEST_F(BadInput, ADeviceIsNoArchive) {
  OpenAndAskEverything("/dev/zero");
  fs::create_symlink("/dev/zero", folder / "cam.zel3");
  OpenAndAskEverything(folder / "cam.zel3");
  OpenAndAskEverything(folder.Path());
}

// The path of a known archive comes to name something else.
TEST_F(BadInput, AnArchiveThatBecomesAPipeIsNotWaitedFor) {
  const std::string a = Place("a.zel3", NumberedBytes(401));
  const std::string b = Place("b.zel3", NumberedBytes(401));
  IndexCache{{{10, 100}, {20, 200}}}.WriteBeside(a);
  IndexCache{{{110, 100}, {120, 200}}}.WriteBeside(b);
  Open(folder.Path());
  Ask(ChunkRequest(10000));
  Ask(BytesRequest(MakeIndexId(0, 0), 10000));
  fs::remove(b);
  ASSERT_EQ(mkfifo(b.c_str(), 0600), 0);
  EXPECT_THAT(Ask(BytesRequest(MakeIndexId(1, 0), 110000)), testing::SizeIs(1));
  fs::remove(b);
  fs::create_directory(b);
  EXPECT_THAT(Ask(BytesRequest(MakeIndexId(1, 1), 120000)), testing::SizeIs(1));
}

TEST_F(BadInput, ASourceThatIsReplacedByAFolderDuringItsRun) {
  const std::string path = Place("cam.zel3", ArchiveOf("cam", {10, 20, 30}));
  workshop.pullsItself = false;
  Open(path);
  Settle();
  fs::remove(path);
  fs::create_directory(path);
  workshop.current->Report(Message(tag::kLevelWarning, tag::kCodeEndOfFile));
  EXPECT_THAT(Told(), ElementsAre("Cewg"));
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre("Err W010 No archive in " + path));
  AskEverything();
}

// Commands in any order, with any payload, to a reader with a folder of three files.
TEST_F(BadInput, RandomCommands) {
  std::mt19937 random(2);
  Place("a.zel3", ArchiveOf("a", {10, 20, 30}));
  Place("b.zel3", ArchiveOf("b", {110, 120, 130}));
  Place("c.zel3", Bytes(100, 0x11), 1'000'000);
  const auto anyTime = [&random]() -> std::uint64_t {
    const std::uint64_t times[] = {
        0, 10000, 15000, 30000, 70000, 120000, 999999, random(), ~std::uint64_t{0}};
    return times[random() % std::size(times)];
  };
  const auto anyId = [&random] { return MakeIndexId(random() % 4, random() % 5); };
  const std::function<void()> commands[] = {
      [&] { Send(ChunkRequest(anyTime(), random() % 4)); },
      [&] { Send(BytesRequest(anyId(), anyTime(), random() % 2)); },
      [&] { Send(Play(random() % 3)); },
      [&] { Send(ActivityRequest(anyTime(), anyTime(), random() % 40, random() % 4)); },
      [&] { Send(PreviewRequest(anyTime(), anyTime())); },
      [&] { Send(ArchivesRequest()); },
      [&] { Send(DataTick()); },
      [&] { reader->enqueueData(ParsedPlace(random())); },
      [&] { reader->enqueueData(ParsedIndex(random())); },
      [&] { reader->enqueueData(Message(tag::kLevelWarning, tag::kCodeEndOfFile)); },
      [&] { pipeline.RunOne(); },
      [&] { Run(); }};
  Open(folder.Path());
  for (int step = 0; step < 3000; ++step) {
    commands[random() % std::size(commands)]();
    if (step % 100 == 0) client->Take();
  }
  Settle();
  EXPECT_THAT(Ask(DataTick()), ElementsAre("RDat 13"));
}

}  // namespace
