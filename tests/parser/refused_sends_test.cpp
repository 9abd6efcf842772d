#include "parser_brick_test.h"
#include "support/callbacks.h"

namespace {

constexpr int kForGood = 1'000'000;

// The reader names no entry, sends an archive in two blocks, which cut a record, and tells its end;
// the client has no memory for some of what the parser makes of it.
class RefusedSends : public ParserBrickTest {
 protected:
  void SendAll() {
    mReader.SendData(ChunkAnswer(kNoIndexId, 3000));
    mReader.SendData(Raw(Bytes(mArchive.begin(), mArchive.begin() + 40)));
    mReader.SendData(Raw(Bytes(mArchive.begin() + 40, mArchive.end())));
    mReader.SendData(MessageBlock::New());
    Settle();
  }
  void Settle() { ASSERT_TRUE(mPipeline.RunUntilIdle(kMostSteps)); }
  void ForgetAll() {
    EndParser();
    MakeParser();
    mReader.commands.clear();
    mClient.data.clear();
  }

  const Bytes mArchive =
      ArchiveBytes().Header({Video(1)}, "Day").Index(100).Data(1, "picture").Data(0x80, "door");
  const Lines mAll = {"IRN3 entry none time 3000 preview 0 reached 0",
                      "TagP 0",
                      "Hdr3 Day",
                      "TagP 22",
                      "Idx3 time 100",
                      "Tag  TagF",
                      "vid3 picture",
                      "Dat3 door",
                      "Tag  TagF",
                      "NMsg"};
  const Lines mPulls = {"PCR3 entry none time 3000 preview 0 reached 0"};
};

TEST_F(RefusedSends, AreTriedAgainAtOnce) {
  for (const int refusals : {0, 1, 2}) {
    for (int room = 0; room < static_cast<int>(mAll.size()); ++room) {
      SCOPED_TRACE(testing::Message() << refusals << " refusals after " << room << " blocks");
      mClient.room = room;
      mClient.refusals = refusals;
      SendAll();
      EXPECT_EQ(mClient.refusals, 0);
      EXPECT_EQ(mClient.data, mAll);
      EXPECT_EQ(mReader.commands, mPulls);
      ForgetAll();
    }
  }
}

TEST_F(RefusedSends, OfCommandsAreTriedAgainAtOnceToo) {
  mReader.refusals = 2;
  SendAll();
  EXPECT_EQ(mReader.commands, mPulls);
  EXPECT_EQ(mClient.data, mAll);
  mReader.refusals = 2;
  mClient.SendCmd(ChunkRequestBlock::New());
  Settle();
  EXPECT_EQ(mReader.commands.back(), "CRq3");
}

// Nothing that comes later is told before what is missing, neither that the block is used up nor
// the end of the file.
TEST_F(RefusedSends, HoldBackAllThatFollows) {
  for (int room = 0; room < static_cast<int>(mAll.size()); ++room) {
    mClient.room = room;
    mClient.refusals = kForGood;
    SendAll();
    EXPECT_EQ(mClient.data, Lines(mAll.begin(), mAll.begin() + room));
    mClient.refusals = 0;
    ForgetAll();
  }
}

TEST_F(RefusedSends, AreMadeUpForAtTheNextCallOfAnyKind) {
  Lines allAndAReset = mAll;
  allAndAReset.push_back("rset");
  Lines allAndABlock = mAll;
  allAndABlock.push_back("Tag  TagF");
  const struct {
    const char* name;
    std::function<void()> call;
    Lines expected;
  } calls[] = {
      {"command of the client", [&] { mClient.SendCmd(DataTickBlock::New()); }, mAll},
      {"command that goes nowhere", [&] { mReader.SendCmd(ChunkRequestBlock::New()); }, mAll},
      {"notification", [&] { mReader.SendData(ResetBlock::New()); }, allAndAReset},
      {"bytes", [&] { mReader.SendData(Raw({})); }, allAndABlock},
  };
  for (const auto& next : calls) {
    for (int room = 0; room < static_cast<int>(mAll.size()); ++room) {
      SCOPED_TRACE(testing::Message() << next.name << " after " << room << " blocks");
      mClient.room = room;
      mClient.refusals = kForGood;
      SendAll();
      mClient.refusals = 0;
      next.call();
      Settle();
      EXPECT_EQ(mClient.data, next.expected);
      ForgetAll();
    }
  }
}

// A client of a host that delivers at once: it answers each block that is used up with the next
// one, while the parser is still sending.
class EagerClient final : public CBrick {
 public:
  void enqueueData(const cMemBlock& block) override {
    data.push_back(Describe(block));
    if (data.back() != "Tag  TagF" || next.empty()) return;
    const cMemBlock given = next.front();
    next.erase(next.begin());
    (parser->*(&Callbacks::onData))(given);
  }

  CBrick* parser = nullptr;
  std::vector<cMemBlock> next;
  Lines data;
};

TEST_F(ParserBrickTest, TakesBlocksThatComeWhileItSends) {
  EagerClient eager;
  eager.parser = mParser;
  eager.next = {Raw(ArchiveBytes().Index(2)), Raw(ArchiveBytes().Index(3))};
  mClient.DisconnectFrom(mParser);
  eager.ConnectAfter(mParser);
  ReaderSendsBytes(ArchiveBytes().Index(1));
  EXPECT_THAT(eager.data,
              testing::ElementsAre("TagP 0", "Idx3 time 1", "Tag  TagF", "TagP 13", "Idx3 time 2",
                                   "Tag  TagF", "TagP 26", "Idx3 time 3", "Tag  TagF"));
}

// An entry starts with a record, even when half a record was still being held.
TEST_F(RefusedSends, OfAnEntryAreMadeUpForInTheSameEntry) {
  ReaderSends(ChunkAnswer(MakeIndexId(0, 5), 7000));
  ReaderSendsBytes(ArchiveBytes().Header({Video(1)}, "Day").Raw({3, 0, 0, 1, 'a', 'b'}));
  mClient.data.clear();
  mClient.room = 3;
  mClient.refusals = kForGood;
  ReaderSendsBytes(ArchiveBytes().Index(8).Data(1, "one").Data(1, "two"));
  mClient.refusals = 0;
  ReaderSendsBytes(ArchiveBytes().Index(9));
  EXPECT_THAT(mClient.data,
              testing::ElementsAre("TagP 28", "Idx3 time 8", "vid3 one", "vid3 two", "Tag  TagF",
                                   "TagP 55", "Idx3 time 9", "Tag  TagF"));
}

}  // namespace
