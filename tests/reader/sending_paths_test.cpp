#include "support/reader_test.h"

namespace {

// Who gets what: a brick before the reader sees only what is sent as a command, the client after it
// sees all.
class SendingPaths : public ReaderTest {
 protected:
  void OpenBetween(const std::string& source) {
    before->Create(Config(""));
    Open(source);
    reader->ConnectAfter(before.get());
  }
  void TearDown() override {
    before.reset();
    ReaderTest::TearDown();
  }

  std::unique_ptr<CapturingClient> before = std::make_unique<CapturingClient>();
};

TEST_F(SendingPaths, DataAndNotificationsGoToTheBricksBehindTheReaderOnly) {
  const std::string path = Place("cam.zel3", NumberedBytes(401));
  IndexCache{{{10, 100}, {20, 200}, {30, 300}}, {0}, {{10, 100, {{0x80, "door"}}}}}.WriteBeside(
      path);
  OpenBetween(path);
  Send(ChunkRequest(10000));
  Send(BytesRequest(MakeIndexId(0, 0), 10000));
  Send(PreviewRequest(20000, 30000));
  Send(ActivityRequest(0, 100000, 10, 1));
  Send(Play());
  Send(DataTick());
  EXPECT_THAT(Told(), ElementsAre("IRN3 0/0 at 10000", "RDat 213", "IRN3 0/1 at 20000 preview",
                                  "Gist 38", "Evt 1", "rset 25", "RDat 13"));
  EXPECT_THAT(before->Take(), IsEmpty());
}

TEST_F(SendingPaths, TheListOfArchivesGoesToBothSides) {
  const std::string path = Place("cam.zel3", NumberedBytes(401));
  IndexCache{{{10, 100}, {20, 200}, {30, 300}}}.WriteBeside(path);
  OpenBetween(path);
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre("ArcA 1 " + path));
  const std::vector<cMemBlock> blocks = before->Take();
  ASSERT_EQ(blocks.size(), 1u);
  EXPECT_EQ(BlockText(blocks[0]), "ArcA 1 " + path);
}

// Unlike the list in whose place it comes, it is a notification.
TEST_F(SendingPaths, TheWarningThatThereIsNoArchiveGoesToTheBricksBehindTheReaderOnly) {
  OpenBetween(folder.Path());
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre("Err W010 No archive in " + folder.Path()));
  EXPECT_THAT(before->Take(), IsEmpty());
}

TEST_F(SendingPaths, OfARunOnlyItsPullsGoToBothSides) {
  ArchiveBuilder builder("cam");
  builder.Header({{1}}).Index(10).Data(0x80, 0, "door").Index(20);
  Place("cam.zel3", builder.Archive());
  OpenBetween(folder.Path());
  Send(ChunkRequest(10000));
  Send(ChunkRequest(10000));
  EXPECT_THAT(Without("Warn W008", Told()), ElementsAre("Cewg", "Evt 1", "IRN3 0/0 at 10000"));
  EXPECT_THAT(before->Take(), IsEmpty());
  EXPECT_EQ(before->pulls, client->pulls);
  EXPECT_THAT(before->pulls, testing::Contains("CRq3 0 type 2"));
}

}  // namespace
