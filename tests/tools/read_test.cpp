#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <nlohmann/json.hpp>
#include <thread>

#include "archive/archive_writer.h"
#include "support/program.h"
#include "support/sample_archive.h"
#include "support/terminal.h"

using testing::HasSubstr;
using testing::StartsWith;

namespace {

class Read : public ProgramTest {
 protected:
  ProgramResult ReadRange(const std::string& source, std::uint64_t from, std::uint64_t to) {
    return Run({"read", source, std::to_string(from), std::to_string(to), "-o", mOutput});
  }

  // Writes an archive of entries at these index times, each with some data; its name decides its
  // place in a folder.
  static Bytes WriteEntries(const std::string& path, const std::vector<std::uint32_t>& indexTimes) {
    ArchiveWriter writer(path);
    writer.WriteHeader(OneStreamHeader());
    unsigned char payload = 0;
    for (const std::uint32_t time : indexTimes) {
      IDX_T index;
      index.time = time;
      writer.WriteIndex(index);
      writer.WriteData(1, 0, &++payload, sizeof(payload));
    }
    writer.Close();
    return ReadFile(path);
  }

  const TempFolder mOutputFolder;
  const std::string mOutput = mOutputFolder / "out";
};

class ReadSample : public Read {
 protected:
  Bytes FileBytes(std::size_t number) const {
    return ReadFile(SampleFile(Folder(), mTruth, number));
  }
  std::uint64_t Position(std::size_t file, std::size_t entry) const {
    return mTruth.files.at(file).entries.at(entry).position;
  }

  const GroundTruth mTruth = WriteScenario(Folder(), SampleScenario());
};

}  // namespace

TEST_F(ReadSample, TheWholeArchiveIsItsFiles) {
  const ProgramResult result = ReadRange(Folder(), 0, ~std::uint64_t{0});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out, "");
  const Bytes expected = FileBytes(0) + FileBytes(1) + FileBytes(2);
  EXPECT_EQ(result.err,
            "nothing was recorded from 2024-05-01T00:00:50.000Z to 2024-05-01T00:01:30.000Z\n"
            "17 entries, " +
                std::to_string(expected.size()) + " bytes\n");
  EXPECT_EQ(ReadFile(mOutput), expected);
}

TEST_F(ReadSample, EndsAtAGapWhenAsked) {
  const ProgramResult result =
      Run({"read", Folder(), "0", "2100-01-01", "-o", mOutput, "--stop-at-gap"});
  EXPECT_EQ(result.exitCode, 0);
  const Bytes expected = FileBytes(0);
  EXPECT_EQ(result.err,
            "nothing was recorded from 2024-05-01T00:00:50.000Z to 2024-05-01T00:01:30.000Z\n"
            "6 entries, " +
                std::to_string(expected.size()) + " bytes\nzel3: stopped at the gap\n");
  EXPECT_EQ(ReadFile(mOutput), expected);
}

TEST_F(ReadSample, TellsGapsAsJson) {
  const std::string size = std::to_string(FileBytes(0).size() + FileBytes(1).size());
  const Arguments range{"read", Folder(), "0", std::to_string(SampleTime(150)), "--format", "json"};
  Arguments toFile = range;
  toFile.insert(toFile.end(), {"-o", mOutput});
  const std::string summary =
      R"({"entries":12,"bytes":)" + size +
      R"(,"damagedEntries":0,"damagedBytes":0,"cutOffBytes":0,"undeclaredEntries":0,)"
      R"("withoutHeader":false,"stoppedAt":"range","gaps":[{"from":)" +
      std::to_string(SampleTime(50)) + R"(,"to":)" + std::to_string(SampleTime(90)) +
      R"(}],"backward":[],"misplacedEntries":0})" + "\n";
  const ProgramResult written = Run(toFile);
  EXPECT_EQ(written.out, summary);
  EXPECT_EQ(written.err, "");
  const ProgramResult piped = Run(range);
  EXPECT_EQ(piped.err, summary) << "the standard output carries the bytes";
  EXPECT_EQ(std::to_string(piped.out.size()), size);
}

