#include "json/block_json.h"

#include <gmock/gmock.h>

#include <cstring>
#include <sstream>

#include "blocks/commands.h"
#include "blocks/notifications.h"
#include "blocks/stream_records.h"

namespace {

std::string Printed(const cMemBlock& block, std::uint64_t byteLimit = ~std::uint64_t{0}) {
  std::ostringstream out;
  PrintBlock(block, byteLimit, out);
  return out.str();
}

// A block of the type whose record is one byte short.
template <class Block>
std::string PrintedWithoutLastByte() {
  return Printed(Block::New(Block::New().Size() - 1));
}

TZEL3ChunkInfo Entry() {
  TZEL3ChunkInfo info;
  info.indexId = 1;
  info.time = 2;
  info.preview = 1;
  info.timeReached = 1;
  return info;
}

}  // namespace

TEST(PrintBlock, ShowsEveryFieldOfACommand) {
  auto chunkRequest = ChunkRequestBlock::New();
  chunkRequest.Record().time = 18446744073709551615U;
  chunkRequest.Record().type = 4294967295U;
  EXPECT_EQ(Printed(chunkRequest),
            "{\"block\":\"CRq3\",\"time\":18446744073709551615,\"type\":4294967295}\n");

  auto parserRequest = ParserChunkRequestBlock::New();
  parserRequest.Record() = Entry();
  EXPECT_EQ(Printed(parserRequest),
            "{\"block\":\"PCR3\",\"indexId\":1,\"time\":2,\"preview\":1,\"timeReached\":1}\n");

  auto play = PlayBlock::New();
  play.Record().indexId = 3;
  play.Record().time = 4;
  play.Record().mode = 5;
  play.Record().forward = 255;
  EXPECT_EQ(Printed(play),
            "{\"block\":\"Pla3\",\"indexId\":3,\"time\":4,\"mode\":5,\"forward\":255}\n");

  auto activity = ActivityRequestBlock::New();
  activity.Record().from = 6;
  activity.Record().to = 7;
  activity.Record().binCount = -8;
  activity.Record().streamId = -9;
  EXPECT_EQ(Printed(activity),
            "{\"block\":\"His3\",\"from\":6,\"to\":7,\"binCount\":-8,\"streamId\":-9}\n");

  auto preview = PreviewRequestBlock::New();
  preview.Record().time = 10;
  preview.Record().endTime = 11;
  EXPECT_EQ(Printed(preview), "{\"block\":\"Prev\",\"time\":10,\"endTime\":11}\n");

  EXPECT_EQ(Printed(ArchivesRequestBlock::New()), "{\"block\":\"ArcR\"}\n");
}

TEST(PrintBlock, ShowsNoMoreLevelsThanThereAre) {
  auto gist = ActivityGistBlock::New(sizeof(TActivityGist) + 2);
  gist.Record().from = 1;
  gist.Record().to = 2;
  gist.Record().streamId = 3;
  gist.Record().binCount = 5;
  gist.Record().Levels()[0] = 63;
  gist.Record().Levels()[1] = 255;
  EXPECT_EQ(Printed(gist),
            "{\"block\":\"ntfy\",\"kind\":\"Gist\",\"from\":1,\"to\":2,\"streamId\":3,"
            "\"binCount\":5,\"levels\":[63,255]}\n");
}

TEST(PrintBlock, ShowsNoMoreArchivesThanThereAre) {
  auto list = ArchivesBlock::New(sizeof(TArchivesInfo) + sizeof(TArchiveEntry));
  list.Record().count = 3;
  list.Record().source = "/a \"b\"";
  TArchiveEntry& archive = list.Record().Archives()[0];
  archive = TArchiveEntry();
  archive.startTime = 1;
  archive.endTime = 2;
  archive.fileNumber = 9;
  archive.reserved = 7;
  archive.streamMap[0] = 0x81;
  archive.streamMap[31] = 0x80;
  EXPECT_EQ(
      Printed(list),
      "{\"block\":\"ArcA\",\"count\":3,\"source\":\"/a \\\"b\\\"\",\"archives\":[{\"startTime\":1,"
      "\"endTime\":2,\"fileNumber\":9,\"reserved\":7,\"streams\":[0,7,255]}]}\n");
}

TEST(PrintBlock, ShowsAnEmptyEventList) {
  EXPECT_EQ(Printed(EventListBlock::New()),
            "{\"block\":\"ntfy\",\"kind\":\"Evt \",\"events\":[]}\n");
}

TEST(PrintBlock, ShowsOnlyTheKindOfAnUnknownNotification) {
  auto notification = NotifyBlock::New();
  notification.Record().kind = FourCc("xyz ");
  EXPECT_EQ(Printed(notification), "{\"block\":\"ntfy\",\"kind\":\"xyz \"}\n");
  notification.Record().kind = 0;
  EXPECT_EQ(Printed(notification), "{\"block\":\"ntfy\",\"kind\":\"\"}\n");
}

TEST(PrintBlock, ShowsBytesUpToTheLimit) {
  RawDataBlock block = RawDataBlock::New(3);
  std::memcpy(block.WritableBytes(), "\x00\xA5\xff", 3);
  EXPECT_EQ(Printed(block, 3), "{\"block\":\"RDat\",\"size\":3,\"bytes\":\"00a5ff\"}\n");
  EXPECT_EQ(Printed(block, 2), "{\"block\":\"RDat\",\"size\":3,\"bytes\":\"00a5\"}\n");
  EXPECT_EQ(Printed(block, 0), "{\"block\":\"RDat\",\"size\":3,\"bytes\":\"\"}\n");
}

TEST(PrintBlock, ShowsNothingOfABlockThatIsTooSmallForItsRecord) {
  EXPECT_EQ(PrintedWithoutLastByte<ChunkRequestBlock>(), "");
  EXPECT_EQ(PrintedWithoutLastByte<ParserChunkRequestBlock>(), "");
  EXPECT_EQ(PrintedWithoutLastByte<PlayBlock>(), "");
  EXPECT_EQ(PrintedWithoutLastByte<ActivityRequestBlock>(), "");
  EXPECT_EQ(PrintedWithoutLastByte<PreviewRequestBlock>(), "");
  EXPECT_EQ(PrintedWithoutLastByte<ArchivesBlock>(), "");
  EXPECT_EQ(PrintedWithoutLastByte<NotifyBlock>(), "");
  EXPECT_EQ(PrintedWithoutLastByte<ChunkAnswerBlock>(), "");
  EXPECT_EQ(PrintedWithoutLastByte<ResetBlock>(), "");
  EXPECT_EQ(PrintedWithoutLastByte<ActivityGistBlock>(), "");
  EXPECT_EQ(PrintedWithoutLastByte<EventListBlock>(), "");
  EXPECT_EQ(PrintedWithoutLastByte<MessageBlock>(), "");
}
