#include "host/brick_plugins.h"
#include "sdk/brick_loader.h"
#include "support/reader_test.h"

namespace {

// The whole chain with the parser that the host brings along.
class WithTheReferenceParser : public ReaderTest {
 protected:
  void SetUp() override { brick_plugins::ResetRegistrations(); }

  static SmallArchive BusyArchive() {
    ArchiveBuilder builder("busy");
    builder.Header({{1}, {2}, {3, false}});
    for (std::uint32_t time = 100; time < 600; ++time) {
      builder.Index(time, time % 50 == 0);
      builder.Data(1, time % 32, std::string(300, 'v'), tag::kVideo);
      builder.Data(2, 3, std::string(time % 90, 's'), tag::kVideo);
      if (time % 25 == 0) builder.Data(0x80, 0, "event at " + std::to_string(time));
      if (time == 300) builder.Header({{1}, {2}, {5}});
    }
    return builder.Archive();
  }

  // Brings up a parser for playing after the reader, and the client after the parser.
  void PutParserInBetween() {
    TBrickConfig config = Config("");
    config.signature = tag::kSignatureParser;
    config.input = {tag::kFormatZel3, tag::kRawData};
    config.output = {tag::kFormatMany, tag::kKindMany};
    parser.reset(CBrickLoader::CreateBrick(tag::kSignatureParser, config));
    ASSERT_NE(parser, nullptr) << brick_plugins::LastError();
    client->DisconnectFrom(reader.get());
    parser->ConnectAfter(reader.get());
    client->ConnectAfter(parser.get());
  }
  void TearDown() override {
    EndReader();
    parser.reset();
    ReaderTest::TearDown();
  }

  Lines AskTheParser(const cMemBlock& block) {
    parser->enqueueControl(block);
    return Told();
  }

  std::unique_ptr<CBrick> parser;

  Bytes Cache(const std::string& path, const char* extension) {
    return ReadFile(CachePath(path, extension));
  }
};

TEST_F(WithTheReferenceParser, ARunFindsWhatTheArchiveWasMadeOf) {
  const SmallArchive archive = BusyArchive();
  ASSERT_GT(archive.bytes.size(), 2u * 65535) << "records are cut by the ends of blocks";
  const std::string parsed = Place("parsed.zel3", archive);
  Open(parsed);
  EXPECT_THAT(Without("Warn W008", Told()), ElementsAre("Cewg"));
  EXPECT_THAT(ArchiveTimes(), ElementsAre("100000-602000"));
  EXPECT_TRUE(workshop.orders.empty());
  EndReader();

  ParserWorkshop knowing;
  knowing.Learn(archive);
  const std::string known = Place("known.zel3", archive);
  Open(known);
  Settle();
  ASSERT_EQ(knowing.orders.size(), 1u);
  for (const char* const extension : {"id3", "hdr", "evt"}) {
    EXPECT_FALSE(Cache(parsed, extension).empty()) << extension;
    EXPECT_EQ(Cache(parsed, extension), Cache(known, extension)) << extension;
  }
}

// The requests of the run also reach the parser that plays; it must not send them back.
TEST_F(WithTheReferenceParser, ARunInBetweenDoesNotDisturbTheParserThatPlays) {
  Place("cam.zel3", ArchiveOf("cam", {10, 20, 30}));
  Open(folder.Path());
  PutParserInBetween();
  EXPECT_THAT(Without("Warn W008", AskTheParser(ChunkRequest(20000))),
              ElementsAre("Cewg", kNoAnswerForward, "TagP", "Idx3", "TagP", "Idx3", "Tag "))
      << "the parser asks for the bytes of no entry and gets two markers";
  EXPECT_THAT(AskTheParser(ChunkRequest(20000)),
              ElementsAre("IRN3 0/1 at 20000", "TagP", "Hdr3", "TagP", "Idx3", "vid3", "TagP",
                          "Idx3", "Tag "));
}

}  // namespace
