#include "samples/scenario.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <set>
#include <stdexcept>

#include "parser/framing_parser.h"
#include "support/temp_folder.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::ThrowsMessage;

constexpr std::uint32_t kMidnight = 1714521600;
constexpr std::uint32_t kHour = 3600;

// Three short files from noon on: quick to write, with everything in them.
Scenario SmallScenario() {
  Scenario scenario = DefaultScenario();
  scenario.startIndexTime = kMidnight + 12 * kHour;
  scenario.lengthSeconds = 1000;
  scenario.fileSeconds = 300;
  scenario.eventsPerHour = 200;
  scenario.gaps = {{0, 250}};
  scenario.headerChanges = {{1, 100, 4, true}};
  return scenario;
}

std::int64_t ModificationTime(const std::string& path) {
  struct stat status = {};
  EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
  return status.st_mtime;
}

// Builds the ground truth of one file from what a parser finds in it, by the rules of an index.
class TruthSink final : public FramingSink {
 public:
  void OnHeader(std::uint64_t position, const ArchiveHeader& header) override {
    file.headerPositions.push_back(position);
    for (const StreamDescriptor& stream : header.streams) {
      if (stream.active != 0) mStreamIds.insert(stream.id);
    }
    file.streamIds.assign(mStreamIds.begin(), mStreamIds.end());
  }
  void OnIndex(std::uint64_t position, const IDX_T& index) override {
    GroundTruthEntry entry;
    entry.position = position;
    entry.indexTime = index.time;
    entry.flagged = index.indexFlag != 0;
    file.entries.push_back(entry);
  }
  void OnData(std::uint64_t, const DATA_T& head, const unsigned char* payload, Tag kind) override {
    GroundTruthEntry& entry = file.entries.back();
    NoteLevel(entry, head.type, 2 * (head.flags & 31));
    payloadBytes += head.length;
    if (kind != tag::kData) return;
    file.events.push_back({entry.indexTime, head.type,
                           std::string(reinterpret_cast<const char*>(payload), head.length)});
  }
  void OnDamage(std::uint64_t position, std::uint64_t) override {
    ADD_FAILURE() << "damage at " << position;
  }
  void OnCutOff(std::uint64_t position, std::uint64_t) override {
    ADD_FAILURE() << "cut off at " << position;
  }

  GroundTruthFile file;
  std::uint64_t payloadBytes = 0;

 private:
  static void NoteLevel(GroundTruthEntry& entry, std::uint8_t stream, int level) {
    if (level == 0) return;
    for (std::size_t i = 0; i < entry.activityCount; ++i) {
      ActivityPair& pair = entry.activity[i];
      if (pair.streamId != stream) continue;
      if (level > pair.level) pair.level = static_cast<std::uint8_t>(level);
      return;
    }
    if (entry.activityCount == 6) return;
    entry.activity[entry.activityCount].streamId = stream;
    entry.activity[entry.activityCount].level = static_cast<std::uint8_t>(level);
    ++entry.activityCount;
  }

  std::set<std::uint8_t> mStreamIds;
};

void Parse(const Bytes& archive, TruthSink* sink) {
  FramingParser parser(*sink);
  parser.Feed(archive.data(), archive.size());
  parser.Finish();
}

TEST(WriteScenario, WritesArchivesInWhichAParserFindsTheGroundTruth) {
  const TempFolder folder;
  const GroundTruth truth = WriteScenario(folder.Path(), SmallScenario());
  ASSERT_EQ(truth.files.size(), 3u);
  for (const GroundTruthFile& file : truth.files) {
    TruthSink sink;
    const Bytes archive = ReadFile(folder / file.name);
    Parse(archive, &sink);
    sink.file.name = file.name;
    sink.file.size = archive.size();
    sink.file.endIndexTime = static_cast<std::uint32_t>(ModificationTime(folder / file.name));
    EXPECT_EQ(sink.file, file) << file.name;
    EXPECT_FALSE(file.events.empty()) << file.name;
  }
}

TEST(WriteScenario, CutsTheTimeIntoFilesAndGaps) {
  const TempFolder folder;
  const GroundTruth truth = WriteScenario(folder.Path(), SmallScenario());
  EXPECT_THAT(EntryNames(folder.Path()),
              ElementsAre("cam01_2024-05-01_12-00-00.zel3", "cam01_2024-05-01_12-09-10.zel3",
                          "cam01_2024-05-01_12-14-10.zel3"));
  const std::uint32_t noon = kMidnight + 12 * kHour;
  const std::pair<std::uint32_t, std::uint32_t> times[] = {
      {noon, noon + 300}, {noon + 550, noon + 850}, {noon + 850, noon + 1000}};
  for (std::size_t i = 0; i < truth.files.size(); ++i) {
    EXPECT_EQ(truth.files[i].entries.front().indexTime, times[i].first);
    EXPECT_EQ(truth.files[i].entries.back().indexTime, times[i].second - 10);
    EXPECT_EQ(truth.files[i].endIndexTime, times[i].second);
    EXPECT_EQ(truth.files[i].entries.size(), (times[i].second - times[i].first) / 10);
  }
  EXPECT_EQ(truth.gaps, (std::vector<GroundTruthGap>{{noon + 300, noon + 550}}));
}