TEST_F(ReadSample, ARangeIsHalfOpenAndBeginsWithTheEntryThatHoldsIt) {
  const Bytes bytes = FileBytes(0);
  const Bytes header = Between(bytes, 0, Position(0, 0));
  const struct {
    std::uint64_t from;
    std::uint64_t to;
    Bytes expected;
  } cases[] = {
      {SampleTime(0), SampleTime(10), Between(bytes, 0, Position(0, 1))},
      {SampleTime(0), SampleTime(10) + 1, Between(bytes, 0, Position(0, 2))},
      {SampleTime(20), SampleTime(40), header + Between(bytes, Position(0, 2), Position(0, 4))},
      {SampleTime(29), SampleTime(30), header + Between(bytes, Position(0, 2), Position(0, 3))},
      {SampleTime(20), SampleTime(20) + 1, header + Between(bytes, Position(0, 2), Position(0, 3))},
      {0, SampleTime(0) + 1, Between(bytes, 0, Position(0, 1))},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(testing::Message() << each.from << " to " << each.to);
    EXPECT_EQ(ReadRange(Folder(), each.from, each.to).exitCode, 0);
    EXPECT_EQ(ReadFile(mOutput), each.expected);
  }
}

TEST_F(ReadSample, ARangeRunsAcrossFiles) {
  EXPECT_EQ(ReadRange(Folder(), SampleTime(40), SampleTime(110)).exitCode, 0);
  const Bytes first = FileBytes(0);
  const Bytes header = Between(first, 0, Position(0, 0));
  EXPECT_EQ(ReadFile(mOutput), header + Between(first, Position(0, 4), first.size()) +
                                   Between(FileBytes(1), 0, Position(1, 2)));
}

TEST_F(ReadSample, ARangeAfterAChangeOfStreamsBeginsWithTheLaterHeader) {
  const Bytes bytes = FileBytes(1);
  const auto& positions = mTruth.files[1].headerPositions;
  ASSERT_EQ(positions.size(), 2U);
  EXPECT_EQ(ReadRange(Folder(), SampleTime(130), SampleTime(131)).exitCode, 0);
  EXPECT_EQ(ReadFile(mOutput), Between(bytes, positions[1], Position(1, 3)) +
                                   Between(bytes, Position(1, 4), Position(1, 5)));
}

TEST_F(ReadSample, TheStandardOutputIsWrittenWhenItIsNotATerminal) {
  const std::string from = std::to_string(SampleTime(0));
  const std::string to = std::to_string(SampleTime(10));
  const Bytes expected = Between(FileBytes(0), 0, Position(0, 1));
  const std::string text(expected.begin(), expected.end());
  EXPECT_EQ(Run({"read", Folder(), from, to}).out, text);
  EXPECT_EQ(Run({"read", Folder(), from, to, "-o", "-"}).out, text);
}

TEST_F(ReadSample, ATerminalGetsNoBytesUnlessAskedFor) {
  const Terminal terminal;
  const auto onTerminal = [&terminal] { terminal.TakeThePlaceOf(STDOUT_FILENO); };
  const std::string from = std::to_string(SampleTime(0));
  const std::string to = std::to_string(SampleTime(10));
  Start({"read", Folder(), from, to}, onTerminal);
  EXPECT_EQ(Finish().exitCode, 2);
  Start({"read", Folder(), from, to, "-o", "-"}, onTerminal);
  EXPECT_EQ(Finish().exitCode, 0);
}

