#include <gmock/gmock.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "archive/archive_writer.h"
#include "support/program.h"
#include "support/sample_archive.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

namespace {

constexpr std::uint64_t kForever = 4000000000000;

class Cut : public ProgramTest {
 protected:
  ProgramResult CutRange(std::uint64_t from, std::uint64_t to, const Arguments& options = {}) {
    Arguments arguments{"cut", Folder(), std::to_string(from), std::to_string(to), "-o", mOutput};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return Run(arguments);
  }
  ProgramResult CutAll(const Arguments& options = {}) { return CutRange(0, kForever, options); }

  nlohmann::json JsonOf(int exitCode, Arguments options = {}) {
    options.insert(options.end(), {"--format", "json"});
    const ProgramResult result = CutAll(options);
    EXPECT_EQ(result.exitCode, exitCode) << result.err;
    return nlohmann::json::parse(result.out);
  }

  // Every verb accepts it as a sound archive.
  void ExpectGood(const std::string& archive) {
    const ProgramResult looked = Run({"doctor", archive, "--fail-on", "warning"});
    EXPECT_EQ(looked.exitCode, 0) << looked.out;
    EXPECT_EQ(Run({"index", archive}).exitCode, 0);
    const std::string copy = mOutputFolder / "copy";
    EXPECT_EQ(Run({"read", archive, "0", "2100-01-01", "-o", copy}).exitCode, 0);
    EXPECT_EQ(ReadFile(copy), ReadFile(archive));
    std::filesystem::remove(copy);
  }

  // "header", "index", "data 1", "event motion"
  std::vector<std::string> Records(const std::string& archive) {
    std::vector<std::string> records;
    for (const std::string& line : LinesOf(Run({"dump", archive, "--format", "jsonl"}).out)) {
      const auto record = nlohmann::json::parse(line);
      std::string text = record["kind"];
      if (text == "data") text += " " + record["streamId"].dump();
      records.push_back(text);
    }
    return records;
  }

  const TempFolder mOutputFolder;
  const std::string mOutput = mOutputFolder / "out.zel3";
};

class CutSample : public Cut {
 protected:
  Bytes FileBytes(std::size_t number) const {
    return ReadFile(SampleFile(Folder(), mTruth, number));
  }
  std::uint64_t Position(std::size_t file, std::size_t entry) const {
    return mTruth.files.at(file).entries.at(entry).position;
  }
  // Up to an entry, or to the end.
  Bytes Entries(std::size_t file, std::size_t first) const {
    const Bytes bytes = FileBytes(file);
    return Between(bytes, Position(file, first), bytes.size());
  }
  Bytes Entries(std::size_t file, std::size_t first, std::size_t end) const {
    return Between(FileBytes(file), Position(file, first), Position(file, end));
  }
  Bytes Header() const { return Between(FileBytes(0), 0, Position(0, 0)); }

  const GroundTruth mTruth = WriteScenario(Folder(), SampleScenario());
};

// With stream 1 only; each entry has a block of it and an event.
class CutHandMade : public Cut {
 protected:
  static constexpr std::size_t kEntrySize = 13 + 4 + 100 + 4 + 4;

  void Write(const std::vector<std::uint32_t>& times) {
    ArchiveWriter writer(mPath);
    writer.WriteHeader(OneStreamHeader());
    const Bytes payload(100, 'x');
    for (const std::uint32_t time : times) {
      writer.WriteIndex({time, 0, 0});
      writer.WriteData(1, 3, payload.data(), payload.size());
      writer.WriteData(0x80, 0, payload.data(), 4);
    }
    writer.Close();
    mBytes = ReadFile(mPath);
    mHeader = mBytes.size() - times.size() * kEntrySize;
  }
  void Rewrite() { WriteFile(mPath, mBytes); }
  // 24 entries, one each 10 units of index time from 10 on. A length leads from the third one into
  // a later one, past many whole ones.
  void WriteWithLengthPastManyEntries() {
    std::vector<std::uint32_t> times;
    for (std::uint32_t entry = 0; entry < 24; ++entry) times.push_back(10 + 10 * entry);
    Write(times);
    const std::size_t length = 17 * kEntrySize - 13 - 4;
    mBytes[Entry(2) + 13] = static_cast<unsigned char>(length & 0xFF);
    mBytes[Entry(2) + 13 + 1] = static_cast<unsigned char>(length >> 8);
    mBytes[Entry(19)] ^= 1;
    Rewrite();
  }
  std::size_t Entry(std::size_t number) const { return mHeader + number * kEntrySize; }

