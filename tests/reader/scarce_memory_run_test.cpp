#include <algorithm>

#include "host/brick_plugins.h"
#include "little_memory.h"
#include "support/file_faults.h"

namespace {

// The request starts a run, in whole, in part or not at all.
TEST_F(LittleMemory, ARunThatCannotStartIsStartedByALaterRequest) {
  const cMemBlock request = ChunkRequest(20000);
  Sweep(
      "request",
      [&] {
        PlaceUnindexed();
        workshop.pullsItself = true;
        Open(folder.Path());
      },
      [&] { OnCtrl(request); },
      [&](Shortage) {
        Settle();
        const Snapshot snapshot(folder);
        ExpectServes();
        ExpectEndsWithItsChildren();
        ExpectNewReaderServes(snapshot.Path());
      });
}

TEST_F(LittleMemory, ARunThatLosesARecordGoesOnAndIsNotKept) {
  std::vector<cMemBlock> records;
  for (const ParsedRecord& record : archive.records) records.push_back(record.block);
  records.push_back(StreamMark(tag::kBlockFinished));
  for (std::size_t number = 0; number < records.size(); ++number) {
    Sweep(
        "record " + std::to_string(number) + " of tag " + FourCcText(records[number].GetType()),
        [&] {
          workshop.pullsItself = false;
          OpenInARun(PlaceUnindexed());
          for (std::size_t i = 0; i < number; ++i) OnData(records[i]);
        },
        [&] { OnData(records[number]); },
        [&](Shortage) {
          for (std::size_t i = number + 1; i < records.size(); ++i) OnData(records[i]);
          Ask(DataTick());
          EXPECT_EQ(client->pulls.size(), 1u) << "the next block is asked for once, now or before";
          EXPECT_THAT(Without("Warn W008", EndRun()), ElementsAre("Cewg"));
          ExpectEndsWithItsChildren();
          ExpectNewReaderServes(folder.Path());
        });
  }
}

TEST_F(LittleMemory, ABlockThatWasNotAskedForIsAskedForOnceWithTheNextCommand) {
  workshop.pullsItself = false;
  OpenInARun(PlaceUnindexed());
  const cMemBlock usedUp = StreamMark(tag::kBlockFinished);
  {
    const ScarceMemory scarce(0);
    OnData(usedUp);
    ASSERT_GT(scarce.Refused(), 0);
  }
  Settle();
  EXPECT_EQ(client->pulls.size(), 0u);
  Ask(DataTick());
  Ask(DataTick());
  EXPECT_EQ(client->pulls.size(), 1u);
  ExpectEndsWithItsChildren();
}

TEST_F(LittleMemory, ARunInThePlaceOfAnotherIsFedByBricksOfItsOwn) {
  const std::string other = Place("other.zel3", ArchiveOf("other", {100, 200}));
  std::size_t parsersBefore = 0;
  Sweep(
      "creation",
      [&] {
        workshop.pullsItself = false;
        OpenInARun(PlaceUnindexed());
        parsersBefore = workshop.orders.size();
      },
      [&] { OnCreate(Config(other)); },
      [&](Shortage) {
        const Lines told = Told();
        if (std::find(told.begin(), told.end(), "Warn W008 0% other.zel3") != told.end()) {
          EXPECT_EQ(workshop.orders.size(), parsersBefore + 1);
        }
        ExpectEndsWithItsChildren();
      });
}

TEST_F(LittleMemory, ARunThatCannotBeginAnewEndsWithoutAnIndex) {
  const cMemBlock endOfFile = Message(tag::kLevelWarning, tag::kCodeEndOfFile);
  Sweep(
      "end of a file that could not be read before",
      [&] {
        workshop.pullsItself = false;
        const std::string path = PlaceUnindexed();
        OpenInARun(path);
        const UnreadableBytes damage(path, {{0, archive.bytes.size()}});
        for (int pull = 0; pull < 3; ++pull) {
          Parser().Pull();
          Run();
        }
      },
      [&] { OnNotify(endOfFile); },
      [&](Shortage) {
        Settle();
        EXPECT_THAT(Caches()[0], IsEmpty());
        ExpectEndsWithItsChildren();
      });
}

TEST_F(LittleMemory, AnIndexReaderSendsItsBytesAtOnceOrTheNextTime) {
  workshop.pullsItself = false;
  Sweep(
      "bytes",
      [&] {
        OpenInARun(PlaceUnindexed());
        Parser().Pull();
      },
      [&] { pipeline.RunOne(); },
      [&](Shortage shortage) {
        Run();
        if (shortage.IsLasting()) {
          EXPECT_THAT(Parser().received, IsEmpty());
          Parser().Pull();
          Run();
        }
        EXPECT_EQ(Parser().received, archive.bytes);
        ExpectEndsWithItsChildren();
      });
}

// Neither what is only told to clients nor a request for more bytes is a record.
TEST_F(LittleMemory, ARunThatLosesNoRecordIsKept) {
  PlaceIndexed();
  const std::vector<Bytes> whole = Caches();
  const cMemBlock notRecords[] = {ParsedPlace(archive.bytes.size()),
                                  StreamMark(tag::kBlockFinished)};
  for (const cMemBlock& block : notRecords) {
    Sweep(
        FourCcText(block.GetType()),
        [&] {
          workshop.pullsItself = false;
          OpenInARun(PlaceUnindexed());
          ReportAll(archive);
        },
        [&] { OnData(block); },
        [&](Shortage shortage) {
          Run();
          const bool pulls = block.GetType() == tag::kStreamTag;
          if (!shortage.IsLasting()) {
            EXPECT_EQ(client->pulls.size(), pulls ? 1u : 0u);
          }
          EXPECT_THAT(Without("Warn W008", EndRun()), ElementsAre("Cewg"));
          EXPECT_EQ(Caches(), whole);
          ExpectEndsWithItsChildren();
        });
  }
}

TEST_F(LittleMemory, ARunThatLosesARecordWhileItWaitsForBytesIsNotKept) {
  const std::vector<Bytes> empty(3);
  const std::size_t numberOfRecords = archive.records.size();
  const cMemBlock usedUp = StreamMark(tag::kBlockFinished);
  int lost = 0;
  for (std::size_t number = 0; number < numberOfRecords; ++number) {
    workshop.pullsItself = false;
    OpenInARun(PlaceUnindexed());
    bool felt = false;
    {
      const ScarceMemory scarce(0);
      OnData(usedUp);
    }
    for (std::size_t i = 0; i < numberOfRecords; ++i) {
      const ScarceMemory scarce(i == number ? 0 : 1000);
      OnData(archive.records[i].block);
      felt = felt || scarce.Refused() > 0;
    }
    const bool isRecord = archive.records[number].block.GetType() != tag::kParserTag;
    Settle();
    EndRun();
    EXPECT_EQ(Caches() == empty, felt && isRecord) << number;
    lost += felt && isRecord ? 1 : 0;
    ExpectEndsWithItsChildren();
  }
  EXPECT_GT(lost, 0);
}

// A record lost in one run does not count against the next.
TEST_F(LittleMemory, ARunAfterOneThatLostARecordIsKept) {
  PlaceIndexed();
  const std::vector<Bytes> whole = Caches();
  workshop.pullsItself = false;
  PlaceUnindexed();
  Open(folder.Path());
  Ask(ChunkRequest(20000));
  const cMemBlock lost = ParsedIndex(5);
  {
    const ScarceMemory scarce(0);
    OnData(lost);
    ASSERT_GT(scarce.Refused(), 0);
  }
  EndRun();
  EXPECT_NE(Caches(), whole);
  Ask(ChunkRequest(20000));
  ReportAll(archive);
  EXPECT_THAT(Without("Warn W008", EndRun()), testing::Contains("Cewg"));
  EXPECT_EQ(Caches(), whole);
}

TEST_F(LittleMemory, TheEndOfARunLeavesNoChildren) {
  const cMemBlock endOfFile = Message(tag::kLevelWarning, tag::kCodeEndOfFile);
  Sweep(
      "end",
      [&] {
        PlaceUnindexed();
        workshop.pullsItself = false;
        Open(folder.Path());
        Ask(ChunkRequest(20000));
        Ask(ChunkRequest(20000));
        ReportAll(archive);
      },
      [&] { OnNotify(endOfFile); },
      [&](Shortage shortage) {
        Settle();
        const Snapshot snapshot(folder);
        EXPECT_THAT(Ask(DataTick()), ElementsAre("RDat 13")) << "the run is over";
        // Where a library hides a single refusal, the cache looks damaged to this reader.
        const std::string answer = AnswerAt(20000);
        if (shortage.IsLasting() || !shortage.felt) {
          EXPECT_EQ(answer, "IRN3 0/1 at 20000");
        }
        // Children that could not be told are told when the next run starts or the reader ends.
        EXPECT_TRUE(shortage.felt || pipeline.BrickCount() == 2);
        ExpectEndsWithItsChildren();
        ExpectNewReaderServes(snapshot.Path());
      });
}

// Remembers which brick feeds it.
class FedParser : public ScriptedParser {
 public:
  FedParser(ParserWorkshop* workshop, CBrick** feeder)
      : ScriptedParser(workshop), mFeeder(feeder) {}
  void ConnectAfter(CBrick* before) override {
    *mFeeder = before;
    CBrick::ConnectAfter(before);
  }