TEST_F(ReadSample, NothingInTheRangeExitsWithFourAndWritesNothing) {
  EXPECT_EQ(ReadRange(Folder(), SampleTime(400), SampleTime(500)).exitCode, 4);
  EXPECT_EQ(ReadRange(Folder(), SampleTime(70), SampleTime(80)).exitCode, 4) << "in a gap";
  EXPECT_FALSE(FileExists(mOutput));
  const ProgramResult result = Run({"read", Folder(), "0", "1", "-o", mOutput, "--format", "json"});
  EXPECT_EQ(result.exitCode, 4);
  EXPECT_EQ(result.out,
            R"({"entries":0,"bytes":0,"damagedEntries":0,"damagedBytes":0,"cutOffBytes":0,)"
            R"("undeclaredEntries":0,"withoutHeader":false,"stoppedAt":"range","gaps":[],)"
            R"("backward":[],"misplacedEntries":0})"
            "\n");
  EXPECT_EQ(result.err, "zel3: nothing is recorded there\n");
  EXPECT_FALSE(FileExists(mOutput));
}

TEST_F(ReadSample, AnArchiveIsNeverTheOutput) {
  const std::string path = SampleFile(Folder(), mTruth, 1);
  const Bytes before = ReadFile(path);
  const ProgramResult result =
      Run({"read", Folder(), "0", std::to_string(SampleTime(200)), "-o", path});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_EQ(ReadFile(path), before);
}

TEST_F(ReadSample, AnOutputThatCannotBeOpenedIsAFailure) {
  const ProgramResult result = Run(
      {"read", Folder(), "0", std::to_string(SampleTime(200)), "-o", mOutputFolder / "none/out"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.err, HasSubstr("No such file or directory"));
}

TEST_F(ReadSample, AHalfWrittenOutputIsRemoved) {
  ASSERT_EQ(Run({"index", Folder()}).exitCode, 0);
  Start({"read", Folder(), "0", std::to_string(SampleTime(200)), "-o", mOutput}, [] {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit small{1000, 1000};
    setrlimit(RLIMIT_FSIZE, &small);
  });
  const ProgramResult result = Finish();
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.err, HasSubstr("cannot write"));
  EXPECT_FALSE(FileExists(mOutput));
}

TEST_F(Read, AGapIsMoreThanFourStepsInAFile) {
  WriteEntries(*this / "a.zel3", {10, 20, 60, 101, 111});
  EXPECT_THAT(ReadRange(*this / "a.zel3", 0, 1000000).err,
              StartsWith("nothing was recorded from 1970-01-01T00:01:00.000Z to "
                         "1970-01-01T00:01:41.000Z\n5 entries, "));
}

TEST_F(Read, EntriesOfEqualTimesAreAllDelivered) {
  const Bytes bytes = WriteEntries(*this / "a.zel3", {10, 10, 20, 30, 30, 30, 40, 40});
  EXPECT_EQ(ReadRange(Folder(), 0, 100000).exitCode, 0);
  EXPECT_EQ(ReadFile(mOutput), bytes);
  EXPECT_EQ(ReadRange(Folder(), 30000, 30001).exitCode, 0);
  EXPECT_THAT(ReadFile(mOutput).size(), testing::Lt(bytes.size()));
  EXPECT_EQ(ReadRange(Folder(), 30000, 40000).err.substr(0, 9), "3 entries");
  EXPECT_EQ(ReadRange(Folder(), 35000, 40000).err.substr(0, 9), "1 entry, ");
}

TEST_F(Read, FilesThatMeetInOneTimeAreBothDelivered) {
  const Bytes first = WriteEntries(*this / "a.zel3", {10, 20, 30});
  const Bytes second = WriteEntries(*this / "b.zel3", {30, 40, 50});
  ASSERT_EQ(Run({"index", Folder()}).exitCode, 0);
  EXPECT_EQ(ReadRange(Folder(), 0, 100000).exitCode, 0);
  EXPECT_EQ(ReadFile(mOutput), first + second);
}

