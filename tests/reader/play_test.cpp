#include "support/callbacks.h"
#include "support/reader_test.h"

namespace {

class Playing : public ReaderTest {
 protected:
  void OpenWithEvents(const std::vector<IndexCache::EventGroup>& events) {
    const std::string path = Place("cam.zel3", NumberedBytes(401));
    IndexCache{{{10, 100}, {20, 200}, {30, 300}}, {0}, events}.WriteBeside(path);
    Open(path);
  }
};

// A client of a host that delivers at once: gives the reader a command while the reader sends a
// notification.
class AnsweringClient : public CBrick {
 public:
  AnsweringClient(CBrick* reader, Tag kind, const cMemBlock& command)
      : mReader(*reader), mKind(kind), mCommand(command) {
    ConnectAfter(reader);
  }

  void enqueueData(const cMemBlock& block) override {
    if (NotifyBlock::View(block).Record().kind != mKind) return;
    ++count;
    if (count < kTooMany) (mReader.*(&Callbacks::onCtrl))(mCommand);
  }

  static constexpr int kTooMany = 10;

  int count = 0;  // of these notifications

 private:
  CBrick& mReader;
  const Tag mKind;
  cMemBlock mCommand;
};

TEST_F(Playing, EchoesTheCommand) {
  OpenWithEvents({});
  PlayBlock command = PlayBlock::New();
  command.Record().indexId = 0x0102030405060708;
  command.Record().time = 0x1112131415161718;
  command.Record().mode = 0x21222324;
  command.Record().forward = 0xAB;
  Send(command);
  const std::vector<cMemBlock> blocks = Received();
  ASSERT_EQ(blocks.size(), 1u);
  EXPECT_EQ(blocks[0].GetType(), FourCc("ntfy"));
  const ResetBlock reset = ResetBlock::View(blocks[0]);
  EXPECT_EQ(reset.Size(), 25u);
  EXPECT_EQ(reset.Record().kind, FourCc("rset"));
  EXPECT_EQ(reset.Record().indexId, 0x0102030405060708u);
  EXPECT_EQ(reset.Record().time, 0x1112131415161718u);
  EXPECT_EQ(reset.Record().mode, 0x21222324u);
  EXPECT_EQ(reset.Record().forward, 0xAB);
}

TEST_F(Playing, TheFirstCommandBringsTheEventsTheSecondDoesNot) {
  OpenWithEvents({{10, 100, {{0x80, "door"}, {0x81, "gate"}}}});
  EXPECT_THAT(Ask(Play()), ElementsAre("Evt 2", "rset 25"));
  EXPECT_THAT(Ask(Play()), ElementsAre("rset 25"));
}

TEST_F(Playing, EventsComeOnceAlsoToAClientThatPlaysAgainAtOnce) {
  OpenWithEvents({{10, 100, {{0x80, "door"}}}});
  AnsweringClient answering(reader.get(), FourCc("Evt "), Play());
  EXPECT_THAT(Ask(Play()), ElementsAre("Evt 1", "rset 25", "rset 25"));
  EXPECT_EQ(answering.count, 1);
}

TEST_F(Playing, StopsTheStreamAlsoWhereAClientStartsItAtOnce) {
  OpenWithEvents({});
  {
    AnsweringClient answering(reader.get(), FourCc("rset"), ChunkRequest(20000, kAtOrBefore));
    Ask(Play());
    EXPECT_EQ(answering.count, 1);
  }
  EXPECT_THAT(Ask(BytesRequest(1, 20000)), IsEmpty());
  Ask(ChunkRequest(20000, kAtOrBefore));
  EXPECT_EQ(Ask(BytesRequest(1, 20000)).size(), 1u);
}

TEST_F(Playing, WithoutEventsOnlyTheEchoComes) {
  OpenWithEvents({});
  EXPECT_THAT(Ask(Play()), ElementsAre("rset 25"));
}

TEST_F(Playing, TheEventsOfAllFilesComeInTheirOrder) {
  const std::string late = Place("late.zel3", NumberedBytes(401));
  const std::string early = Place("early.zel3", NumberedBytes(401));
  IndexCache{{{110, 100}, {4'000'000'000, 200}}, {0}, {{4'000'000'000, 200, {{0xFF, "last"}}}}}
      .WriteBeside(late);
  IndexCache{{{10, 100}, {20, 200}},
             {0},
             {{20, 200, {{0x80, "door"}, {0x91, "gate"}}}, {10, 100, {{0xFA, "first"}}}}}
      .WriteBeside(early);
  Open(folder.Path());
  Send(Play());
  const std::vector<cMemBlock> blocks = Received();
  ASSERT_EQ(blocks.size(), 2u);
  const EventListBlock list = EventListBlock::View(blocks[0]);
  EXPECT_EQ(list.Record().kind, FourCc("Evt "));
  EXPECT_EQ(list.Size(), sizeof(TEventList));
  const QList<TEventListEntry>& events = list.Record().events;
  ASSERT_EQ(events.size(), 4);
  const TEventListEntry expected[] = {{20000, 0x80, "door"},
                                      {20000, 0x91, "gate"},
                                      {10000, 0xFA, "first"},
                                      {4'000'000'000'000, 0xFF, "last"}};
  for (int i = 0; i < events.size(); ++i) {
    EXPECT_EQ(events[i].time, expected[i].time) << i;
    EXPECT_EQ(events[i].eventType, expected[i].eventType) << i;
    EXPECT_EQ(events[i].text, expected[i].text) << i;
  }
}

// Events that come to be known after the first command are not sent by the second.
TEST_F(Playing, TheEventsCountAsSentEvenWhenThereWereNone) {
  ArchiveBuilder builder("cam");
  builder.Header({{1}}).Index(10).Data(0x80, 0, "door").Index(20);
  Open(Place("cam.zel3", builder.Archive()));
  EXPECT_EQ(Ask(Play()).front(), "rset 25") << "the run has only begun";
  EXPECT_THAT(Ask(Play()), ElementsAre("rset 25"));
}

TEST_F(Playing, BackwardMovesTheTimeToAskAgainAtToEarlier) {
  OpenWithEvents({});
  Ask(Play(0));
  EXPECT_THAT(Ask(ChunkRequest(9000)), ElementsAre("IRN3 none at 6000"));
  Ask(Play(1));
  EXPECT_THAT(Ask(ChunkRequest(9000)), ElementsAre("IRN3 none at 12000"));
  Ask(Play(0));
  Ask(Play(0xFF));
  EXPECT_THAT(Ask(ChunkRequest(9000)), ElementsAre("IRN3 none at 12000")) << "any value but 0";
}

TEST_F(Playing, StopsTheStreamUntilATimeIsChosen) {
  OpenWithEvents({});
  Ask(ChunkRequest(20000));
  Ask(Play());
  EXPECT_THAT(Ask(BytesRequest(MakeIndexId(0, 1), 20000)), IsEmpty());
  EXPECT_THAT(Ask(PreviewRequest(20000, 0)), IsEmpty());
  Ask(ChunkRequest(20000));
  EXPECT_THAT(Ask(BytesRequest(MakeIndexId(0, 1), 20000)), testing::SizeIs(1));
  EXPECT_THAT(Ask(PreviewRequest(20000, 0)), testing::SizeIs(1));
}

TEST_F(Playing, WorksWithoutAnyArchive) {
  Open(folder / "missing");
  EXPECT_THAT(Ask(Play()), ElementsAre("rset 25"));
}

}  // namespace
