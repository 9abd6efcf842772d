#include <dlfcn.h>
#include <gmock/gmock.h>

#include <filesystem>

#include "parser_brick_test.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(ParserBrickTest, SendsEveryRecordWithItsPositionAndAsksForMore) {
  ReaderSendsBytes(
      ArchiveBytes().Header({Video(1)}, "Day").Index(100).Data(1, "picture").Data(0x80, "door"));
  EXPECT_THAT(mClient.data, ElementsAre("TagP 0", "Hdr3 Day", "TagP 22", "Idx3 time 100",
                                        "vid3 picture", "Dat3 door", "Tag  TagF"));
}

TEST_F(ParserBrickTest, SendsBlocksOfEveryKindAsBlocksOfItsTag) {
  ReaderSendsBytes(ArchiveBytes()
                       .Header({{1, 1, "sound", "", ""},
                                {2, 1, "image", "", ""},
                                {3, 1, "text", "", ""},
                                {4, 1, "binary", "", ""},
                                {5, 1, "radar", "", ""}})
                       .Data(1, "a")
                       .Data(2, "b")
                       .Data(3, "c")
                       .Data(4, "d")
                       .Data(5, "e"));
  EXPECT_THAT(mClient.data, ElementsAre("TagP 0", "Hdr3 Day", "snd3", "img3", "txt3", "bin3",
                                        "unk3", "Tag  TagF"));
}

TEST_F(ParserBrickTest, CarriesTheHeadAndPayloadOfABlockUnchanged) {
  ReaderSendsBytes(ArchiveBytes().Header({Video(1)}).Data(1, "picture", 0xE3));
  const DataBlock block = DataBlock::View(mClient.blocks.at(2));
  EXPECT_EQ(block.Size(), 11u);
  EXPECT_EQ(block.Record().length, 7);
  EXPECT_EQ(block.Record().flags, 0xE3);
  EXPECT_EQ(block.Record().type, 1);
  EXPECT_EQ(Bytes(block.ExtraBytes(), block.ExtraBytes() + 7),
            (Bytes{'p', 'i', 'c', 't', 'u', 'r', 'e'}));
}

TEST_F(ParserBrickTest, FillsTheHeaderRecord) {
  ReaderSendsBytes(ArchiveBytes().Header({{1, 1, "video", "Gate", "h264"}, Inactive(7)}, "Day"));
  const HDR_T& header = HeaderBlock::View(mClient.blocks.at(1)).Record();
  EXPECT_EQ(header.headerWord0, 35u);
  EXPECT_EQ(header.headerWord1, 5u);
  EXPECT_EQ(header.title, "Day");
  EXPECT_EQ(header.streams[0].streamId, 1);
  EXPECT_EQ(header.streams[0].streamActive, 1);
  EXPECT_EQ(header.streams[0].text1, "video");
  EXPECT_EQ(header.streams[0].text2, "Gate");
  EXPECT_EQ(header.streams[0].text3, "h264");
  EXPECT_EQ(header.streams[1].streamId, 7);
  EXPECT_EQ(header.streams[1].streamActive, 0);
  EXPECT_EQ(header.streams[2].text1, "");
  for (const std::string& text : header.extraText) EXPECT_EQ(text, "");
}

TEST_F(ParserBrickTest, SignExtendsTheWordsOfTheHeader) {
  ReaderSendsBytes({0xB5, 0xB5, 0x05, 0xB5, 4, 0, 0xFE, 0xFF, 0});
  EXPECT_EQ(HeaderBlock::View(mClient.blocks.at(1)).Record().headerWord1, 0xFFFFFFFEu);
}

TEST_F(ParserBrickTest, HasRoomFor256StreamsInAHeaderRecord) {
  std::vector<StreamDescriptor> streams(256, Inactive(1));
  streams.back().name = "last";
  streams.push_back(Video(2));
  ReaderSendsBytes(ArchiveBytes().Header(streams));
  const HDR_T& header = HeaderBlock::View(mClient.blocks.at(1)).Record();
  EXPECT_EQ(header.streams[255].text2, "last");
  EXPECT_EQ(header.title, "Day");
  EXPECT_EQ(header.extraText[0], "");
}

TEST_F(ParserBrickTest, AsksForMoreAfterEveryBlockOfBytes) {
  ReaderSendsBytes({0x05, 0xB5});
  ReaderSendsBytes({0xB5, 0xB5, 9, 0, 0, 0});
  ReaderSendsBytes({});
  ReaderSendsBytes({0, 0, 0, 0, 0});
  EXPECT_THAT(mClient.data, ElementsAre("Tag  TagF", "Tag  TagF", "Tag  TagF", "TagP 0",
                                        "Idx3 time 9", "Tag  TagF"));
}

TEST_F(ParserBrickTest, IgnoresDataOfOtherTags) {
  ReaderSends(IndexBlock::New());
  EXPECT_THAT(mClient.data, IsEmpty());
}

