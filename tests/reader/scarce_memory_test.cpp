#include "scarce_memory.h"

#include <filesystem>
#include <functional>

#include "callbacks.h"
#include "run_test.h"

namespace {

namespace fs = std::filesystem;

// A host calls a reader while memory runs out: after none, one, two … allocations.
class LittleMemory : public RunTest {
 protected:
  // More than any of the calls needs.
  static constexpr int kEnough = 150;

  void OnCtrl(cMemBlock block) { (reader.get()->*(&Callbacks::onCtrl))(block); }
  void OnData(const cMemBlock& block) { (reader.get()->*(&Callbacks::onData))(block); }
  void OnNotify(const cMemBlock& block) { (reader.get()->*(&Callbacks::onNotify))(block); }
  void OnCreate(const TBrickConfig& config) { (reader.get()->*(&Callbacks::onCreate))(config); }

  // Whether the call lets an exception out when only so many allocations succeed.
  static bool Throws(int allocations, const std::function<void()>& call) {
    const ScarceMemory scarce(allocations);
    try {
      call();
      return false;
    } catch (...) {
      return true;
    }
  }

  std::string PlaceCached() {
    const std::string path = Place("cam.zel3", NumberedBytes(401));
    IndexCache{{{10, 100}, {20, 200}, {30, 300}}, {0}, {{10, 100, {{0x80, "door"}}}}}.WriteBeside(
        path);
    return path;
  }
  // The archive as it is before its first run.
  void PlaceUnindexed(const SmallArchive& archive) {
    workshop.archives.clear();
    const std::string path = Place("cam.zel3", archive);
    for (const char* const extension : {"id3", "hdr", "evt"}) {
      fs::remove(CachePath(path, extension));
    }
  }
  // The answer of a reader that has all the memory that it needs, after a run if one is needed.
  std::string AnswerAt(std::uint64_t time) {
    workshop.pullsItself = true;
    Send(ChunkRequest(time));
    Send(ChunkRequest(time));
    const Lines told = Told();
    return told.empty() ? "nothing" : told.back();
  }
};

TEST_F(LittleMemory, ARequestIsDroppedAndTheReaderStaysUsable) {
  Open(PlaceCached());
  const struct {
    const char* name;
    std::function<cMemBlock()> make;
  } requests[] = {
      {"chunk request", [] { return ChunkRequest(20000); }},
      {"bytes request", [] { return BytesRequest(MakeIndexId(0, 1), 20000); }},
      {"preview for bytes", [] { return BytesRequest(MakeIndexId(0, 1), 20000, 1); }},
      {"preview", [] { return PreviewRequest(20000, 30000); }},
      {"activity", [] { return ActivityRequest(0, 100000, 10, 1); }},
      {"archives", [] { return ArchivesRequest(); }},
      {"tick", [] { return DataTick(); }},
      {"play", [] { return Play(); }},
  };
  for (const auto& request : requests) {
    for (int allocations = 0; allocations <= kEnough; ++allocations) {
      Ask(ChunkRequest(20000));
      const cMemBlock block = request.make();
      EXPECT_FALSE(Throws(allocations, [&] { OnCtrl(block); }))
          << request.name << ' ' << allocations;
      const bool answered = !Received().empty();
      if (allocations == 0 || allocations == kEnough) {
        EXPECT_EQ(answered, allocations == kEnough) << request.name;
      }
      ASSERT_EQ(AnswerAt(20000), "IRN3 0/1 at 20000") << request.name << ' ' << allocations;
    }
  }
}

TEST_F(LittleMemory, TheSourceIsOpenedAtTheNextTry) {
  const std::string cached = PlaceCached();
  for (int allocations = 0; allocations <= kEnough; ++allocations) {
    Open(folder / "missing");
    const TBrickConfig config = Config(cached);
    EXPECT_FALSE(Throws(allocations, [&] { OnCreate(config); })) << allocations;
    OnCreate(config);
    ASSERT_EQ(AnswerAt(20000), "IRN3 0/1 at 20000") << allocations;
    EndReader();
  }
}

// The request starts a run, in whole, in part or not at all.
TEST_F(LittleMemory, ARunThatCannotStartIsStartedByALaterRequest) {
  const SmallArchive archive = ArchiveOf("cam", {10, 20, 30});
  for (int allocations = 0; allocations <= kEnough; ++allocations) {
    PlaceUnindexed(archive);
    workshop.pullsItself = true;
    Open(folder.Path());
    const cMemBlock request = ChunkRequest(20000);
    EXPECT_FALSE(Throws(allocations, [&] { OnCtrl(request); })) << allocations;
    Settle();
    ASSERT_EQ(AnswerAt(20000), "IRN3 0/1 at 20000") << allocations;
    EXPECT_EQ(pipeline.BrickCount(), 2u) << allocations;
    EndReader();
    EXPECT_EQ(pipeline.BrickCount(), 1u) << allocations;
  }
}

TEST_F(LittleMemory, ARunGoesOnWithoutTheRecordsThatFoundNone) {
  const SmallArchive archive = ArchiveOf("cam", {10, 20, 30});
  OpenInARun(Place("cam.zel3", archive));
  for (int allocations = 0; allocations <= 20; ++allocations) {
    for (const ParsedRecord& record : archive.records) {
      EXPECT_FALSE(Throws(allocations, [&] { OnData(record.block); })) << allocations;
    }
    const cMemBlock mark = StreamMark(tag::kBlockFinished);
    EXPECT_FALSE(Throws(allocations, [&] { OnData(mark); })) << allocations;
    Settle();
  }
  EXPECT_THAT(Without("Warn W008", EndRun()), ElementsAre("Cewg"));
  EXPECT_THAT(AnswerAt(20000), testing::EndsWith(" at 20000")) << "records were taken, some twice";
}

TEST_F(LittleMemory, TheEndOfARunLeavesNoChildren) {
  const SmallArchive archive = ArchiveOf("cam", {10, 20, 30});
  const cMemBlock endOfFile = Message(tag::kLevelWarning, tag::kCodeEndOfFile);
  for (int allocations = 0; allocations <= kEnough; ++allocations) {
    PlaceUnindexed(archive);
    workshop.pullsItself = false;
    Open(folder.Path());
    Ask(ChunkRequest(20000));
    Ask(ChunkRequest(20000));
    ReportAll(archive);
    EXPECT_FALSE(Throws(allocations, [&] { OnNotify(endOfFile); })) << allocations;
    Settle();
    EXPECT_THAT(Ask(DataTick()), ElementsAre("RDat 13")) << "the run is over, " << allocations;
    ASSERT_EQ(AnswerAt(20000), "IRN3 0/1 at 20000") << allocations;
    EXPECT_EQ(pipeline.BrickCount(), 2u) << allocations;
    EndReader();
    EXPECT_EQ(pipeline.BrickCount(), 1u) << allocations;
  }
}

}  // namespace
