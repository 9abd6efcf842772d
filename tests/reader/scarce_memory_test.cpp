#include "support/scarce_memory.h"

#include "little_memory.h"
#include "sdk/brick_loader.h"

namespace {

TEST_F(LittleMemory, CreationThatFailsHasOpenedNothing) {
  const TBrickConfig config = Config(PlaceIndexed());
  Open("");
  int opened = -1;
  {
    const ScarceMemory scarce(0);
    opened = (reader.get()->*(&Callbacks::onCreate))(config);
  }
  EXPECT_EQ(opened, 0);
  EXPECT_EQ((reader.get()->*(&Callbacks::onCreate))(config), 1);
}

TEST_F(LittleMemory, ARequestIsDroppedAndTheReaderStaysUsable) {
  Open(PlaceIndexed());
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
    cMemBlock block;
    Sweep(
        request.name,
        [&] {
          Ask(ChunkRequest(20000));
          block = request.make();
        },
        [&] { OnCtrl(block); },
        [&](Shortage shortage) {
          const bool answered = !Received().empty();
          EXPECT_TRUE(answered || shortage.felt);
          EXPECT_FALSE(answered && shortage.IsLasting() && shortage.allocations == 0);
          ExpectServes();
        });
  }
}

TEST_F(LittleMemory, ASourceThatCouldNotBeOpenedIsLeftAsItIs) {
  const struct {
    const char* name;
    bool indexed;
    bool isFolder;
  } sources[] = {
      {"file with caches", true, false},
      {"file without caches", false, false},
      {"folder with caches", true, true},
      {"folder without caches", false, true},
  };
  for (const auto& source : sources) {
    const TBrickConfig config = Config(source.isFolder ? folder.Path() : folder / "cam.zel3");
    Sweep(
        source.name,
        [&] {
          source.indexed ? PlaceIndexed() : PlaceUnindexed();
          workshop.pullsItself = true;
          Open(folder / "missing");
        },
        [&] { OnCreate(config); },
        [&](Shortage shortage) {
          Settle();
          const Snapshot snapshot(folder);
          OnCreate(config);
          Settle();
          // Where a library hides a single refusal, the source looks damaged to this reader.
          if (shortage.IsLasting() || !shortage.felt) {
            EXPECT_EQ(AnswerAt(20000), "IRN3 0/1 at 20000");
          }
          ExpectEndsWithItsChildren();
          ExpectNewReaderServes(snapshot.Path());
        });
  }
}

TEST_F(LittleMemory, AReaderIsMadeWholeOrNotAtAll) {
  for (const bool isFolder : {false, true}) {
    TBrickConfig config = Config(isFolder ? folder.Path() : PlaceIndexed());
    Sweep(
        config.sourcePath, [] {},
        [&] { reader.reset(CBrickLoader::CreateBrick(tag::kSignatureReader, config)); },
        [&](Shortage shortage) {
          if (!shortage.felt) {
            ASSERT_NE(reader, nullptr);
            client->ConnectAfter(reader.get());
            ExpectServes();
          }
          ExpectEndsWithItsChildren();
          ExpectNewReaderServes(folder.Path());
        });
  }
}

}  // namespace