TEST_F(ParserBrickTest, PullsTheEntryThatTheReaderNames) {
  ChunkAnswerBlock answer = ChunkAnswer(MakeIndexId(0, 5), 7000);
  answer.Record().info.preview = 1;
  answer.Record().info.timeReached = 1;
  ReaderSends(answer);
  EXPECT_THAT(mClient.data, ElementsAre("IRN3 entry 5 time 7000 preview 1 reached 1"));
  EXPECT_THAT(mReader.commands, ElementsAre("PCR3 entry 5 time 7000 preview 1 reached 1"));
}

TEST_F(ParserBrickTest, PullsAlsoWhenTheReaderNamesNoEntry) {
  ReaderSends(ChunkAnswer(kNoIndexId, 3000));
  EXPECT_THAT(mClient.data, ElementsAre("IRN3 entry none time 3000 preview 0 reached 0"));
  EXPECT_THAT(mReader.commands, ElementsAre("PCR3 entry none time 3000 preview 0 reached 0"));
}

TEST_F(ParserBrickTest, PassesOtherNotificationsDown) {
  ReaderSends(ResetBlock::New());
  ReaderSends(MessageBlock::New());
  ReaderSends(EventListBlock::New());
  NotifyBlock unknown = NotifyBlock::New();
  unknown.Record().kind = FourCc("xyz ");
  ReaderSends(unknown);
  EXPECT_THAT(mClient.data, ElementsAre("rset", "NMsg", "Evt ", "xyz "));
  EXPECT_THAT(mReader.commands, IsEmpty());
}

TEST_F(ParserBrickTest, IgnoresNotificationsThatAreTooSmall) {
  ReaderSends(cCommandBlock<char, tag::kNotify>::New());
  cCommandBlock<TNotifyBase, tag::kNotify> answer =
      cCommandBlock<TNotifyBase, tag::kNotify>::New(21);
  answer.Record().kind = tag::kChunkAnswer;
  ReaderSends(answer);
  EXPECT_THAT(mClient.data, IsEmpty());
  EXPECT_THAT(mReader.commands, IsEmpty());
}

TEST_F(ParserBrickTest, TakesBlocksForOneStreamUntilAnEntryIsNamed) {
  const Bytes header = ArchiveBytes().Header({Video(1)}, "Day").Data(1, "picture");
  ReaderSends(ChunkAnswer(kNoIndexId, 3000));
  ReaderSendsBytes(Bytes(header.begin(), header.begin() + 27));
  ReaderSends(ChunkAnswer(kNoIndexId, 3000));
  ReaderSendsBytes(Bytes(header.begin() + 27, header.end()));
  EXPECT_THAT(mClient.data, testing::Contains("vid3 picture"));
}

TEST_F(ParserBrickTest, StartsEveryBlockWithARecordOnceAnEntryIsNamed) {
  ReaderSends(ChunkAnswer(MakeIndexId(0, 5), 7000));
  mClient.data.clear();
  // A record that is not whole.
  ReaderSendsBytes(ArchiveBytes().Header({Video(1)}, "Day").Raw({3, 0, 0, 1, 'a', 'b'}));
  ReaderSends(ChunkAnswer(kNoIndexId, 9000));
  ReaderSendsBytes(ArchiveBytes().Index(8).Data(1, "next"));
  EXPECT_THAT(mClient.data, ElementsAre("TagP 0", "Hdr3 Day", "Tag  TagF",
                                        "IRN3 entry none time 9000 preview 0 reached 0", "TagP 28",
                                        "Idx3 time 8", "vid3 next", "Tag  TagF"));
}

TEST_F(ParserBrickTest, ForgetsAHalfRecordOfTheStreamWhenAnEntryIsNamed) {
  ReaderSendsBytes(ArchiveBytes().Header({Video(1)}, "").Raw({9, 0, 0, 1, 'h'}));
  ReaderSends(ChunkAnswer(MakeIndexId(0, 5), 7000));
  mClient.data.clear();
  ReaderSendsBytes(ArchiveBytes().Index(8));
  EXPECT_THAT(mClient.data, ElementsAre("TagP 24", "Idx3 time 8", "Tag  TagF"));
}

