#include <dlfcn.h>
#include <gmock/gmock.h>

#include <cstring>
#include <filesystem>

#include "blocks/notifications.h"
#include "host/brick_plugins.h"
#include "host/pipeline.h"
#include "on_threads.h"
#include "sdk/brick_loader.h"
#include "support/archive_builder.h"
#include "support/block_text.h"
#include "support/capturing_client.h"
#include "support/environment_value.h"
#include "support/long_form.h"
#include "support/messages.h"

namespace {

constexpr int kThreads = 8;
constexpr std::uint32_t kFirstTimes[] = {1000, 2000};
constexpr std::uint32_t kEntries = 100;
constexpr char kNoEntry[] = "IRN3 none";

using Answers = std::vector<std::string>;
// The bytes of all files below a folder, by path.
using Content = std::map<std::string, Bytes>;

// What a block says, with the bytes that it carries.
std::string WholeText(const cMemBlock& block) {
  std::string text = BlockText(block);
  if (block.GetType() == tag::kRawData) {
    const RawDataBlock raw = RawDataBlock::View(block);
    text.append(raw.Bytes(), raw.Bytes() + raw.Size());
  } else if (block.GetType() == tag::kNotify &&
             NotifyBlock::View(block).Record().kind == tag::kActivityGist) {
    const ActivityGistBlock gist = ActivityGistBlock::View(block);
    text.append(static_cast<const char*>(gist.GetData()), gist.Size());
  } else if (block.GetType() == tag::kNotify &&
             NotifyBlock::View(block).Record().kind == tag::kEventList) {
    for (const TEventListEntry& event : EventListBlock::View(block).Record().events) {
      text += " " + std::to_string(event.time) + " " + event.text;
    }
  } else if (block.GetType() == tag::kArchives) {
    const ArchivesBlock list = ArchivesBlock::View(block);
    const TArchiveEntry* const first = list.Record().Archives();
    for (const TArchiveEntry* entry = first; entry < first + list.Record().count; ++entry) {
      text += " " + std::to_string(entry->startTime) + "-" + std::to_string(entry->endTime);
    }
  }
  return text;
}

// A pipeline with a reader, which asks for the parser by itself, and a client after it.
class Session {
 public:
  Session(const HostSettings& settings, const std::string& source, const std::string& cacheFolder)
      : mPipeline(settings) {
    TBrickConfig config = {};
    config.ownerContext = mPipeline.Id();
    mClient.Create(config);
    config.signature = tag::kSignatureReader;
    config.input = {tag::kFormatZel3, tag::kKindFolder};
    config.output = {tag::kFormatZel3, tag::kRawData};
    std::strncpy(config.sourcePath, source.c_str(), sizeof(config.sourcePath) - 1);
    std::strncpy(config.cacheFolder, cacheFolder.c_str(), sizeof(config.cacheFolder) - 1);
    mReader.reset(CBrickLoader::CreateBrick(tag::kSignatureReader, config));
    if (mReader == nullptr) throw std::runtime_error(brick_plugins::LastError());
    mClient.ConnectAfter(mReader.get());
  }
  ~Session() {
    mReader.reset();
    EXPECT_TRUE(mPipeline.RunUntilIdle());
    EXPECT_EQ(mPipeline.BrickCount(), 1u) << "the client";
  }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  Answers Told() {
    EXPECT_TRUE(mPipeline.RunUntilIdle());
    Answers told;
    for (const cMemBlock& block : mClient.Take()) told.push_back(WholeText(block));
    return told;
  }
  Answers Ask(const cMemBlock& request) {
    mReader->enqueueControl(request);
    return Told();
  }