  const std::string mPath = *this / "a.zel3";
  Bytes mBytes;
  std::size_t mHeader = 0;  // its size
};

}  // namespace

TEST_F(CutSample, ARangeIsTheHeaderInForceAndWholeEntries) {
  const Bytes changed = FileBytes(1);
  const auto& headers = mTruth.files[1].headerPositions;
  ASSERT_EQ(headers.size(), 2U);
  const struct {
    std::uint64_t from;
    std::uint64_t to;
    Bytes expected;
  } cases[] = {
      {SampleTime(0), SampleTime(10), Header() + Entries(0, 0, 1)},
      {SampleTime(20), SampleTime(40), Header() + Entries(0, 2, 4)},
      {SampleTime(29), SampleTime(30), Header() + Entries(0, 2, 3)},
      // The header of a file that begins with the header in force is not written again.
      {SampleTime(40), SampleTime(110), Header() + Entries(0, 4) + Entries(1, 0, 2)},
      // Here the streams change within the file.
      {SampleTime(100), SampleTime(130),
       Header() + Between(changed, Position(1, 1), Position(1, 4))},
      {SampleTime(130), SampleTime(131),
       Between(changed, headers[1], Position(1, 3)) + Entries(1, 4, 5)},
      {0, kForever, FileBytes(0) + Entries(1, 0) + FileBytes(2)},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(testing::Message() << each.from << " to " << each.to);
    EXPECT_EQ(CutRange(each.from, each.to, {"--force"}).exitCode, 0);
    EXPECT_EQ(ReadFile(mOutput), each.expected);
    ExpectGood(mOutput);
  }
}

TEST_F(CutSample, ARangeByItsStartAndItsLength) {
  const ProgramResult result = Run(
      {"cut", Folder(), "--since", std::to_string(SampleTime(20)), "--for", "20s", "-o", mOutput});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(ReadFile(mOutput), Header() + Entries(0, 2, 4));
}

TEST_F(CutSample, SeveralFilesOfAFolder) {
  const ProgramResult result =
      Run({"cut", SampleFile(Folder(), mTruth, 2), SampleFile(Folder(), mTruth, 0), "0",
           "2100-01-01", "-o", mOutput});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(ReadFile(mOutput), FileBytes(0) + Entries(2, 0));
}

TEST_F(CutSample, TellsWhatItHasWritten) {
  const ProgramResult text = CutAll();
  const std::size_t size = ReadFile(mOutput).size();
  EXPECT_EQ(text.exitCode, 0);
  EXPECT_EQ(text.err,
            "nothing was recorded from 2024-05-01T00:00:50.000Z to 2024-05-01T00:01:30.000Z\n");
  EXPECT_THAT(
      LinesOf(text.out),
      ElementsAre(StartsWith("file "),
                  "out.zel3  2024-05-01T00:00:00.000Z  2024-05-01T00:03:10.000Z  17       " +
                      std::to_string(size)));
  const nlohmann::json json = JsonOf(0, {"--force"});
  EXPECT_EQ(json.dump(),
            nlohmann::json::parse(
                R"({"files":[{"file":"out.zel3","start":1714521600000,"end":1714521790000,)"
                R"("entries":17,"bytes":)" +
                std::to_string(size) + R"(}],"entries":17,"bytes":)" + std::to_string(size) +
                R"(,"damagedEntries":0,"damagedBytes":0,"cutOffBytes":0,"undeclaredBytes":0,)"
                R"("headerlessEntries":0,"leftOutBytes":0,)"
                R"("gaps":[{"from":1714521650000,"to":1714521690000}],"backward":[],)"
                R"("misplacedEntries":0})")
                .dump());
}