TEST_F(Read, AWrongTimeCostsAnEntryNeitherItsBytesNorItsPlace) {
  const Bytes bytes = WriteEntries(*this / "a.zel3", {10, 20, 90, 40, 50, 60});
  const ProgramResult all = ReadRange(Folder(), 0, ~std::uint64_t{0});
  EXPECT_EQ(all.exitCode, 0);
  EXPECT_EQ(all.err, "6 entries, " + std::to_string(bytes.size()) +
                         " bytes\nzel3: 1 entry with a time that does not fit between its "
                         "neighbours stayed in place\n");
  EXPECT_EQ(ReadFile(mOutput), bytes);
  EXPECT_THAT(ReadRange(Folder(), 20000, 40000).err, StartsWith("2 entries, "));
  EXPECT_EQ(ReadRange(Folder(), 90000, 95000).exitCode, 4) << "nothing is recorded then";
}

TEST_F(Read, AClockSetBackWithinAFileLosesNothing) {
  const Bytes bytes = WriteEntries(*this / "a.zel3", {10, 20, 30, 40, 15, 25, 35, 45});
  const ProgramResult result = ReadRange(Folder(), 0, ~std::uint64_t{0});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err,
            "the time goes back from 1970-01-01T00:00:40.000Z to 1970-01-01T00:00:15.000Z\n"
            "8 entries, " +
                std::to_string(bytes.size()) + " bytes\n");
  EXPECT_EQ(ReadFile(mOutput), bytes);
  EXPECT_THAT(ReadRange(Folder(), 20000, 30000).err, HasSubstr("3 entries, "))
      << "the one at 20 the first time, those at 15 and 25 the second";
}

TEST_F(Read, AClockSetBackBetweenFilesLosesNothing) {
  const Bytes first = WriteEntries(*this / "a.zel3", {10, 20, 30, 40, 50, 60});
  const Bytes second = WriteEntries(*this / "b.zel3", {35, 45, 55, 65, 75});
  const ProgramResult result =
      Run({"read", Folder(), "0", "100000", "-o", mOutput, "--format", "json"});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(ReadFile(mOutput), first + second);
  const auto json = nlohmann::json::parse(result.out);
  EXPECT_EQ(json["entries"], 11);
  EXPECT_EQ(json["backward"], nlohmann::json::parse(R"([{"from":60000,"to":35000}])"));
  EXPECT_EQ(json["misplacedEntries"], 0);
}

TEST_F(Read, AnArchiveCutShortAfterItWasIndexedIsReportedAsDamaged) {
  const Bytes bytes = WriteEntries(*this / "a.zel3", {10, 20, 30, 40});
  ASSERT_EQ(Run({"index", Folder()}).exitCode, 0);
  WriteFile(*this / "a.zel3", Between(bytes, 0, bytes.size() - 1));
  const ProgramResult result = ReadRange(Folder(), 0, 100000);
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_THAT(result.err, HasSubstr("zel3: the last record is not whole; 4 bytes were skipped"));
  EXPECT_EQ(ReadFile(mOutput), Between(bytes, 0, bytes.size() - 5));
}

TEST_F(Read, WhatDamageLeavesOfAnEntryIsDelivered) {
  ArchiveWriter writer(*this / "a.zel3");
  writer.WriteHeader(OneStreamHeader());
  const std::string payload(100, 'x');
  for (std::uint32_t time = 10; time <= 30; time += 10) {
    writer.WriteIndex({time, 0, 0});
    for (int i = 0; i < 3; ++i)
      writer.WriteData(1, 0, reinterpret_cast<const unsigned char*>(payload.data()), 100);
  }
  writer.Close();
  Bytes bytes = ReadFile(*this / "a.zel3");
  constexpr std::size_t kBlock = 104;
  const std::size_t last = bytes.size() - 3 * kBlock;
  const std::size_t second = last - 13 - 3 * kBlock;
  // The type of the second block of the second entry.
  bytes[second + kBlock + 3] = 0x77;
  WriteFile(*this / "a.zel3", bytes);
  const ProgramResult result =
      Run({"read", Folder(), "0", "100000", "-o", mOutput, "--format", "json"});
  EXPECT_EQ(result.exitCode, 3);
  const auto json = nlohmann::json::parse(result.out);
  EXPECT_EQ(json["entries"], 3);
  EXPECT_EQ(json["undeclaredEntries"], 1) << "the lengths lead to the next entry";
  EXPECT_EQ(json["damagedBytes"], 0);
  EXPECT_EQ(ReadFile(mOutput), bytes);

  // And its length.
  bytes[second + kBlock] = 0x78;
  WriteFile(*this / "a.zel3", bytes);
  const ProgramResult damaged =
      Run({"read", Folder(), "0", "100000", "-o", mOutput, "--format", "json"});
  EXPECT_EQ(damaged.exitCode, 3);
  const auto summary = nlohmann::json::parse(damaged.out);
  EXPECT_EQ(summary["entries"], 3);
  EXPECT_EQ(summary["damagedEntries"], 1);
  EXPECT_EQ(summary["damagedBytes"], 2 * kBlock);
  EXPECT_EQ(summary["bytes"], bytes.size() - 2 * kBlock);
  EXPECT_EQ(ReadFile(mOutput),
            Between(bytes, 0, second + kBlock) + Between(bytes, last - 13, bytes.size()));
}

