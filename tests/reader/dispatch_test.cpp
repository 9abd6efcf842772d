#include "support/callbacks.h"
#include "support/reader_test.h"

namespace {

// A handle that shows the list of bricks that have handled a command.
class Route : public cMemBlock {
 public:
  explicit Route(const cMemBlock& block) : cMemBlock(block) {}
  std::vector<CBrick*> Bricks() const { return {Node().route, Node().route + Node().routeCount}; }
  std::uint32_t Capacity() const { return Node().routeCapacity; }

 private:
  const cCommandNode& Node() const { return *static_cast<const cCommandNode*>(mNode); }
};

// Looks into a request's list of bricks as soon as an answer arrives, while the reader still
// handles the request.
class MarkingClient : public CBrick {
 public:
  explicit MarkingClient(const ActivityRequestBlock& request) : mRequest(request) {}
  void enqueueData(const cMemBlock& block) override {
    mRequest.MarkHandledBy(this);
    CBrick::enqueueData(block);
  }

 private:
  ActivityRequestBlock mRequest;
};

// A reader over one archive with three entries, at 10, 20 and 30 index units.
class Dispatch : public ReaderTest {
 protected:
  void SetUp() override {
    path = Place("cam.zel3", NumberedBytes(401));
    IndexCache{{{10, 100}, {20, 200}, {30, 300}}}.WriteBeside(path);
    Open(path);
  }

  int OnCtrl(cMemBlock block) { return (reader.get()->*(&Callbacks::onCtrl))(block); }
  int OnData(const cMemBlock& block) { return (reader.get()->*(&Callbacks::onData))(block); }
  int OnNotify(const cMemBlock& block) { return (reader.get()->*(&Callbacks::onNotify))(block); }

  std::string path;
};

TEST_F(Dispatch, LeadsEachCommandToItsAnswer) {
  EXPECT_THAT(Ask(ChunkRequest(20000)), ElementsAre("IRN3 0/1 at 20000"));
  EXPECT_THAT(Ask(BytesRequest(MakeIndexId(0, 1), 20000)), ElementsAre("RDat 213"));
  EXPECT_THAT(Ask(PreviewRequest(20000, 20001)), ElementsAre("IRN3 0/1 at 20000 preview"));
  EXPECT_THAT(Ask(ActivityRequest(0, 100000, 10, 1)), ElementsAre("Gist 38"));
  EXPECT_THAT(Ask(Play()), ElementsAre("rset 25"));
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre("ArcA 1 " + path));
  EXPECT_THAT(Ask(DataTick()), ElementsAre("RDat 13"));
}

TEST_F(Dispatch, APreviewRequestForBytesIsAnsweredAsAnyOther) {
  Ask(ChunkRequest(20000));
  const Bytes plain = BytesFor(BytesRequest(MakeIndexId(0, 1), 20000, 0));
  Ask(Play());
  Ask(ChunkRequest(20000));
  EXPECT_EQ(BytesFor(BytesRequest(MakeIndexId(0, 1), 20000, 1)), plain);
  Ask(Play());
  Ask(ChunkRequest(20000));
  EXPECT_EQ(BytesFor(BytesRequest(MakeIndexId(0, 1), 20000, 255)), plain);
}

TEST_F(Dispatch, ReturnsOneForEveryBlock) {
  EXPECT_EQ(OnCtrl(ChunkRequest(20000)), 1);
  EXPECT_EQ(OnCtrl(ArchivesRequest()), 1);
  EXPECT_EQ(OnCtrl(cMemBlock()), 1);
  EXPECT_EQ(OnCtrl(KillBlock::New()), 1);
  EXPECT_EQ(OnData(ParsedPlace(1)), 1);
  EXPECT_EQ(OnData(cMemBlock()), 1);
  EXPECT_EQ(OnNotify(Message(tag::kLevelWarning, tag::kCodeEndOfFile)), 1);
  EXPECT_EQ(OnNotify(NotifyBlock::New(0)), 1);
}

TEST_F(Dispatch, IgnoresWhatItDoesNotKnow) {
  OnCtrl(cMemBlock());
  OnCtrl(KillBlock::New());
  OnCtrl(ArchivesBlock::New());
  OnCtrl(cCommandBlock<char, FourCc("abcd")>::New(0));
  EXPECT_THAT(Told(), IsEmpty());
  EXPECT_EQ(pipeline.BrickCount(), 2u);
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre("ArcA 1 " + path));
}