TEST_F(CutSample, OnlySomeStreams) {
  const nlohmann::json json = JsonOf(0, {"--streams", "2,3"});
  const std::vector<std::string> records = Records(mOutput);
  EXPECT_THAT(records, Not(testing::Contains("data 1")));
  EXPECT_THAT(records, testing::Contains("data 2"));
  EXPECT_EQ(std::count(records.begin(), records.end(), "index"), 17) << "entries stay";
  const auto info = nlohmann::json::parse(Run({"info", mOutput, "--format", "json"}).out);
  EXPECT_THAT(info.dump(), HasSubstr(R"("streams":[2,3])"));
  EXPECT_EQ(json["bytes"].get<std::uint64_t>(), ReadFile(mOutput).size());
  EXPECT_GT(json["leftOutBytes"], 0);
  ExpectGood(mOutput);
}

TEST_F(CutSample, AStreamThatThereIsNotIsAFailure) {
  const ProgramResult result = CutAll({"--streams", "1,77"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.err, HasSubstr("there is no stream 77 in the range; there are 1, 2, 3"));
  EXPECT_THAT(EntryNames(mOutputFolder.Path()), IsEmpty());
}

TEST_F(CutSample, PartsByTimeBeginAtFullMinutes) {
  const nlohmann::json json = JsonOf(0, {"--split", "1m"});
  EXPECT_THAT(EntryNames(mOutputFolder.Path()),
              ElementsAre("out-000.zel3", "out-001.zel3", "out-002.zel3", "out-003.zel3"));
  std::vector<std::string> starts;
  for (const auto& file : json["files"]) starts.push_back(file["start"].dump());
  EXPECT_THAT(starts,
              ElementsAre(std::to_string(SampleTime(0)), std::to_string(SampleTime(90)),
                          std::to_string(SampleTime(120)), std::to_string(SampleTime(180))));
  EXPECT_EQ(ReadFile(mOutputFolder / "out-000.zel3"), FileBytes(0));
  for (const std::string& name : EntryNames(mOutputFolder.Path())) ExpectGood(mOutputFolder / name);
}

TEST_F(CutSample, PartsBySizeAreNoLarger) {
  const nlohmann::json json = JsonOf(0, {"--split", "2kB"});
  ASSERT_GT(json["files"].size(), 2U);
  std::uint64_t entries = 0;
  for (const auto& file : json["files"]) {
    entries += file["entries"].get<std::uint64_t>();
    EXPECT_TRUE(file["bytes"] <= 2000 || file["entries"] == 1) << file;
    ExpectGood(mOutputFolder / file["file"]);
  }
  EXPECT_EQ(entries, 17U);
}

TEST_F(CutSample, NothingInTheRangeWritesNothing) {
  EXPECT_EQ(CutRange(SampleTime(400), SampleTime(500)).exitCode, 4);
  const ProgramResult result = CutRange(SampleTime(70), SampleTime(80), {"--format", "json"});
  EXPECT_EQ(result.exitCode, 4);
  EXPECT_THAT(result.out, StartsWith(R"({"files":[],"entries":0,)"));
  EXPECT_THAT(EntryNames(mOutputFolder.Path()), IsEmpty());
}

TEST_F(CutSample, WhatExistsIsReplacedOnlyWhenAsked) {
  WriteFile(mOutput, "precious");
  for (const char* const suffix : {"id3", "evt", "hdr"})
    WriteFile(mOutputFolder / "out." + suffix, "");
  ProgramResult result = CutAll();
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.err, HasSubstr("exists; --force replaces it"));
  EXPECT_EQ(ReadFile(mOutput).size(), 8U);
  result = CutAll({"--force"});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_GT(ReadFile(mOutput).size(), 8U);
  EXPECT_THAT(EntryNames(mOutputFolder.Path()), ElementsAre("out.zel3"))
      << "an index of what was replaced is not one of the new file";
}

