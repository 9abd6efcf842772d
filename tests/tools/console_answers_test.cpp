#include <gmock/gmock.h>

#include "archive/archive_writer.h"
#include "blocks/chunk_info.h"
#include "support/program.h"
#include "support/sample_archive.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// The console on the sample archive: what it prints after its first idle line.
class ConsoleAnswers : public ProgramTest {
 protected:
  std::vector<std::string> AnswersTo(const std::vector<std::string>& commands,
                                     const Arguments& options = {}) {
    std::string input;
    for (const std::string& command : commands) input += command + "\n";
    Arguments arguments{"console", Folder()};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const ProgramResult result = Run(arguments, input);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.err, "");
    std::vector<std::string> lines = LinesOf(result.out);
    EXPECT_EQ(lines.at(0), kIdle);
    lines.erase(lines.begin());
    return lines;
  }

  void IndexAll() { ASSERT_EQ(Run({"index", Folder()}).exitCode, 0); }

  static std::string Time(std::uint32_t second) { return std::to_string(SampleTime(second)); }
  static std::string Seek(std::uint32_t second, int type = 1) {
    return R"({"cmd":"CRq3","time":)" + Time(second) + R"(,"type":)" + std::to_string(type) + "}";
  }
  static std::string Found(std::uint64_t indexId, std::uint32_t second, int preview = 0,
                           int reached = 0) {
    return R"({"block":"ntfy","kind":"IRN3","indexId":)" + std::to_string(indexId) + R"(,"time":)" +
           Time(second) + R"(,"preview":)" + std::to_string(preview) + R"(,"timeReached":)" +
           std::to_string(reached) + "}";
  }
  static std::string Ask(std::uint64_t indexId, std::uint32_t second) {
    return R"({"cmd":"PCR3","indexId":)" + std::to_string(indexId) + R"(,"time":)" + Time(second) +
           "}";
  }
  static std::string RawData(const Bytes& bytes) {
    return R"({"block":"RDat","size":)" + std::to_string(bytes.size() + 13) + R"(,"bytes":")" +
           Hex(bytes) + kTerminatingMarker + "\"}";
  }

  const GroundTruth mTruth = WriteScenario(Folder(), SampleScenario());
};

}  // namespace

TEST_F(ConsoleAnswers, NoInputGivesOneIdleLine) {
  EXPECT_THAT(AnswersTo({}), IsEmpty());
}

TEST_F(ConsoleAnswers, AnArchiveListHasTheFilesInOrder) {
  EXPECT_THAT(
      AnswersTo({R"({"cmd":"ArcR"})"}),
      ElementsAre(R"({"block":"ArcA","count":3,"source":")" + Folder() + R"(","archives":[)" +
                      R"({"startTime":)" + Time(0) + R"(,"endTime":)" + Time(50) +
                      R"(,"fileNumber":0,"reserved":0,"streams":[1,2,3]},)" + R"({"startTime":)" +
                      Time(90) + R"(,"endTime":)" + Time(140) +
                      R"(,"fileNumber":1,"reserved":0,"streams":[1,2,3]},)" + R"({"startTime":)" +
                      Time(150) + R"(,"endTime":)" + Time(190) +
                      R"(,"fileNumber":2,"reserved":0,"streams":[1,2,3]}]})",
                  kIdle));
}

TEST_F(ConsoleAnswers, EveryStreamIdOfAnArchiveIsListed) {
  ArchiveHeader header = OneStreamHeader();
  const StreamDescriptor one = header.streams.at(0);
  header.streams.clear();
  for (const std::uint8_t id : {200, 7, 8, 253}) {
    header.streams.push_back(one);
    header.streams.back().id = id;
  }
  const TempFolder folder;
  ArchiveWriter writer(folder / "streams.zel3");
  writer.WriteHeader(header);
  for (int i = 0; i < 3; ++i) writer.WriteIndex(IDX_T());
  writer.Close();
  EXPECT_THAT(Run({"console", folder.Path()}, R"({"cmd":"ArcR"})").out,
              testing::HasSubstr(R"("streams":[7,8,200,253]}]})"));
}

TEST_F(ConsoleAnswers, ATimeIsAnsweredWithItsEntry) {
  IndexAll();
  EXPECT_THAT(
      AnswersTo({Seek(25), Seek(25, 2), Seek(75)}),
      ElementsAre(Found(2, 20), kIdle, Found(3, 30), kIdle, Found(MakeIndexId(1, 0), 90), kIdle));
}

