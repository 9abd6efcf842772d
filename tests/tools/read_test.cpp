#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "archive/archive_writer.h"
#include "support/program.h"
#include "support/sample_archive.h"
#include "support/terminal.h"

using testing::HasSubstr;

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
    return DeliveredBytes(path);
  }

  const TempFolder mOutputFolder;
  const std::string mOutput = mOutputFolder / "out";
};

class ReadSample : public Read {
 protected:
  Bytes FileBytes(std::size_t number) const {
    return DeliveredBytes(SampleFile(Folder(), mTruth, number));
  }
  std::uint64_t Position(std::size_t file, std::size_t entry) const {
    return mTruth.files.at(file).entries.at(entry).position;
  }

  const GroundTruth mTruth = WriteScenario(Folder(), SampleScenario());
};

}  // namespace

TEST_F(ReadSample, TheWholeArchiveIsItsFilesWithoutTheirLastBytes) {
  const ProgramResult result = ReadRange(Folder(), 0, ~std::uint64_t{0});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out, "");
  const Bytes expected = FileBytes(0) + FileBytes(1) + FileBytes(2);
  EXPECT_EQ(result.err,
            "nothing is recorded from 2024-05-01T00:00:50.000Z to 2024-05-01T00:01:30.000Z\n"
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
            "nothing is recorded from 2024-05-01T00:00:50.000Z to 2024-05-01T00:01:30.000Z\n"
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
      R"({"entries":12,"damaged":0,"bytes":)" + size + R"(,"end":"range","gaps":[{"from":)" +
      std::to_string(SampleTime(50)) + R"(,"to":)" + std::to_string(SampleTime(90)) + "}]}\n";
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

TEST_F(ReadSample, TheStandardOutputIsWrittenWhenItIsNoTerminal) {
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
              testing::StartsWith("nothing is recorded from 1970-01-01T00:01:00.000Z to "
                                  "1970-01-01T00:01:41.000Z\n5 entries, "));
}

TEST_F(Read, EntriesOfEqualTimesAreAllDelivered) {
  const Bytes bytes = WriteEntries(*this / "a.zel3", {10, 10, 20, 30, 30, 30, 40, 40});
  EXPECT_EQ(ReadRange(Folder(), 0, 100000).exitCode, 0);
  EXPECT_EQ(ReadFile(mOutput), bytes);
  EXPECT_EQ(ReadRange(Folder(), 30000, 30001).exitCode, 0);
  EXPECT_THAT(ReadFile(mOutput).size(), testing::Lt(bytes.size()));
  EXPECT_EQ(ReadRange(Folder(), 30000, 40000).err.substr(0, 9), "3 entries");
  EXPECT_EQ(ReadRange(Folder(), 35000, 40000).err.substr(0, 9), "1 entries");
}

TEST_F(Read, FilesThatMeetInOneTimeAreBothDelivered) {
  const Bytes first = WriteEntries(*this / "a.zel3", {10, 20, 30});
  const Bytes second = WriteEntries(*this / "b.zel3", {30, 40, 50});
  ASSERT_EQ(Run({"index", Folder()}).exitCode, 0);
  EXPECT_EQ(ReadRange(Folder(), 0, 100000).exitCode, 0);
  EXPECT_EQ(ReadFile(mOutput), first + second);
}

TEST_F(Read, TimesThatRunBackwardsDoNotLoop) {
  WriteEntries(*this / "a.zel3", {10, 20, 90, 30, 40, 100});
  WriteEntries(*this / "b.zel3", {50, 60, 55});
  const ProgramResult result = ReadRange(Folder(), 0, ~std::uint64_t{0});
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_THAT(result.err, HasSubstr("out of order"));
}

TEST_F(Read, AnArchiveCutShortAfterItWasIndexedIsReportedAsDamaged) {
  const Bytes bytes = WriteEntries(*this / "a.zel3", {10, 20, 30, 40});
  ASSERT_EQ(Run({"index", Folder()}).exitCode, 0);
  WriteFile(*this / "a.zel3", Between(bytes, 0, bytes.size() - 40));
  const ProgramResult result = ReadRange(Folder(), 0, 100000);
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_THAT(result.err, HasSubstr("could not be read"));
}

TEST_F(Read, AnInterruptEndsItAtOnce) {
  Scenario scenario = SampleScenario();
  scenario.payloadBytesPerEntry = 100000;
  WriteScenario(Folder(), scenario);
  ASSERT_EQ(Run({"index", Folder()}).exitCode, 0);
  // A pipe that nobody empties holds the program up in the middle of its work.
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