TEST_F(CutHandMade, NoIndexOfAnotherArchiveGoes) {
  Write({10, 20});
  const struct {
    std::string source;
    std::string beside;  // an archive other than the source, or none
  } cases[] = {{"cam.ZEL3", ""}, {"cam.zel", ""}, {"other.zel3", "cam.zel"}};
  for (const auto& each : cases) {
    SCOPED_TRACE(each.source + " " + each.beside);
    const TempFolder folder;
    const std::string output = folder / "cam.zel3";
    WriteFile(folder / each.source, mBytes);
    if (!each.beside.empty()) WriteFile(folder / each.beside, mBytes);
    for (const char* const suffix : {"id3", "evt", "hdr"})
      WriteFile(folder / (std::string("cam.") + suffix), "");
    const auto before = EntryNames(folder.Path());
    const std::string source = folder / each.source;
    for (const std::string force : {"", "--force"}) {
      Arguments cut{"cut", source, "0", "2100-01-01", "-o", output};
      Arguments mend{"mend", source, "-o", output};
      if (!force.empty()) cut.push_back(force), mend.push_back(force);
      EXPECT_EQ(Run(cut).exitCode, 2);
      EXPECT_EQ(Run(mend).exitCode, 2);
    }
    EXPECT_THAT(EntryNames(folder.Path()), testing::IsSupersetOf(before));
    EXPECT_FALSE(std::filesystem::exists(output));
  }
}

TEST_F(CutHandMade, WhatMayBeOfSomebodyElseStaysBesideTheOutput) {
  Write({10, 20});
  WriteFile(mOutputFolder / "out.evt", "");
  for (const Arguments& options : {Arguments{}, Arguments{"--force"}}) {
    const ProgramResult result = CutAll(options);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, HasSubstr("out.evt would be taken for the index of the output"));
  }
  WriteFile(mOutputFolder / "out.id3", "");
  WriteFile(mOutputFolder / "out.hdr", "");
  EXPECT_EQ(CutAll().exitCode, 1) << "a whole index goes only when asked for";
  EXPECT_THAT(EntryNames(mOutputFolder.Path()), ElementsAre("out.evt", "out.hdr", "out.id3"));
}

TEST_F(CutHandMade, AnOldIndexGoesAlsoWhereALinkLeads) {
  Write({10, 20});
  std::filesystem::create_directory(mOutputFolder / "there");
  const std::string target = mOutputFolder / "there/real.zel3";
  WriteFile(target, mBytes);
  ASSERT_EQ(Run({"index", target}).exitCode, 0);
  ASSERT_TRUE(std::filesystem::exists(mOutputFolder / "there/real.id3"));
  ASSERT_EQ(symlink("there/real.zel3", mOutput.c_str()), 0);
  EXPECT_EQ(CutRange(15000, kForever, {"--force"}).exitCode, 0);
  EXPECT_THAT(EntryNames(mOutputFolder / "there"), ElementsAre("real.zel3"));
}

TEST_F(CutSample, APartThatExistsIsKept) {
  WriteFile(mOutputFolder / "out-002.zel3", "precious");
  EXPECT_EQ(CutAll({"--split", "1m"}).exitCode, 1);
  EXPECT_THAT(EntryNames(mOutputFolder.Path()), ElementsAre("out-002.zel3"));
  EXPECT_EQ(ReadFile(mOutputFolder / "out-002.zel3").size(), 8U);
}