TEST_F(ConsoleAnswers, AnUnknownTimeIsAnsweredWithNoEntry) {
  EXPECT_THAT(
      AnswersTo({R"({"cmd":"CRq3","time":18446744073709551615,"type":1})"}),
      ElementsAre(
          R"({"block":"ntfy","kind":"IRN3","indexId":18446744073709551615,"time":2999,"preview":0,"timeReached":0})",
          kIdle));
}

TEST_F(ConsoleAnswers, NumbersAreExactToTheLastBit) {
  EXPECT_THAT(
      AnswersTo(
          {R"({"cmd":"Pla3","indexId":18446744073709551615,"time":9007199254740993,"mode":4294967295,"forward":255})"}),
      ElementsAre(
          R"({"block":"ntfy","kind":"rset","indexId":18446744073709551615,"time":9007199254740993,"mode":4294967295,"forward":255})",
          kIdle));
}

TEST_F(ConsoleAnswers, AbsentNumbersAreZero) {
  EXPECT_THAT(
      AnswersTo({R"({"cmd":"Pla3"})"}),
      ElementsAre(R"({"block":"ntfy","kind":"rset","indexId":0,"time":0,"mode":0,"forward":0})",
                  kIdle));
}

TEST_F(ConsoleAnswers, ActivityHasALevelForEachBin) {
  EXPECT_THAT(
      AnswersTo({R"({"cmd":"His3","from":1,"to":4000,"binCount":3,"streamId":1})"}),
      ElementsAre(
          R"({"block":"ntfy","kind":"Gist","from":1,"to":4000,"streamId":1,"binCount":3,"levels":[0,0,0]})",
          kIdle));
}

TEST_F(ConsoleAnswers, AllBitsOfARangeAreKept) {
  EXPECT_THAT(
      AnswersTo(
          {R"({"cmd":"His3","from":18446744073709551614,"to":18446744073709551615,"binCount":0,"streamId":2147483647})"}),
      ElementsAre(
          R"({"block":"ntfy","kind":"Gist","from":18446744073709551614,"to":18446744073709551615,"streamId":2147483647,"binCount":0,"levels":[]})",
          kIdle));
}

TEST_F(ConsoleAnswers, SignedNumbersMayBeNegative) {
  EXPECT_THAT(
      AnswersTo({R"({"cmd":"His3","from":5,"to":3,"binCount":-2147483648,"streamId":-7})"}),
      ElementsAre(
          R"({"block":"ntfy","kind":"Gist","from":5,"to":3,"streamId":-7,"binCount":-2147483648,"levels":[]})",
          kIdle));
}

TEST_F(ConsoleAnswers, APreviewIsRefusedUntilASeekOfTypeOne) {
  IndexAll();
  const std::string preview =
      R"({"cmd":"Prev","time":)" + Time(20) + R"(,"endTime":)" + Time(20) + "}";
  EXPECT_THAT(AnswersTo({preview, Seek(0), preview}),
              ElementsAre(kIdle, Found(0, 0), kIdle, Found(2, 20, 1, 1), kIdle));
}

TEST_F(ConsoleAnswers, ATickIsAnsweredWithTheTerminatingMarker) {
  EXPECT_THAT(AnswersTo({R"({"cmd":"datr"})"}), ElementsAre(RawData({}), kIdle));
}

TEST_F(ConsoleAnswers, TheFirstEntryComesAfterTheHeaderAndTheNextWithout) {
  IndexAll();
  const GroundTruthFile& file = mTruth.files.at(0);
  const Bytes bytes = ReadFile(SampleFile(Folder(), mTruth, 0));
  EXPECT_THAT(
      AnswersTo({Seek(0), Ask(0, 0), Ask(1, 10)}),
      ElementsAre(Found(0, 0), kIdle, RawData(Between(bytes, 0, file.entries[1].position)), kIdle,
                  RawData(Between(bytes, file.entries[1].position, file.entries[2].position)),
                  kIdle));
}

TEST_F(ConsoleAnswers, RawDataIsShownAsFarAsAskedFor) {
  IndexAll();
  const Bytes bytes =
      Between(ReadFile(SampleFile(Folder(), mTruth, 0)), 0, mTruth.files[0].entries[1].position);
  const std::string size =
      R"({"block":"RDat","size":)" + std::to_string(bytes.size() + 13) + R"(,"bytes":")";
  const struct {
    const char* limit;
    std::string shown;
  } cases[] = {
      {"none", ""},
      {"0", ""},
      {"5", Hex(Between(bytes, 0, 5))},
      {"all", Hex(bytes) + kTerminatingMarker},
      {"18446744073709551615", Hex(bytes) + kTerminatingMarker},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.limit);
    EXPECT_EQ(AnswersTo({Seek(0), Ask(0, 0)}, {"--bytes", each.limit}).at(2),
              size + each.shown + "\"}");
  }
}

