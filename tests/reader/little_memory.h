#pragma once

#include <filesystem>
#include <functional>

#include "run_test.h"
#include "support/callbacks.h"
#include "support/figure.h"
#include "support/scarce_memory.h"

// A host calls a reader while memory runs out, at each of the call's allocations in turn. The
// archive has a header and entries at 10, 20 and 30; the second one holds an event.
class LittleMemory : public RunTest {
 protected:
  LittleMemory() {
    ArchiveBuilder builder("cam");
    builder.Header({{1}, {2}});
    const std::size_t headerEnd = builder.Size();
    builder.Index(10).Data(1, 4, "picture");
    const std::size_t second = builder.Size();
    builder.Index(20).Data(1, 4, "picture").Data(0x80, 0, "door");
    const std::size_t third = builder.Size();
    builder.Index(30).Data(1, 4, "picture");
    archive = builder.Archive();
    header = Part(archive.bytes, 0, headerEnd);
    secondEntry = Part(archive.bytes, second, third - second);
  }

  void TearDown() override {
    archive = SmallArchive();
    RunTest::TearDown();
  }
  static void TearDownTestSuite() {
    ReportFigure("injected allocation failures", injectedFailures);
  }

  void OnCtrl(cMemBlock block) { (reader.get()->*(&Callbacks::onCtrl))(block); }
  void OnData(const cMemBlock& block) { (reader.get()->*(&Callbacks::onData))(block); }
  void OnNotify(const cMemBlock& block) { (reader.get()->*(&Callbacks::onNotify))(block); }
  void OnCreate(const TBrickConfig& config) { (reader.get()->*(&Callbacks::onCreate))(config); }

  // What a call had to do without.
  struct Shortage {
    int allocations;  // succeeded before the first refusal
    ScarceMemory::Refusal refusal;
    bool felt;  // something was refused

    bool IsLasting() const { return felt && refusal == ScarceMemory::kFromThenOn; }
  };
  // Makes the call with its first, second, third … allocation refused, alone and with all after it,
  // until nothing had to be refused. Nothing may be thrown. The first failure ends the sweep.
  void Sweep(const std::string& what, const std::function<void()>& prepare,
             const std::function<void()>& call, const std::function<void(Shortage)>& check) {
    constexpr int kFarTooMany = 100'000;
    for (const auto refusal : {ScarceMemory::kOnce, ScarceMemory::kFromThenOn}) {
      bool refused = true;
      for (int allocations = 0; refused; ++allocations) {
        SCOPED_TRACE(testing::Message()
                     << what << ", " << allocations << " allocations, then refused "
                     << (refusal == ScarceMemory::kOnce ? "one" : "all"));
        ASSERT_LT(allocations, kFarTooMany);
        prepare();
        bool thrown = false;
        {
          const ScarceMemory scarce(allocations, refusal);
          try {
            call();
          } catch (...) {
            thrown = true;
          }
          refused = scarce.Refused() > 0;
          injectedFailures += scarce.Refused();
        }
        EXPECT_FALSE(thrown);
        check({allocations, refusal, refused});
        if (HasFailure()) return;
      }
    }
  }

  // The archive as it is before its first run, alone in the folder.
  std::string PlaceUnindexed() {
    workshop.archives.clear();
    workshop.log.clear();
    for (const char* const extension : {"id3", "hdr", "evt"}) {
      std::filesystem::remove(CachePath(folder / "cam.zel3", extension));
    }
    return Place("cam.zel3", archive);
  }
  // The archive with the caches of its first run.
  std::string PlaceIndexed() {
    const std::string path = PlaceUnindexed();
    workshop.pullsItself = true;
    Open(path);
    Settle();
    EndReader();
    return path;
  }

  std::vector<Bytes> Caches() const {
    std::vector<Bytes> caches;
    for (const char* const extension : {"id3", "hdr", "evt"})
      caches.push_back(ReadFile(CachePath(folder / "cam.zel3", extension)));
    return caches;
  }

  // The last answer of a reader that has all the memory that it needs, after a run if one is
  // needed.
  std::string AnswerAt(std::uint64_t time) {
    workshop.pullsItself = true;
    Send(ChunkRequest(time));
    Send(ChunkRequest(time));
    const Lines told = Told();
    return told.empty() ? "nothing" : told.back();
  }
  // The reader serves the archive as if it had never been short of memory.
  void ExpectServes() {
    EXPECT_EQ(AnswerAt(20000), "IRN3 0/1 at 20000");
    // After this the stream header comes with the bytes.
    Ask(Play());
    EXPECT_THAT(Ask(ChunkRequest(20000)), ElementsAre("IRN3 0/1 at 20000"));
    EXPECT_EQ(BytesFor(BytesRequest(MakeIndexId(0, 1), 20000)),
              Joined(Joined(header, secondEntry), EndMarker()));
    EXPECT_THAT(ArchiveTimes(), ElementsAre("10000-36000"));
  }
  void ExpectEndsWithItsChildren() {
    EndReader();
    EXPECT_EQ(pipeline.BrickCount(), 1u);
  }
  // Whatever became of the caches: a new reader uses them whole or indexes the archive again.
  void ExpectNewReaderServes(const std::string& source) {
    Open(source);
    AnswerAt(20000);
    EXPECT_THAT(Ask(Play()), ElementsAre("Evt 1", "rset 25"));
    ExpectServes();
    ExpectEndsWithItsChildren();
  }

  SmallArchive archive;
  Bytes header;
  Bytes secondEntry;
  inline static long injectedFailures = 0;
};

// The archive and its caches as they are at this moment.
class Snapshot {
 public:
  explicit Snapshot(const TempFolder& source) {
    std::filesystem::copy(source.Path(), mCopy.Path());
  }
  const std::string& Path() const { return mCopy.Path(); }

 private:
  TempFolder mCopy;
};