// The last entry of a file comes one byte short. Its last record takes the first byte of the
// terminating marker for its own; the rest of the marker is damage.
TEST_F(ParserBrickTest, FindsNothingInTheRestOfAMarkerWhoseFirstByteIsTaken) {
  ReaderSends(ChunkAnswer(MakeIndexId(0, 5), 7000));
  mClient.data.clear();
  ReaderSendsBytes(ArchiveBytes()
                       .Header({Video(1)}, "Day")
                       .Raw({3, 0, 0, 1, 'a', 'b'})
                       .Raw({5, 0xB5, 0xB5, 0xB5, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_THAT(mClient.data, ElementsAre("TagP 0", "Hdr3 Day", "vid3 ab\x05", "Tag  TagF"));
}

TEST_F(ParserBrickTest, CarriesTheBodyOfAnIndexRecordUnchanged) {
  ReaderSendsBytes({5, 0xB5, 0xB5, 0xB5, 1, 2, 3, 4, 5, 6, 7, 8, 9});
  const IDX_T& index = IndexBlock::View(mClient.blocks.at(1)).Record();
  EXPECT_EQ(index.time, 0x04030201u);
  EXPECT_EQ(index.reserved, 0x08070605u);
  EXPECT_EQ(index.indexFlag, 9);
}

TEST_F(ParserBrickTest, PassesTheCommandsOfClientsUp) {
  ClientSendsCommand(ChunkRequestBlock::New());
  ClientSendsCommand(PlayBlock::New());
  ClientSendsCommand(ActivityRequestBlock::New());
  ClientSendsCommand(PreviewRequestBlock::New());
  ClientSendsCommand(ArchivesRequestBlock::New());
  ClientSendsCommand(DataTickBlock::New());
  EXPECT_THAT(mReader.commands, ElementsAre("CRq3", "Pla3", "His3", "Prev", "ArcR", "datr"));
}

TEST_F(ParserBrickTest, PassesNoOtherCommandUp) {
  ClientSendsCommand(ParserChunkRequestBlock::New());
  ClientSendsCommand(ArchivesBlock::New());
  EXPECT_THAT(mReader.commands, IsEmpty());
}

TEST_F(ParserBrickTest, PassesTheArchiveListDown) {
  ReaderSendsCommand(ArchivesBlock::New());
  EXPECT_THAT(mClient.commands, ElementsAre("ArcA"));
}

TEST_F(ParserBrickTest, PassesNoOtherCommandOfTheReaderAnywhere) {
  ReaderSendsCommand(ChunkRequestBlock::New());
  ReaderSendsCommand(DataTickBlock::New());
  EXPECT_THAT(mClient.commands, IsEmpty());
  EXPECT_THAT(mReader.commands, IsEmpty());
}

class ParserPlugIn : public testing::Test {
 protected:
  CBrick* Make(TBrickConfig config) {
    return CBrickLoader::CreateBrick(tag::kSignatureParser, config);
  }

  Pipeline mPipeline;
};

TEST_F(ParserPlugIn, SaysWhatItTakesAndGives) {
  CBrick* const parser = Make(ParserConfig(mPipeline));
  ASSERT_NE(parser, nullptr) << brick_plugins::LastError();
  EXPECT_TRUE(parser->IsKnownInput({tag::kFormatZel3, tag::kRawData}));
  EXPECT_FALSE(parser->IsKnownInput({tag::kFormatZel1, tag::kRawData}));
  EXPECT_TRUE(parser->IsKnownOutput({tag::kFormatMany, tag::kKindMany}));
  EXPECT_FALSE(parser->IsKnownOutput({tag::kFormatMany, tag::kRawData}));
  EXPECT_EQ(parser->GetSignature(), tag::kSignatureParser);
  delete parser;
}

TEST_F(ParserPlugIn, RefusesEveryOtherConfiguration) {
  const TContentDescriptor zel3 = {tag::kFormatZel3, tag::kRawData};
  const TContentDescriptor many = {tag::kFormatMany, tag::kKindMany};
  const std::pair<TContentDescriptor, TContentDescriptor> refused[] = {
      {{tag::kFormatZel1, tag::kRawData}, many},
      {{tag::kFormatZel3, tag::kKindFolder}, many},
      {zel3, {tag::kFormatZel3, tag::kKindMany}},
      {zel3, {tag::kFormatMany, tag::kRawData}},
      {{0, 0}, {0, 0}},
  };
  for (const auto& [input, output] : refused) {
    TBrickConfig config = ParserConfig(mPipeline);
    config.input = input;
    config.output = output;
    EXPECT_EQ(Make(config), nullptr) << FourCcText(input.format) << FourCcText(output.format);
  }
  EXPECT_EQ(mPipeline.BrickCount(), 0u);
}

TEST_F(ParserPlugIn, RefusesNoConfigurationAndUnloadsWhenItsBlocksAreGone) {
  CBrick* const parser = Make(ParserConfig(mPipeline));
  ASSERT_NE(parser, nullptr) << brick_plugins::LastError();
  delete parser;

  const auto program = std::filesystem::read_symlink("/proc/self/exe");
  const std::string path = program.parent_path().parent_path() / "lib" / "zel3parser.so";
  void* const module = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
  ASSERT_NE(module, nullptr);
  const auto create = reinterpret_cast<CBrick* (*)(TBrickConfig*)>(dlsym(module, "CreateBrick"));
  ASSERT_NE(create, nullptr);
  EXPECT_EQ(create(nullptr), nullptr);
  dlclose(module);

  brick_plugins::UnloadAll();
  EXPECT_EQ(dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr);
}

}  // namespace
