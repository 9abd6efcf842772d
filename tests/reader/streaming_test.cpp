#include "run_test.h"

namespace {

constexpr char kEndOfFile[] = "notify Warn EOF EOF End of file reached";

// The index reader of a run, as the parser sees it.
class Streaming : public RunTest {
 protected:
  // What the parser gets for one request.
  Lines Pull() {
    workshop.log.clear();
    Parser().Pull();
    Run();
    return workshop.log;
  }
};

TEST_F(Streaming, SendsAFileInBlocksOf65535BytesAndThenItsEnd) {
  const Bytes content = NumberedBytes(65535 * 2 + 1);
  OpenInARun(Place("cam.zel3", content));
  EXPECT_THAT(Pull(), ElementsAre("data RDat 65535"));
  EXPECT_THAT(Pull(), ElementsAre("data RDat 65535"));
  EXPECT_THAT(Pull(), ElementsAre("data RDat 1"));
  EXPECT_EQ(Parser().received, content);
  EXPECT_THAT(Pull(), ElementsAre(kEndOfFile));
  EXPECT_THAT(Pull(), ElementsAre(kEndOfFile));
}

TEST_F(Streaming, FollowsTheSizeOfTheFile) {
  const struct {
    std::size_t size;
    Lines blocks;
  } cases[] = {{0, {}},
               {1, {"data RDat 1"}},
               {16, {"data RDat 16"}},
               {65534, {"data RDat 65534"}},
               {65535, {"data RDat 65535"}},
               {65536, {"data RDat 65535", "data RDat 1"}}};
  for (const auto& example : cases) {
    OpenInARun(Place(std::to_string(example.size) + ".zel3", NumberedBytes(example.size)));
    Lines expected = example.blocks;
    expected.push_back(kEndOfFile);
    for (const std::string& line : expected) EXPECT_THAT(Pull(), ElementsAre(line));
    EXPECT_EQ(Parser().received, NumberedBytes(example.size));
    EndReader();
  }
}

TEST_F(Streaming, TheEndIsAWarningOfTheIndexReader) {
  OpenInARun(Place("cam.zel3", Bytes()));
  Pull();
  const MessageBlock end = MessageBlock::View(workshop.lastNotification);
  EXPECT_EQ(end.Size(), sizeof(TNotifyMessage));
  EXPECT_EQ(end.Record().kind, FourCc("NMsg"));
  EXPECT_EQ(end.Record().sender, tag::kSignatureReader);
  EXPECT_EQ(end.Record().level, FourCc("Warn"));
  EXPECT_EQ(end.Record().code, FourCc("EOF "));
  EXPECT_EQ(end.Record().value, 6);
  EXPECT_EQ(end.Record().text, "EOF");
  EXPECT_EQ(end.Record().detail, "End of file reached");
}

TEST_F(Streaming, ATickMakesTheIndexReaderReadOnToo) {
  OpenInARun(Place("cam.zel3", NumberedBytes(65536)));
  Parser().SendUpstream(DataTick());
  Run();
  Parser().SendUpstream(BytesRequest(kNoIndexId, 0, 1));
  Run();
  Parser().SendUpstream(DataTick());
  Run();
  EXPECT_THAT(workshop.log, ElementsAre("data RDat 65535", "data RDat 1", kEndOfFile));
}

TEST_F(Streaming, TheIndexReaderKnowsNoTimes) {
  OpenInARun(Place("cam.zel3", NumberedBytes(100)));
  Parser().SendUpstream(ChunkRequest(0, kNeighbour));
  Run();
  EXPECT_THAT(workshop.log, ElementsAre("notify IRN3 none at 3000"));
}

TEST_F(Streaming, AFileThatGrowsAfterItsEndIsReadOn) {
  const std::string path = Place("cam.zel3", NumberedBytes(100));
  OpenInARun(path);
  Pull();
  EXPECT_THAT(Pull(), ElementsAre(kEndOfFile));
  WriteFile(path, NumberedBytes(150));
  EXPECT_THAT(Pull(), ElementsAre("data RDat 50"));
  EXPECT_EQ(Parser().received, NumberedBytes(150));
}

TEST_F(Streaming, OutsideARunATickBringsTheEndMarkerOnly) {
  const std::string path = Place("cam.zel3", NumberedBytes(100));
  IndexCache{{{10, 20}, {20, 60}}}.WriteBeside(path);
  Open(path);
  const Bytes expected = {0x05, 0xB5, 0xB5, 0xB5, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  EXPECT_EQ(BytesFor(DataTick()), expected);
  EXPECT_EQ(BytesFor(DataTick()), expected);
}

}  // namespace