TEST(WriteScenario, ChangesTheStreamsInTheMiddleOfAFile) {
  const TempFolder folder;
  const GroundTruth truth = WriteScenario(folder.Path(), SmallScenario());
  EXPECT_THAT(truth.files[0].headerPositions, ElementsAre(0));
  EXPECT_THAT(truth.files[0].streamIds, ElementsAre(1, 2, 3));
  ASSERT_EQ(truth.files[1].headerPositions.size(), 2u);
  EXPECT_THAT(truth.files[1].streamIds, ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(truth.files[2].streamIds, ElementsAre(1, 2, 3));
  // The entry at 100 seconds stands right after the second header.
  EXPECT_LT(truth.files[1].entries[9].position, truth.files[1].headerPositions[1]);
  EXPECT_GT(truth.files[1].entries[10].position, truth.files[1].headerPositions[1]);
}

TEST(WriteScenario, WritesTheSameBytesForTheSameSeed) {
  const TempFolder first;
  const TempFolder second;
  const GroundTruth truth = WriteScenario(first.Path(), SmallScenario());
  EXPECT_EQ(WriteScenario(second.Path(), SmallScenario()), truth);
  for (const GroundTruthFile& file : truth.files) {
    EXPECT_EQ(ReadFile(first / file.name), ReadFile(second / file.name)) << file.name;
  }
}

TEST(WriteScenario, WritesOtherBytesForAnotherSeed) {
  const TempFolder folder;
  Scenario scenario = SmallScenario();
  const GroundTruth truth = WriteScenario(folder.Path(), scenario);
  scenario.seed = 2;
  EXPECT_FALSE(WriteScenario(folder.Path(), scenario) == truth);
}

TEST(WriteScenario, WritesTheSameBytesInEveryBuild) {
  const TempFolder folder;
  const GroundTruth truth = WriteScenario(folder.Path(), SmallScenario());
  std::uint64_t sum = 0xCBF29CE484222325;
  for (const unsigned char byte : ReadFile(folder / truth.files[1].name))
    sum = (sum ^ byte) * 0x100000001B3;
  EXPECT_EQ(sum, 9773487361151994830u);
}

TEST(WriteScenario, MakesTheFolderAndReplacesOlderFiles) {
  const TempFolder folder;
  const std::string inner = folder / "a/b";
  const GroundTruth truth = WriteScenario(inner, SmallScenario());
  EXPECT_EQ(WriteScenario(inner, SmallScenario()), truth);
  EXPECT_EQ(EntryNames(inner).size(), 3u);
}

TEST(WriteScenario, KeepsToThePayloadAskedFor) {
  const TempFolder folder;
  Scenario scenario = SmallScenario();
  scenario.payloadBytesPerEntry = 200000;
  scenario.eventsPerHour = 0;
  const GroundTruth truth = WriteScenario(folder.Path(), scenario);
  TruthSink sink;
  Parse(ReadFile(folder / truth.files[0].name), &sink);
  const std::uint64_t asked = 200000 * truth.files[0].entries.size();
  EXPECT_GT(sink.payloadBytes, asked * 3 / 4);
  EXPECT_LT(sink.payloadBytes, asked * 5 / 4);
}

TEST(WriteScenario, WritesEntriesWithoutPayload) {
  const TempFolder folder;
  Scenario scenario = SmallScenario();
  scenario.payloadBytesPerEntry = 0;
  scenario.eventsPerHour = 0;
  scenario.headerChanges.clear();
  const GroundTruth truth = WriteScenario(folder.Path(), scenario);
  EXPECT_EQ(truth.files[0].entries[1].position - truth.files[0].entries[0].position,
            kIndexRecordSize);
}

TEST(WriteScenario, IsQuietInQuietHours) {
  const TempFolder folder;
  Scenario scenario = SmallScenario();
  scenario.startIndexTime = kMidnight + 21 * kHour;
  scenario.lengthSeconds = 2 * kHour;
  scenario.fileSeconds = kHour;
  scenario.eventsPerHour = 0;
  scenario.gaps.clear();
  const GroundTruth truth = WriteScenario(folder.Path(), scenario);
  const auto largestLevel = [](const GroundTruthFile& file) {
    int largest = 0;
    for (const GroundTruthEntry& entry : file.entries) {
      for (std::size_t i = 0; i < entry.activityCount; ++i)
        largest = std::max<int>(largest, entry.activity[i].level);
    }
    return largest;
  };
  EXPECT_GT(largestLevel(truth.files[0]), 20);
  EXPECT_LE(largestLevel(truth.files[1]), 8);
}

TEST(WriteScenario, WritesAboutAsManyEventsAsAskedFor) {
  const TempFolder folder;
  Scenario scenario = SmallScenario();
  scenario.startIndexTime = kMidnight + 21 * kHour;
  scenario.lengthSeconds = 2 * kHour;
  scenario.fileSeconds = kHour;
  scenario.eventsPerHour = 800;
  scenario.gaps.clear();
  const GroundTruth truth = WriteScenario(folder.Path(), scenario);
  EXPECT_NEAR(static_cast<double>(truth.files[0].events.size()), 800, 100);
  EXPECT_NEAR(static_cast<double>(truth.files[1].events.size()), 200, 60);
}

TEST(WriteScenario, WritesADayByDefault) {
  const TempFolder folder;
  const GroundTruth truth = WriteScenario(folder.Path(), DefaultScenario());
  ASSERT_EQ(truth.files.size(), 8u);
  EXPECT_EQ(truth.gaps.size(), 2u);
  EXPECT_EQ(truth.files.front().entries.front().indexTime, kMidnight);
  EXPECT_EQ(truth.files.back().endIndexTime, kMidnight + 24 * kHour);
  EXPECT_EQ(truth.files[3].headerPositions.size(), 2u);
  std::uint64_t size = 0;
  std::size_t events = 0;
  for (const GroundTruthFile& file : truth.files) {
    size += file.size;
    events += file.events.size();
  }
  EXPECT_NEAR(static_cast<double>(size), 40e6, 2e6);
  EXPECT_GT(events, 50u);
}

struct BadScenario {
  const char* name;
  void (*spoil)(Scenario*);
  const char* message;
};

class AScenarioThatCannotBeWritten : public testing::TestWithParam<BadScenario> {};

TEST_P(AScenarioThatCannotBeWritten, IsRefusedBeforeAnythingIsWritten) {
  const TempFolder folder;
  Scenario scenario = SmallScenario();
  GetParam().spoil(&scenario);
  EXPECT_THAT([&] { WriteScenario(folder.Path(), scenario); },
              ThrowsMessage<std::invalid_argument>(testing::HasSubstr(GetParam().message)));
  EXPECT_THAT(EntryNames(folder.Path()), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    , AScenarioThatCannotBeWritten,
    testing::Values(
        BadScenario{"WithoutPrefix", [](Scenario* s) { s->namePrefix = ""; }, "name prefix"},
        BadScenario{"WithSlashInThePrefix", [](Scenario* s) { s->namePrefix = "a/b"; },
                    "name prefix"},
        BadScenario{"WithOptionForPrefix", [](Scenario* s) { s->namePrefix = "-rf"; },
                    "name prefix"},
        BadScenario{"WithoutLength", [](Scenario* s) { s->lengthSeconds = 0; }, "the length is 0"},
        BadScenario{"WithEmptyFiles", [](Scenario* s) { s->fileSeconds = 0; },
                    "the length of a file is 0"},
        BadScenario{"WithoutInterval", [](Scenario* s) { s->indexIntervalSeconds = 0; },
                    "interval is 0"},
        BadScenario{"BeyondFileTimes", [](Scenario* s) { s->startIndexTime = 0x7FFFFFF0; }, "2038"},
        BadScenario{"WithABadHour", [](Scenario* s) { s->quietHours.to = 25; }, "hour"},
        BadScenario{"WithTooManyEvents", [](Scenario* s) { s->eventsPerHour = 360 * 255; },
                    "more events"},
        BadScenario{"WithTooMuchPayload", [](Scenario* s) { s->payloadBytesPerEntry = ~0ULL; },
                    "1 TiB"},
        BadScenario{"WithAnEventTypeForStream", [](Scenario* s) { s->streams[0].id = 0x80; },
                    "stream 128"},
        BadScenario{"WithAStreamTwice", [](Scenario* s) { s->streams[1].id = 1; },
                    "stream 1 is there twice"},
        BadScenario{"WithAHugeShare", [](Scenario* s) { s->streams[0].share = 1000001; }, "share"},
        BadScenario{"WithoutBlockSize", [](Scenario* s) { s->streams[0].blockSize = 0; },
                    "block size"},
        BadScenario{"WithAHugeBlockSize", [](Scenario* s) { s->streams[0].blockSize = 65536; },
                    "block size"},
        BadScenario{"WithAHugeTitle", [](Scenario* s) { s->title.assign(40000, 't'); }, "too long"},
        BadScenario{"ChangingAnUnknownStream",
                    [](Scenario* s) { s->headerChanges[0].streamId = 9; },
                    "stream 9, which is not there"}),
    [](const auto& instance) { return std::string(instance.param.name); });

TEST(WriteScenario, SaysWhereItCannotWrite) {
  const TempFolder folder;
  WriteFile(folder / "file", "in the way");
  EXPECT_THAT([&] { WriteScenario(folder / "file", SmallScenario()); },
              ThrowsMessage<std::runtime_error>("cannot create the folder " + (folder / "file")));
}

}  // namespace