TEST_F(CutSample, OutputsThatAreRefused) {
  const std::string source = SampleFile(Folder(), mTruth, 1);
  const Bytes before = FileBytes(1);
  const std::string link = mOutputFolder / "link.zel3";
  ASSERT_EQ(symlink(source.c_str(), link.c_str()), 0);
  const std::string index = *this / "linked.zel3";
  ASSERT_EQ(Run({"index", Folder()}).exitCode, 0);
  ASSERT_EQ(symlink((source.substr(0, source.size() - 4) + "id3").c_str(), index.c_str()), 0);
  for (const std::string& output : {source, link, std::string("-"), std::string("/dev/stdout"),
                                    mOutputFolder / "out", mOutputFolder / ".zel3", index}) {
    SCOPED_TRACE(output);
    EXPECT_EQ(Run({"cut", Folder(), "0", "2100-01-01", "-o", output, "--force"}).exitCode, 2);
  }
  EXPECT_EQ(FileBytes(1), before);
  EXPECT_THAT(EntryNames(mOutputFolder.Path()), ElementsAre("link.zel3"));
}

TEST_F(CutSample, ADiskThatIsFullLeavesNothing) {
  const rlim_t room = FileBytes(0).size() + 200;
  for (const std::string& option : {std::string("--force"), std::string("--split=1m")}) {
    SCOPED_TRACE(option);
    ASSERT_EQ(Run({"index", Folder()}).exitCode, 0);
    Start({"cut", Folder(), "0", "2100-01-01", "-o", mOutput, option}, [room] {
      signal(SIGXFSZ, SIG_IGN);
      const rlimit small{room, room};
      setrlimit(RLIMIT_FSIZE, &small);
    });
    const ProgramResult result = Finish();
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, HasSubstr("cannot write"));
    EXPECT_THAT(EntryNames(mOutputFolder.Path()), IsEmpty());
  }
}

TEST_F(CutSample, OneThatIsKilledLeavesNothingUnderTheFinalName) {
  const rlim_t room = FileBytes(0).size() + 200;
  ASSERT_EQ(Run({"index", Folder()}).exitCode, 0);
  Start({"cut", Folder(), "0", "2100-01-01", "-o", mOutput}, [room] {
    // The signal for a file that grows too large ends the program at once, as a kill does.
    const rlimit none{0, 0}, small{room, room};
    setrlimit(RLIMIT_CORE, &none);
    setrlimit(RLIMIT_FSIZE, &small);
  });
  EXPECT_EQ(Finish().exitCode, 128 + SIGXFSZ);
  EXPECT_THAT(EntryNames(mOutputFolder.Path()),
              ElementsAre(MatchesRegex(".zel3-unfinished-[A-Za-z0-9]{6}.zel3")));
}

TEST_F(Cut, AnInterruptLeavesNothing) {
  Scenario scenario = SampleScenario();
  scenario.payloadBytesPerEntry = 100000;
  WriteScenario(Folder(), scenario);
  ASSERT_EQ(Run({"index", Folder()}).exitCode, 0);
  Start({"cut", Folder(), "0", "2100-01-01", "-o", mOutput, "--split", "1m"});
  while (EntryNames(mOutputFolder.Path()).empty() && !HasEnded()) {
  }
  SendSignal(SIGINT);
  const ProgramResult result = Finish();
  EXPECT_EQ(result.exitCode, 130);
  EXPECT_EQ(result.err, "zel3: interrupted\n");
  EXPECT_THAT(EntryNames(mOutputFolder.Path()), IsEmpty());
}

TEST_F(CutSample, OneBadFileIsTold) {
  WriteFile(SampleFile(Folder(), mTruth, 1), std::string(2000, 'x'));
  const ProgramResult result = CutAll();
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_THAT(result.err, HasSubstr(mTruth.files[1].name + " is not an archive"));
  EXPECT_EQ(ReadFile(mOutput), FileBytes(0) + Entries(2, 0));
  ExpectGood(mOutput);
}

