#include <gmock/gmock.h>
#include <sys/resource.h>

#include <filesystem>

#include <nlohmann/json.hpp>

#include "archive/archive_writer.h"
#include "archive/event_types.h"
#include "client/archive_client.h"
#include "support/environment_value.h"
#include "support/program.h"
#include "support/read_only_folder.h"
#include "support/sample_archive.h"
#include "support/sanitized.h"

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

// The sample with about one event in each entry.
Scenario BusySample() {
  Scenario scenario = SampleScenario();
  scenario.eventsPerHour = 1440;
  return scenario;
}

std::string EventLine(const GroundTruthEvent& event) {
  return R"({"time":)" + std::to_string(ToArchiveTime(event.indexTime)) + R"(,"type":")" +
         event_types::Name(event.type) + R"(","text":")" + event.text + "\"}";
}

class Events : public ProgramTest {
 protected:
  ProgramResult EventLines(const Arguments& options = {}) {
    Arguments arguments{"events", Folder(), "--format", "jsonl"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return Run(arguments);
  }
};

class EventsOfSample : public Events {
 protected:
  // The lines of the wanted events of these files.
  std::vector<std::string> Expected(
      const std::vector<std::size_t>& files = {0, 1, 2},
      const std::function<bool(const GroundTruthEvent&)>& isWanted = [](const GroundTruthEvent&) {
        return true;
      }) const {
    std::vector<std::string> lines;
    for (const std::size_t file : files) {
      for (const GroundTruthEvent& event : mTruth.files[file].events) {
        if (isWanted(event)) lines.push_back(EventLine(event));
      }
    }
    return lines;
  }