TEST_F(Dispatch, IgnoresCommandsTooSmallForTheirRecords) {
  Ask(ChunkRequest(20000));
  Send(ChunkRequestBlock::New(11));
  Send(ParserChunkRequestBlock::New(17));
  Send(PlayBlock::New(20));
  Send(ActivityRequestBlock::New(23));
  Send(PreviewRequestBlock::New(15));
  for (const std::uint32_t size : {0u, 1u, 3u}) {
    Send(ChunkRequestBlock::New(size));
    Send(ParserChunkRequestBlock::New(size));
    Send(PlayBlock::New(size));
    Send(ActivityRequestBlock::New(size));
    Send(PreviewRequestBlock::New(size));
  }
  EXPECT_THAT(Told(), IsEmpty());
}

TEST_F(Dispatch, ATooSmallTravellingRequestIsNotMarkedAsHandled) {
  const PreviewRequestBlock preview = PreviewRequestBlock::New(15);
  const ActivityRequestBlock activity = ActivityRequestBlock::New(23);
  Ask(preview);
  Ask(activity);
  EXPECT_THAT(Route(preview).Bricks(), IsEmpty());
  EXPECT_THAT(Route(activity).Bricks(), IsEmpty());
}

TEST_F(Dispatch, HandlesATravellingRequestOnce) {
  Ask(ChunkRequest(20000));
  const ActivityRequestBlock activity = ActivityRequest(0, 100000, 10, 1);
  EXPECT_THAT(Ask(activity), ElementsAre("Gist 38"));
  EXPECT_THAT(Ask(activity), IsEmpty());
  EXPECT_THAT(Route(activity).Bricks(), ElementsAre(reader.get()));

  const PreviewRequestBlock preview = PreviewRequest(20000, 0);
  EXPECT_THAT(Ask(preview), ElementsAre("IRN3 0/1 at 20000 preview reached"));
  EXPECT_THAT(Ask(preview), IsEmpty());
  EXPECT_THAT(Route(preview).Bricks(), ElementsAre(reader.get()));
}

TEST_F(Dispatch, AnotherReaderHandlesTheSameRequestOnceToo) {
  const ActivityRequestBlock activity = ActivityRequest(0, 100000, 10, 1);
  Ask(activity);
  const std::unique_ptr<CBrick> first = std::move(reader);
  Open(path);
  EXPECT_THAT(Ask(activity), ElementsAre("Gist 38"));
  EXPECT_THAT(Ask(activity), IsEmpty());
  EXPECT_THAT(Route(activity).Bricks(), ElementsAre(first.get(), reader.get()));
}

TEST_F(Dispatch, OtherRequestsMayComeAgain) {
  const ChunkRequestBlock request = ChunkRequest(20000);
  EXPECT_THAT(Ask(request), ElementsAre("IRN3 0/1 at 20000"));
  EXPECT_THAT(Ask(request), ElementsAre("IRN3 0/1 at 20000"));
}

// The list is locked only while it is looked into; a handler inside the lock would wait for ever
// here.
TEST_F(Dispatch, ARequestMayBeMarkedByAnotherBrickWhileItIsHandled) {
  const ActivityRequestBlock activity = ActivityRequest(0, 100000, 10, 1);
  MarkingClient marking(activity);
  marking.Create(Config(""));
  marking.ConnectAfter(reader.get());
  EXPECT_THAT(Ask(activity), ElementsAre("Gist 38"));
  EXPECT_THAT(Route(activity).Bricks(), ElementsAre(reader.get(), &marking));
}

TEST_F(Dispatch, APreviewRefusedWhileStoppedCountsAsHandled) {
  const PreviewRequestBlock preview = PreviewRequest(20000, 0);
  EXPECT_THAT(Ask(preview), IsEmpty());
  Ask(ChunkRequest(20000));
  EXPECT_THAT(Ask(preview), IsEmpty());
}

TEST_F(Dispatch, TheEleventhBrickInTheListMakesRoomForTen) {
  char others[10];
  std::vector<CBrick*> expected;
  const ActivityRequestBlock activity = ActivityRequest(0, 100000, 10, 1);
  for (char& other : others) {
    expected.push_back(reinterpret_cast<CBrick*>(&other));
    ASSERT_TRUE(activity.MarkHandledBy(expected.back()));
  }
  ASSERT_EQ(Route(activity).Capacity(), 10u);

  EXPECT_THAT(Ask(activity), ElementsAre("Gist 38"));
  expected.push_back(reader.get());
  EXPECT_EQ(Route(activity).Bricks(), expected);
  EXPECT_EQ(Route(activity).Capacity(), 20u);
}

TEST_F(Dispatch, ATickThatMeetsARunTellsTheProgressAndReadsNothing) {
  EndReader();
  workshop.pullsItself = false;
  Open(Place("other.zel3", ArchiveOf("other", {10, 20})));
  EXPECT_THAT(Ask(DataTick()), ElementsAre("Warn W008 0% other.zel3"));
}

}  // namespace