 private:
  Pipeline mPipeline;
  CapturingClient mClient;
  std::unique_ptr<CBrick> mReader;
};

// Asks for all that a reader answers; a file without an index is indexed for it.
Answers Converse(Session* session) {
  Answers all = session->Told();
  const auto ask = [&](const cMemBlock& request) {
    for (const std::string& answer : session->Ask(request)) all.push_back(answer);
  };
  ask(ArchivesRequest());
  std::uint64_t file = 0;
  for (const std::uint64_t firstTime : kFirstTimes) {
    // The request that starts a run is not answered.
    for (const std::uint64_t time : {0, 0, 1, 50, 99}) ask(ChunkRequest((firstTime + time) * 1000));
    for (const std::uint64_t entry : {0, 1, 50, 99}) {
      ask(BytesRequest(MakeIndexId(file, entry), (firstTime + entry) * 1000));
    }
    ++file;
  }
  ask(ArchivesRequest());
  for (const std::uint8_t forward : {1, 0}) {
    ask(Play(forward));
    ask(ChunkRequest(1'050'000));
    ask(ChunkRequest(1'050'000, kNeighbour));
    for (int tick = 0; tick < 3; ++tick) ask(DataTick());
  }
  ask(ActivityRequest(900'000, 2'200'000, 200, 1));
  ask(PreviewRequest(1'010'000, 2'090'000));
  return all;
}

class ManyPipelines : public testing::Test {
 protected:
  void SetUp() override {
    brick_plugins::ResetRegistrations();
#if defined(__SANITIZE_THREAD__)
    // Threads that load the same file wait for each other inside the system's loader, where the
    // sanitizer cannot see it. So the files are there before the threads, and stay.
    for (const char* const file : {"/zel3reader.so", "/zel3parser.so"}) {
      const std::string path = std::string(PLUGINS_OF_THE_BUILD) + file;
      ASSERT_NE(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL), nullptr) << dlerror();
    }
#endif
  }
  void TearDown() override {
    EXPECT_EQ(cMemBlock::node::LiveCount(), mLiveNodesBefore);
    brick_plugins::UnloadAll();
  }

  std::string Make(const std::string& name) const {
    std::filesystem::create_directories(mFolder / name);
    return mFolder / name;
  }

  // Two archives, each longer than one block of a run, with events.
  static void PlaceArchives(const std::string& folder, const std::string& title) {
    for (const std::uint32_t firstTime : kFirstTimes) {
      ArchiveBuilder builder(title);
      builder.Header({{1}, {2}});
      for (std::uint32_t time = firstTime; time < firstTime + kEntries; ++time) {
        builder.Index(time);
        builder.Data(1, time % 32, std::string(1000, 'v') + title + std::to_string(time));
        if (time % 10 == 0) builder.Data(0x80, 0, title + " event at " + std::to_string(time));
      }
      const std::string path = folder + "/" + title + std::to_string(firstTime) + ".zel3";
      WriteFile(path, builder.Content());
      SetModificationTime(path, firstTime * 1'000'000);
    }
  }

  Content ContentNow() const {
    Content content;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(mFolder.Path())) {
      if (entry.is_regular_file()) content[entry.path().string()] = ReadFile(entry.path().string());
    }
    return content;
  }
  void BringBack(const Content& content) const {
    for (const auto& file : ContentNow()) {
      if (content.count(file.first) == 0) std::filesystem::remove(file.first);
    }
    for (const auto& [path, bytes] : content) {
      if (!FileExists(path)) WriteFile(path, bytes);
    }
  }

  const TempFolder mFolder;
  const EnvironmentValue mTemporaryFolder{"TMPDIR", Make("tmp").c_str()};

 private:
  const long mLiveNodesBefore = cMemBlock::node::LiveCount();
};

// A host of its own for each thread.
struct OwnHost {
  HostSettings settings;
  std::string source;
  std::string cacheFolder;

  Answers Converse() const {
    Session session(settings, source, cacheFolder);
    return ::Converse(&session);
  }
  // Indexes what has no index, then finds the indexes.
  std::vector<Answers> ConverseTwice() const {
    Answers first = Converse();
    return {std::move(first), Converse()};
  }
};

// Caches beside the archives, in a folder of the host's own, in one that several share, and in the
// one of the temporary folder. Hosts share their settings in pairs; the key for the limit is
// missing in all settings but one.
class HostsOfTheirOwn : public ManyPipelines {
 protected:
  void SetUp() override {
    ManyPipelines::SetUp();
    for (int number = 0; number < kThreads; ++number) mHosts.push_back(MakeHost(number));
    WriteFile(mFolder / "settings0/zel3index_cache", kLowLimit);
  }

  OwnHost MakeHost(int number) const {
    const std::string name = std::to_string(number);
    OwnHost host;
    host.settings = {Make("settings" + std::to_string(number / 2)), PLUGINS_OF_THE_BUILD};
    host.source = Make("archives" + name);
    PlaceArchives(host.source, "cam" + name);
    switch (number % 4) {
      case 0:
        break;
      case 1:
        host.cacheFolder = Make("cache" + name);
        PlaceOldCache(number);
        break;
      case 2:
        host.cacheFolder = Make("cache of all");
        break;
      default:
        host.cacheFolder = mFolder / "tmp/";
    }
    return host;
  }