TEST_F(CutHandMade, EventsStayUnlessAskedFor) {
  Write({10, 20});
  ArchiveHeader header = OneStreamHeader();
  header.streams.front().id = 2;
  const Bytes other = *EncodeHeaderRecord(header);
  mBytes.insert(mBytes.end(), other.begin(), other.end());
  const Bytes entry = Between(mBytes, Entry(1), Entry(1) + 13);
  mBytes.insert(mBytes.end(), entry.begin(), entry.end());
  Rewrite();
  ASSERT_EQ(CutAll({"--streams", "2"}).exitCode, 0);
  EXPECT_THAT(Records(mOutput),
              ElementsAre("header", "index", "event", "index", "event", "header", "index"));
  ASSERT_EQ(CutAll({"--streams", "1", "--no-events", "--force"}).exitCode, 0);
  EXPECT_THAT(Records(mOutput),
              ElementsAre("header", "index", "data 1", "index", "data 1", "header", "index"));
  ExpectGood(mOutput);
}

TEST_F(CutHandMade, WhatDamageHidesFromAnIndexIsOfTheRangeToo) {
  Write({10, 20, 30, 40});
  // A length that leads beyond the end of the file.
  mBytes[Entry(1) + 13 + 1] = 0x40;
  Rewrite();
  EXPECT_EQ(CutRange(0, 35000).exitCode, 3);
  EXPECT_EQ(ReadFile(mOutput),
            Between(mBytes, 0, Entry(1) + 13) + Between(mBytes, Entry(2), Entry(3)));
}

TEST_F(CutHandMade, DamageIsLeftOutAndTold) {
  Write({10, 20, 30, 40});
  // The type of a block: costs only its record.
  mBytes[Entry(1) + 13 + 3] = 0x77;
  // The length of another block: the records that it skips are still found.
  mBytes[Entry(2) + 13 + 1] = 0x01;
  Rewrite();
  const nlohmann::json json = JsonOf(3);
  EXPECT_EQ(json["entries"], 4);
  EXPECT_EQ(json["damagedEntries"], 2);
  EXPECT_EQ(json["undeclaredBytes"], 104);
  EXPECT_EQ(json["damagedBytes"], 112);
  EXPECT_EQ(ReadFile(mOutput), Between(mBytes, 0, Entry(1) + 13) +
                                   Between(mBytes, Entry(1) + 117, Entry(2) + 13) +
                                   Between(mBytes, Entry(3), mBytes.size()));
  ExpectGood(mOutput);
}

TEST_F(CutHandMade, DataAfterAHeaderGoesOnWithTheEntryBefore) {
  Write({10, 20});
  ArchiveHeader header = OneStreamHeader();
  header.title += " 2";
  const Bytes other = *EncodeHeaderRecord(header);
  const Bytes block = Between(mBytes, Entry(0) + 13, Entry(0) + 117);
  mBytes = Between(mBytes, 0, Entry(1)) + other + block + block +
           Between(mBytes, Entry(1), mBytes.size());
  Rewrite();
  const std::string mended = mOutputFolder / "mended.zel3";
  EXPECT_EQ(Run({"mend", mPath, "-o", mended}).exitCode, 0);
  EXPECT_EQ(ReadFile(mended), mBytes);
  const ProgramResult result = CutAll();
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(ReadFile(mOutput), mBytes);
  ExpectGood(mOutput);
  EXPECT_EQ(CutAll({"--streams", "1", "--no-events", "--force"}).exitCode, 0);
  EXPECT_THAT(Records(mOutput), ElementsAre("header", "index", "data 1", "header", "data 1",
                                            "data 1", "index", "data 1"));
}

TEST_F(CutHandMade, DataThatTheFirstHeaderLeadsOverIsNotDamage) {
  Write({10, 20});
  ArchiveHeader header = OneStreamHeader();
  header.firstIndexDelta += 104;
  const Bytes entries = Between(mBytes, Entry(0), mBytes.size());
  const Bytes good = mBytes;
  mBytes = *EncodeHeaderRecord(header) + Between(mBytes, Entry(0) + 13, Entry(0) + 117) + entries;
  Rewrite();
  const ProgramResult result = CutAll();
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_THAT(result.err, HasSubstr("104 bytes of data before the first entry"));
  EXPECT_EQ(ReadFile(mOutput), good);
}