TEST_F(ConsoleAnswers, ThePreviewByteOfARequestMayBeOne) {
  IndexAll();
  const std::string request = R"({"cmd":"PCR3","indexId":0,"time":)" + Time(0) + R"(,"preview":1})";
  EXPECT_THAT(
      AnswersTo({Seek(0), request}, {"--bytes", "none"}),
      ElementsAre(Found(0, 0), kIdle, testing::StartsWith(R"({"block":"RDat","size":)"), kIdle));
}

TEST_F(ConsoleAnswers, ARunShowsProgressAndItsEndBeforeTheAnswer) {
  const std::string batch = "[" + Seek(0) + "," + Seek(10) + "," + Seek(20) + "]";
  const std::vector<std::string> lines = AnswersTo({batch});
  const std::string start =
      R"({"block":"ntfy","kind":"NMsg","sender":862741850,"level":"Warn","code":"W008","value":6,"text":"0%","detail":")";
  ASSERT_GE(lines.size(), 4U);
  EXPECT_THAT(lines.front(), testing::StartsWith(start));
  EXPECT_EQ(
      lines[lines.size() - 3],
      R"({"block":"ntfy","kind":"NMsg","sender":862741850,"level":"Cewg","code":"","value":6,"text":"","detail":""})");
  EXPECT_EQ(lines[lines.size() - 2], Found(2, 20));
}

TEST_F(ConsoleAnswers, CommandsOfARunAreShownOnlyWhenAllIsAskedFor) {
  const std::string own = R"({"block":"CRq3","time":0,"type":2})";
  EXPECT_THAT(AnswersTo({Seek(0)}), testing::Not(testing::Contains(own)));
  EXPECT_THAT(AnswersTo({Seek(100)}, {"--all"}), testing::Contains(own));
}

TEST_F(ConsoleAnswers, WithoutAParserTheRequestIsAnsweredAtOnce) {
  EXPECT_THAT(
      AnswersTo({Seek(20)}, {"--no-parser"}),
      ElementsAre(R"({"block":"ntfy","kind":"IRN3","indexId":18446744073709551615,"time":)" +
                      Time(23) + R"(,"preview":0,"timeReached":0})",
                  kIdle));
}

struct TextCase {
  std::string recorded;
  const char* shown;
};

TEST_F(ConsoleAnswers, TextsAreEscapedAndWhatIsNotUtf8IsReplaced) {
  const TextCase cases[] = {
      {"caf\xe9 \"x\"\n", "caf\xEF\xBF\xBD \\\"x\\\"\\n"},
      {"\x01\b\t\f\r\x1f\x7f/\\", "\\u0001\\b\\t\\f\\r\\u001f\x7f/\\\\"},
      {"\xc3\xa4\xe2\x82\xac", "\xc3\xa4\xe2\x82\xac"},
      {"cut short \xe2\x82", "cut short \xEF\xBF\xBD"},
  };
  std::uint32_t time = 7;
  const std::string path = *this / "events.zel3";
  ArchiveWriter writer(path);
  writer.WriteHeader(OneStreamHeader());
  std::string events;
  for (const TextCase& row : cases) {
    IDX_T index;
    index.time = time;
    writer.WriteIndex(index);
    writer.WriteData(0x80, 0, reinterpret_cast<const unsigned char*>(row.recorded.data()),
                     row.recorded.size());
    events += (events.empty() ? "" : ",") + std::string(R"({"time":)") + std::to_string(time) +
              R"(000,"eventType":128,"text":")" + row.shown + "\"}";
    ++time;
  }
  writer.WriteIndex(IDX_T());
  writer.Close();
  ASSERT_EQ(Run({"index", path}).exitCode, 0);
  EXPECT_THAT(
      LinesOf(Run({"console", path}, R"({"cmd":"Pla3","forward":1})").out),
      ElementsAre(kIdle, R"({"block":"ntfy","kind":"Evt ","events":[)" + events + "]}",
                  R"({"block":"ntfy","kind":"rset","indexId":0,"time":0,"mode":0,"forward":1})",
                  kIdle));
}