 private:
  CBrick** mFeeder;
};

// Each child that cannot be told to end stays, whole, until the host tells it.
TEST_F(LittleMemory, AReaderThatEndsInARunTellsTheChildrenThatItCan) {
  CBrick* feeder = nullptr;
  brick_plugins::RegisterFactory(tag::kSignatureParser, [&](TBrickConfig* config) -> CBrick* {
    auto* const parser = new FedParser(&workshop, &feeder);
    parser->Create(*config);
    return parser;
  });
  Sweep(
      "destruction",
      [&] {
        workshop.pullsItself = false;
        OpenInARun(PlaceUnindexed());
        EXPECT_EQ(pipeline.BrickCount(), 4u);
      },
      [&] { reader.reset(); },
      [&](Shortage shortage) {
        Settle();
        const std::size_t parsers = workshop.current == nullptr ? 0 : 1;
        const std::size_t feeders = pipeline.BrickCount() - 1 - parsers;
        ASSERT_LE(feeders, 1u);
        const std::size_t mostThatStay = !shortage.felt                            ? 0
                                         : shortage.refusal == ScarceMemory::kOnce ? 1
                                                                                   : 2;
        EXPECT_LE(parsers + feeders, mostThatStay);
        if (feeders == 1) feeder->enqueueControl(KillBlock::New());
        if (parsers == 1) static_cast<CBrick*>(workshop.current)->enqueueControl(KillBlock::New());
        ExpectEndsWithItsChildren();
        ExpectNewReaderServes(folder.Path());
      });
}

}  // namespace