TEST_F(CutHandMade, ARangeThatBeginsInWhatDamageHidesIsInDoubt) {
  WriteWithLengthPastManyEntries();
  const ProgramResult result = CutRange(155000, kForever);
  EXPECT_EQ(result.exitCode, 3) << result.err;
  EXPECT_THAT(result.err, HasSubstr("entries may be lost there"));
  const ProgramResult read = Run({"read", Folder(), "155000", "2100-01-01", "-o", "/dev/null"});
  EXPECT_EQ(read.exitCode, 3) << read.err;
  EXPECT_THAT(read.err, HasSubstr("entries may be lost there"));
}

TEST_F(CutHandMade, AGapIsOneOfWhatIsWritten) {
  // The index does not have the entries that the length skips; they are saved.
  WriteWithLengthPastManyEntries();
  const nlohmann::json json = JsonOf(3);
  EXPECT_EQ(json["entries"], 23);
  EXPECT_EQ(json["gaps"].dump(), "[]");
}

TEST_F(CutSample, PartsOfAnEarlierCutAreTold) {
  ASSERT_EQ(CutAll({"--split", "1m"}).exitCode, 0);
  const ProgramResult result = CutRange(0, SampleTime(100), {"--split", "1m", "--force"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.err, HasSubstr("2 other files with the name of a part were left as they are: "
                                    "out-002.zel3"));
  EXPECT_EQ(EntryNames(mOutputFolder.Path()).size(), 4U);
}

TEST_F(CutHandMade, ALastRecordThatIsNotWholeIsLeftOut) {
  Write({10, 20});
  mBytes.resize(mBytes.size() - 3);
  Rewrite();
  const nlohmann::json json = JsonOf(3);
  EXPECT_EQ(json["cutOffBytes"], 5);
  EXPECT_EQ(ReadFile(mOutput), Between(mBytes, 0, mBytes.size() - 5));
  ExpectGood(mOutput);
}

TEST_F(CutHandMade, EntriesWithoutAHeaderAreInNoArchive) {
  Write({10, 20});
  mBytes[0] = 0;
  Rewrite();
  const ProgramResult result = CutAll();
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.err, HasSubstr("2 entries without a whole header before them"));
  EXPECT_THAT(EntryNames(mOutputFolder.Path()), IsEmpty());
}

TEST_F(CutHandMade, AClockThatWasSetBackStaysInOnePart) {
  Write({50, 70, 40, 80, 130});
  const nlohmann::json json = JsonOf(0, {"--split", "1m"});
  std::vector<std::string> parts;
  for (const auto& file : json["files"]) parts.push_back(file["entries"].dump());
  EXPECT_THAT(parts, ElementsAre("1", "3", "1"));
}

TEST_F(CutHandMade, AHoleStaysOne) {
  constexpr std::uint64_t kHole = std::uint64_t{5} << 30;
  StreamDescriptor stream = OneStreamHeader().streams.front();
  stream.id = 0;
  ArchiveHeader header = OneStreamHeader();
  header.streams = {stream};
  {
    ArchiveWriter writer(mPath);
    writer.WriteHeader(header);
    writer.WriteIndex({10, 0, 0});
    writer.Close();
  }
  const Bytes start = ReadFile(mPath);
  std::filesystem::resize_file(mPath, start.size() + kHole);
  EXPECT_EQ(CutAll().exitCode, 0);
  EXPECT_EQ(std::filesystem::file_size(mOutput), start.size() + kHole);
  EXPECT_THAT(RunOther("du", {"-k", mOutput}).out, testing::MatchesRegex("[0-9]{1,4}\t.*\n"));
}