  std::string OldCache(int number) const {
    return mFolder / ("cache" + std::to_string(number) + "/old.id3");
  }
  // More than the lower limit and less than the usual one.
  void PlaceOldCache(int number) const {
    WriteFile(OldCache(number), Bytes(2 << 20));
    SetModificationTime(OldCache(number), 1'000'000);
  }

  static constexpr char kLowLimit[] = "ID3_HDR_EVT_total_MB=1\n";
  static constexpr char kUsualLimit[] = "ID3_HDR_EVT_total_MB=100\n";

  std::vector<OwnHost> mHosts;
};

TEST_F(HostsOfTheirOwn, AnswerTogetherWhatEachAnswersAlone) {
  const Content before = ContentNow();
  std::vector<std::vector<Answers>> alone;
  for (const OwnHost& host : mHosts) alone.push_back(host.ConverseTwice());
  const Content after = ContentNow();
  for (const std::vector<Answers>& both : alone) {
    const auto hasAnswer = [](const char* start) {
      return testing::Contains(testing::StartsWith(start));
    };
    for (const char* const start : {"ArcA 2", "IRN3 0/50", "IRN3 1/99", "RDat 1", "Gist 228",
                                    "Evt 20", "rset", "IRN3 0/10 at 1010000 preview"}) {
      EXPECT_THAT(both[1], hasAnswer(start));
    }
    EXPECT_THAT(both[0], hasAnswer("Cewg")) << "a run";
    EXPECT_THAT(both[1], testing::Not(hasAnswer("Cewg")));
  }
  for (int round = 0; round < Scaled(2, 50); ++round) {
    SCOPED_TRACE(round);
    BringBack(before);
    for (const int number : {1, 5}) PlaceOldCache(number);
    std::vector<std::vector<Answers>> together(kThreads);
    OnThreads(kThreads, [&](int number) { together[number] = mHosts[number].ConverseTwice(); });
    ASSERT_EQ(together, alone);
    ASSERT_EQ(ContentNow(), after);
  }
}

TEST_F(HostsOfTheirOwn, EachKeepToTheirSettings) {
  OnThreads(kThreads, [&](int number) { mHosts[number].Converse(); });
  EXPECT_FALSE(FileExists(OldCache(1))) << "the lower limit";
  EXPECT_TRUE(FileExists(OldCache(5)));
  for (const auto& [path, bytes] : ContentNow()) {
    if (std::filesystem::path(path).filename() != "zel3index_cache") continue;
    const bool isLow = path == mFolder / "settings0/zel3index_cache";
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), isLow ? kLowLimit : kUsualLimit) << path;
  }
  EXPECT_TRUE(FileExists(mFolder / "settings3/zel3index_cache"));
}

class HostsOfOneFolder : public ManyPipelines {
 protected:
  void SetUp() override {
    ManyPipelines::SetUp();
    PlaceArchives(mHost.source, "cam");
  }

  // Two runs over one file get in each other's way: whoever finds no place for an index is told
  // that there is no entry, and tries again.
  void Index() const {
    for (const std::uint64_t firstTime : kFirstTimes) {
      bool found = false;
      for (int attempt = 0; attempt < 1000 && !found; ++attempt) {
        Session session(mHost.settings, mHost.source, "");
        session.Told();
        session.Ask(ChunkRequest(firstTime * 1000));
        const Answers answers = session.Ask(ChunkRequest(firstTime * 1000));
        found = answers.size() == 1 && answers[0].compare(0, sizeof(kNoEntry) - 1, kNoEntry) != 0;
      }
      EXPECT_TRUE(found);
    }
  }

  const OwnHost mHost{{Make("settings"), PLUGINS_OF_THE_BUILD}, Make("archives"), ""};
};

TEST_F(HostsOfOneFolder, AnswerTogetherWhatOneAnswersAlone) {
  const Content before = ContentNow();
  mHost.Converse();
  const Content after = ContentNow();
  const Answers alone = mHost.Converse();
  for (int round = 0; round < Scaled(2, 50); ++round) {
    SCOPED_TRACE(round);
    BringBack(before);
    OnThreads(kThreads, [&](int) { Index(); });
    std::vector<Answers> together(kThreads);
    OnThreads(kThreads, [&](int number) { together[number] = mHost.Converse(); });
    EXPECT_THAT(together, testing::Each(alone));
    for (const auto& [path, bytes] : after) {
      // The settings are asked only where an index had to go elsewhere.
      EXPECT_EQ(ReadFile(path), bytes) << path;
    }
  }
}

}  // namespace