TEST_F(Read, AnArchiveWithoutAHeaderIsServedAndTold) {
  const Bytes bytes = WriteEntries(*this / "a.zel3", {10, 20, 30});
  const std::size_t header = bytes.size() - 3 * 18;
  WriteFile(*this / "a.zel3", Between(bytes, header, bytes.size()));
  const ProgramResult result = ReadRange(Folder(), 0, 100000);
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_THAT(result.err, HasSubstr("zel3: there is no whole header; parsers need one\n"));
  EXPECT_EQ(ReadFile(mOutput), Between(bytes, header, bytes.size()));
}

TEST_F(ReadSample, OneBadFileCostsItsOwnTimeOnly) {
  const Bytes first = FileBytes(0);
  const Bytes last = FileBytes(2);
  WriteFile(SampleFile(Folder(), mTruth, 1), std::string(2000, 'x'));
  for (const char* const name : {"a.zel3", "z.zel3", "bad\xff.zel3"})
    WriteFile(*this / name, std::string(2000, '\0'));
  const ProgramResult result = ReadRange(Folder(), 0, ~std::uint64_t{0});
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(ReadFile(mOutput), first + last);
  EXPECT_THAT(result.err, HasSubstr(mTruth.files[1].name + " is not an archive"));
  EXPECT_THAT(result.err, HasSubstr("z.zel3 is not an archive"));
}

TEST_F(ReadSample, WhatIsReadIsSoundWhereItsFilesAre) {
  const std::string copy = mOutputFolder / "copy.zel3";
  ASSERT_EQ(Run({"read", Folder(), "0", "2100-01-01", "-o", copy}).exitCode, 0);
  EXPECT_EQ(Run({"doctor", copy, "--fail-on", "warning"}).exitCode, 0);
}

TEST_F(Read, AnInterruptEndsItAtOnce) {
  Scenario scenario = SampleScenario();
  scenario.payloadBytesPerEntry = 100000;
  WriteScenario(Folder(), scenario);
  ASSERT_EQ(Run({"index", Folder()}).exitCode, 0);
  // A pipe that nobody reads stops the program in the middle of its work.
  ASSERT_EQ(mkfifo(mOutput.c_str(), 0600), 0);
  const int pipe = open(mOutput.c_str(), O_RDONLY | O_NONBLOCK);
  ASSERT_GE(pipe, 0);
  Start({"read", Folder(), "0", std::to_string(SampleTime(200)), "-o", mOutput});
  char byte = 0;
  while (read(pipe, &byte, 1) != 1) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  while (!HasEnded()) {
    SendSignal(SIGINT);
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  close(pipe);
  const ProgramResult result = Finish();
  EXPECT_EQ(result.exitCode, 130);
  EXPECT_EQ(result.err, "zel3: interrupted\n");
  EXPECT_TRUE(FileExists(mOutput)) << "only plain files are removed";
}
