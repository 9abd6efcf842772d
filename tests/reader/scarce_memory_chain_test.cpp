#include <algorithm>

#include "host/brick_plugins.h"
#include "little_memory.h"

namespace {

// A client that keeps nothing, but needs memory to receive.
class DeafClient : public CBrick {
 public:
  void enqueueControl(const cMemBlock&) override { std::vector<char> queue(1); }
  void enqueueData(const cMemBlock&) override { std::vector<char> queue(1); }
};

// Memory is short in a whole run, for the reader, its children and the host alike, with the parser
// that the host brings along.
class ChainWithLittleMemory : public LittleMemory {
 protected:
  void SetUp() override {
    brick_plugins::ResetRegistrations();
    ArchiveBuilder builder("cam");
    builder.Header({{1}, {2}}).Index(10).Data(1, 4, std::string(40000, 'p'), tag::kVideo);
    builder.Data(0x80, 0, "door");
    builder.Index(20).Data(2, 5, std::string(40000, 'q'), tag::kVideo).Data(0x81, 0, "gate");
    builder.Header({{1}}).Index(30).Data(1, 6, "end", tag::kVideo);
    archive = builder.Archive();
    PlaceIndexed();
    whole = Caches();
    EXPECT_EQ(whole[0].size(), 3u * 24);
    EXPECT_EQ(whole[1].size(), 2u * 8);
  }
  void TearDown() override {
    deaf.DisconnectFromAll();
    LittleMemory::TearDown();
  }

  void OpenForTheDeaf(const std::string& source) {
    Open(source);
    client->DisconnectFrom(reader.get());
    deaf.ConnectAfter(reader.get());
  }

  // The cache is the right one, or it does not count: the next reader makes it anew.
  void ExpectWholeOrNoCache() {
    const bool isWhole = Caches() == whole;
    wholeCaches += isWhole ? 1 : 0;
    Open(folder / "cam.zel3");
    EXPECT_EQ(Without("Warn W008", Told()), isWhole ? Lines{} : Lines{"Cewg"});
    EXPECT_EQ(AnswerAt(20000), "IRN3 0/1 at 20000");
    ExpectEndsWithItsChildren();
    EXPECT_EQ(Caches(), whole);
    EXPECT_EQ(EntryNames(folder.Path()), (Lines{"cam.evt", "cam.hdr", "cam.id3", "cam.zel3"}));
  }

  void SweepRun(const std::string& what, const std::function<void()>& prepare,
                const std::function<void()>& start) {
    Sweep(
        what, prepare,
        [&] {
          start();
          for (int step = 0; step < 1000; ++step) pipeline.RunOne();
        },
        [&](Shortage shortage) {
          if (!shortage.felt) {
            EXPECT_EQ(Caches(), whole);
          }
          // With memory again the run may go on, and still keeps nothing that is wrong.
          if (shortage.allocations % 2 != 0) OnCtrl(DataTick());
          Settle();
          ExpectEndsWithItsChildren();
          ExpectWholeOrNoCache();
        });
  }

  std::vector<Bytes> whole;
  DeafClient deaf;
  inline static long wholeCaches = 0;
};

TEST_F(ChainWithLittleMemory, KeepsTheRightIndexOfAFileOrNone) {
  const TBrickConfig config = Config(folder / "cam.zel3");
  SweepRun(
      "file",
      [&] {
        PlaceUnindexed();
        OpenForTheDeaf(folder / "missing");
      },
      [&] { OnCreate(config); });
  ReportFigure("whole caches in spite of refusals", wholeCaches);
}

TEST_F(ChainWithLittleMemory, KeepsTheRightIndexForARequestOrNone) {
  const cMemBlock request = ChunkRequest(20000);
  SweepRun(
      "folder",
      [&] {
        PlaceUnindexed();
        OpenForTheDeaf(folder.Path());
      },
      [&] { OnCtrl(request); });
}

}  // namespace