  const GroundTruth mTruth = WriteScenario(Folder(), BusySample());
};

class NoProgress : public Progress {
 public:
  void Show(const WorkState& /*state*/) override {}
  void Clear() override {}
};

// An archive with many events with short texts.
void WriteMany(const std::string& path, std::uint32_t entries, int eventsInEach) {
  ArchiveWriter writer(path);
  writer.WriteHeader(OneStreamHeader());
  for (std::uint32_t i = 0; i < entries; ++i) {
    writer.WriteIndex({1'700'000'000 + i, 0, 0});
    for (int event = 0; event < eventsInEach; ++event) writer.WriteData(0x80, 0, nullptr, 0);
  }
  writer.WriteIndex({1'700'000'000 + entries, 0, 0});
  writer.WriteData(0x91, 0, reinterpret_cast<const unsigned char*>("last"), 4);
  writer.Close();
}

// For a new process: the memory that it may use.
void AllowLittleMemory() {
  const rlimit limit{32 << 20, 32 << 20};
  setrlimit(RLIMIT_DATA, &limit);
}

// An archive with one event.
void WriteEvent(const std::string& path, const std::string& text) {
  ArchiveWriter writer(path);
  writer.WriteHeader(OneStreamHeader());
  writer.WriteIndex({7, 0, 1});
  writer.WriteData(0xFA, 0, reinterpret_cast<const unsigned char*>(text.data()), text.size());
  writer.WriteIndex({8, 0, 0});
  writer.WriteData(1, 0, reinterpret_cast<const unsigned char*>("x"), 1);
  writer.Close();
}

}  // namespace

TEST_F(EventsOfSample, AreThoseThatWereWrittenInOrder) {
  ASSERT_GT(Expected().size(), 5U);
  const ProgramResult result = EventLines();
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(LinesOf(result.out), Expected());
  EXPECT_EQ(EntryNames(Folder()).size(), 3U) << "no index is needed";
}

TEST_F(EventsOfSample, OfARangeWithoutItsEnd) {
  const std::uint32_t first = mTruth.files[0].events.front().indexTime;
  const std::uint32_t last = mTruth.files[2].events.back().indexTime;
  const auto lines = [this](std::uint64_t from, std::uint64_t to) {
    return LinesOf(EventLines({std::to_string(from), std::to_string(to)}).out);
  };
  EXPECT_EQ(lines(ToArchiveTime(first), ToArchiveTime(last)),
            Expected({0, 1, 2},
                     [last](const GroundTruthEvent& event) { return event.indexTime < last; }));
  EXPECT_EQ(lines(ToArchiveTime(first) + 1, ToArchiveTime(last) + 1),
            Expected({0, 1, 2},
                     [first](const GroundTruthEvent& event) { return event.indexTime > first; }));
}

TEST_F(EventsOfSample, OfTheTypesAskedFor) {
  const std::uint8_t first = mTruth.files[0].events.front().type;
  const std::uint8_t last = mTruth.files[2].events.back().type;
  const ProgramResult result =
      EventLines({"--type", event_types::Name(first), "--type", std::to_string(last)});
  EXPECT_EQ(LinesOf(result.out), Expected({0, 1, 2}, [=](const GroundTruthEvent& event) {
              return event.type == first || event.type == last;
            }));
  EXPECT_EQ(EventLines({"--type", "132"}).exitCode, 4);
}

TEST_F(EventsOfSample, AreTheSameWithAndWithoutIndexes) {
  ASSERT_EQ(Run({"index", SampleFile(Folder(), mTruth, 0)}).exitCode, 0);
  const ProgramResult result = EventLines({"--no-index"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(LinesOf(result.out), Expected());
  EXPECT_EQ(EntryNames(Folder()).size(), 6U) << "nothing has been written";
  ASSERT_EQ(Run({"index", Folder()}).exitCode, 0);
  EXPECT_EQ(LinesOf(EventLines({"--no-index"}).out), Expected());
}

TEST_F(EventsOfSample, OfASingleFile) {
  const std::string file = SampleFile(Folder(), mTruth, 1);
  EXPECT_EQ(LinesOf(Run({"events", file, "--format", "jsonl", "--no-index"}).out), Expected({1}));
  EXPECT_EQ(LinesOf(Run({"events", file, "--format", "jsonl"}).out), Expected({1}));
}

TEST_F(EventsOfSample, AFileThatIsNotAnArchiveIsLeftOut) {
  WriteFile(*this / "z.zel3", std::string(1000, 'x'));
  const ProgramResult result = EventLines();
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(LinesOf(result.out), Expected());
  EXPECT_THAT(result.err, HasSubstr("zel3: z.zel3 is not an archive: "));
}

TEST_F(EventsOfSample, DamageIsToldWhereItMayHideEventsOfTheRange) {
  Bytes bytes = ReadFile(SampleFile(Folder(), mTruth, 1));
  const auto& entries = mTruth.files[1].entries;
  const auto middle = static_cast<std::ptrdiff_t>(entries[entries.size() / 2].position);
  std::fill_n(bytes.begin() + middle, 40, 0);
  WriteFile(SampleFile(Folder(), mTruth, 1), bytes);
  const auto start = [this](std::size_t file) {
    return std::to_string(ToArchiveTime(mTruth.files[file].entries.front().indexTime));
  };
  const auto end = [this](std::size_t file) {
    return std::to_string(ToArchiveTime(mTruth.files[file].entries.back().indexTime));
  };
  const struct {
    Arguments range;
    int exitCode;
  } cases[] = {
      {{}, 3},
      {{start(1), end(1)}, 3},
      {{"--until", start(1)}, 3},  // after the first file
      {{"--since", end(1)}, 3},    // before the third one
      {{"--until", end(0)}, 0},
      {{"--since", start(2)}, 0},
  };
  for (const auto& [range, exitCode] : cases) {
    SCOPED_TRACE(testing::PrintToString(range));
    for (const char* const index : {"--no-index", "--recursive"}) {
      Arguments arguments = range;
      arguments.insert(arguments.begin(), index);
      const ProgramResult result = EventLines(arguments);
      EXPECT_EQ(result.exitCode, exitCode) << result.err;
      EXPECT_EQ(result.err.find("are damaged or cannot be read") != std::string::npos,
                exitCode == 3);
    }
  }
}

TEST_F(EventsOfSample, WhereNoCacheCanBeWrittenTheIndexIsBuiltEachTime) {
  const ReadOnlyFolder archives(Folder());
  for (int i = 0; i < 2; ++i) {
    Start({"events", Folder(), "--format", "jsonl"}, WithoutPlaceForIndexes);
    const ProgramResult result = Finish();
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(LinesOf(result.out), Expected());
    EXPECT_THAT(result.err, testing::StartsWith("zel3: the index is not kept: "));
  }
  EXPECT_EQ(EntryNames(Folder()).size(), 3U) << "nothing has been written";
}

TEST_F(Events, EveryFormatShowsTheSame) {
  WriteEvent(*this / "a.zel3", "gate 1, \"left\"");
  EXPECT_THAT(LinesOf(Run({"events", Folder()}).out),
              ElementsAre("time                      type  text",
                          "1970-01-01T00:00:07.000Z  note  gate 1, \"left\""));
  EXPECT_THAT(LinesOf(Run({"events", Folder(), "--format", "csv"}).out),
              ElementsAre("time,type,text", "7000,note,\"gate 1, \"\"left\"\"\""));
  const std::string line = R"({"time":7000,"type":"note","text":"gate 1, \"left\""})";
  EXPECT_EQ(EventLines().out, line + "\n");
  EXPECT_EQ(Run({"events", Folder(), "--format", "json"}).out, R"({"events":[)" + line + "]}\n");
  EXPECT_THAT(EventLines({"--time-format", "iso"}).out, HasSubstr("1970-01-01T00:00:07.000Z"));
}

TEST_F(Events, TextsFromArchivesCannotHarmATerminal) {
  WriteEvent(*this / "a.zel3", "\x1b[2J\n\xff");
  for (const char* const format : {"text", "csv"}) {
    const std::vector<std::string> lines =
        LinesOf(Run({"events", Folder(), "--format", format}).out);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_THAT(lines[1], testing::EndsWith("\\u001b[2J\\u000a\xef\xbf\xbd"));
  }
  EXPECT_EQ(LinesOf(EventLines().out).size(), 1U);
}

TEST_F(Events, NothingThereExitsWithFour) {
  WriteScenario(Folder(), SampleScenario());
  const ProgramResult result = EventLines();
  EXPECT_EQ(result.exitCode, 4);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "zel3: no event is recorded there\n");
}

TEST_F(Events, NothingThereIsAWholeDocument) {
  WriteScenario(Folder(), SampleScenario());
  const std::pair<const char*, const char*> documents[] = {
      {"json", "{\"events\":[]}\n"}, {"csv", "time,type,text\n"}, {"jsonl", ""}, {"text", ""}};
  for (const auto& [format, document] : documents) {
    const ProgramResult result = Run({"events", Folder(), "--format", format});
    EXPECT_EQ(result.out, document);
    EXPECT_EQ(result.exitCode, 4);
  }
}

TEST_F(Events, ThatAnIndexCannotHoldAreThere) {
  using namespace std::string_literals;
  WriteMany(*this / "a.zel3", 2, 300);
  WriteEvent(*this / "b.zel3", "a\0b"s);
  const std::vector<std::string> lines = LinesOf(EventLines().out);
  ASSERT_EQ(lines.size(), 602U);
  EXPECT_EQ(lines[0], R"({"time":7000,"type":"note","text":"a\u0000b"})") << "the earlier file";
  EXPECT_EQ(lines[601], R"({"time":1700000002000,"type":"plate-unreadable","text":"last"})");
  EXPECT_EQ(EventLines().exitCode, 0);
}

TEST_F(Events, AnIndexThatLacksSomeIsNotBelieved) {
  WriteMany(*this / "a.zel3", 2, 2);
  const std::string all = EventLines().out;
  WriteFile(*this / "a.evt", Bytes());
  EXPECT_EQ(EventLines().out, all);
  EXPECT_EQ(LinesOf(all).size(), 5U);
}

TEST_F(Events, VeryManyNeedLittleMemory) {
  if (kIsSanitized) GTEST_SKIP() << "a sanitizer takes more memory than is allowed here";
  WriteMany(*this / "a.zel3", 1000, 100);
  ASSERT_EQ(Run({"index", Folder()}).exitCode, 0);
  for (const std::string format : {"text", "json", "jsonl", "csv"}) {
    Start({"events", Folder(), "--format", format}, AllowLittleMemory);
    const ProgramResult result = Finish();
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_NE(result.out.find("last"), std::string::npos);
    if (format != "text") continue;
    const std::vector<std::string> lines = LinesOf(result.out);
    EXPECT_EQ(lines.size(), 100'002U);
    EXPECT_EQ(lines.front(), "time                      type              text");
    EXPECT_EQ(lines[1], "2023-11-14T22:13:20.000Z  motion            ");
    EXPECT_EQ(lines.back(), "2023-11-14T22:30:00.000Z  plate-unreadable  last");
  }
}

TEST_F(Events, WithoutAnArchiveThereIsAFailure) {
  EXPECT_EQ(EventLines().exitCode, 1);
  WriteFile(*this / "empty.zel3", "");
  const ProgramResult result = Run({"events", *this / "empty.zel3"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err, "zel3: empty.zel3 is not an archive: it is empty\n");
}

TEST_F(Events, BadArgumentsAreUsageErrors) {
  const Arguments cases[] = {
      {"1"}, {"2", "2"}, {"3", "2"}, {"--type", "door"}, {"--type", "256"}, {"--format", "xml"},
  };
  for (const Arguments& arguments : cases) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    EXPECT_EQ(EventLines(arguments).exitCode, 2);
  }
}
