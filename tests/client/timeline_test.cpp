#include "client/timeline.h"

#include <gmock/gmock.h>

#include <set>

#include "archive/recorded_events.h"
#include "client/activity_bins.h"
#include "sources/given_sources.h"
#include "support/environment_value.h"
#include "support/folder_reader.h"
#include "support/sample_archive.h"

bool operator==(const FoundEntry& one, const FoundEntry& other) {
  return one.fileNumber == other.fileNumber && one.entryNumber == other.entryNumber &&
         one.time == other.time;
}

void PrintTo(const FoundEntry& found, std::ostream* out) {
  *out << "file " << found.fileNumber << " entry " << found.entryNumber << " time " << found.time;
}

namespace {

class NoProgress : public Progress {
 public:
  void Show(const WorkState& /*state*/) override {}
  void Clear() override {}
};

// What the readers of single archives answer is joined to what a reader of the folder answers.
class JoinedAnswers : public testing::Test {
 protected:
  JoinedAnswers() : mTruth(WriteScenario(mFolder.Path(), SmallScenario())) {
    ServedSource source(HostOfThisBuild(), mFolder.Path(), MissingIndexes::kBuild, Ignore);
    Timeline(&source, &mProgress).IndexAll();
  }

  static Scenario SmallScenario() {
    Scenario scenario = SampleScenario();
    scenario.payloadBytesPerEntry = 200;
    scenario.eventsPerHour = 1440;
    return scenario;
  }

  static void Ignore(const std::string& /*notice*/) {}

  // All times at, right before and right after an entry.
  std::vector<ArchiveTime> Times() const {
    std::vector<ArchiveTime> times;
    for (const GroundTruthFile& file : mTruth.files) {
      for (const GroundTruthEntry& entry : file.entries) {
        const ArchiveTime time = ToArchiveTime(entry.indexTime);
        times.insert(times.end(), {time - 1, time, time + 1, time + 5000});
      }
    }
    return times;
  }

  bool IsAfterTheFirstEntryOfItsFile(ArchiveTime time) const {
    for (const GroundTruthFile& file : mTruth.files) {
      if (ToArchiveTime(file.entries[1].indexTime) <= time &&
          time <= ToArchiveTime(file.entries.back().indexTime)) {
        return true;
      }
    }
    return false;
  }

  template <class Ask>
  auto Joined(Ask ask) {
    const EnvironmentValue temporary("TMPDIR", std::getenv("TMPDIR"));
    ServedSource source(HostOfThisBuild(), mFolder.Path(), MissingIndexes::kLeaveOut, Ignore);
    Timeline timeline(&source, &mProgress);
    return ask(&source, &timeline);
  }

  const TempFolder mFolder;
  const EnvironmentValue mTemporary{"TMPDIR", std::getenv("TMPDIR")};
  NoProgress mProgress;
  const GroundTruth mTruth;
};

std::vector<unsigned> HighestOf(const std::vector<BinLevels>& bins) {
  std::vector<unsigned> levels;
  for (const BinLevels& bin : bins) levels.push_back(bin.highest);
  return levels;
}

}  // namespace

TEST_F(JoinedAnswers, ATimeBelongsToTheSameEntry) {
  for (const Lookup lookup : {Lookup::kAtOrBefore, Lookup::kNext, Lookup::kPrevious}) {
    const auto joined = Joined([&](ServedSource*, Timeline* timeline) {
      std::vector<std::optional<FoundEntry>> found;
      for (const ArchiveTime time : Times()) found.push_back(timeline->Find(time, lookup));
      return found;
    });
    FolderReader reader(mFolder.Path());
    std::size_t i = 0;
    for (const ArchiveTime time : Times()) {
      SCOPED_TRACE(testing::Message() << time << " by " << static_cast<int>(lookup));
      const std::optional<FoundEntry> found = joined[i++];
      // Looking back from a gap, or from the start of a file, a reader names other entries.
      if (lookup == Lookup::kPrevious && !IsAfterTheFirstEntryOfItsFile(time)) continue;
      EXPECT_EQ(found, reader.Find(time, lookup));
    }
  }
}

TEST_F(JoinedAnswers, TheFirstEntryFromATimeOnIsTheOneThatAReaderPreviews) {
  const auto joined = Joined([&](ServedSource*, Timeline* timeline) {
    std::vector<std::optional<FoundEntry>> found;
    for (const ArchiveTime time : Times()) found.push_back(timeline->FirstFrom(time));
    return found;
  });
  FolderReader reader(mFolder.Path());
  const std::vector<ArchiveTime> times = Times();
  EXPECT_FALSE(reader.Preview(times[0])) << "a time before all archives";
  for (std::size_t i = 1; i < times.size(); ++i) EXPECT_EQ(joined[i], reader.Preview(times[i]));
}

TEST_F(JoinedAnswers, ArchivesAreNumberedAndTimedAlike) {
  const auto joined =
      Joined([](ServedSource*, Timeline* timeline) { return timeline->Archives(); });
  const std::vector<ListedArchive> listed = FolderReader(mFolder.Path()).List();
  ASSERT_EQ(joined.size(), listed.size());
  for (std::size_t i = 0; i < listed.size(); ++i) {
    EXPECT_EQ(listed[i].fileNumber, i);
    EXPECT_EQ(joined[i].start, listed[i].startTime);
    EXPECT_EQ(joined[i].end, ToArchiveTime(mTruth.files[i].entries.back().indexTime));
    EXPECT_GE(listed[i].endTime, joined[i].end) << "readers let a file end some seconds later";
  }
}

TEST_F(JoinedAnswers, EventsAreTheSame) {
  const auto joined = Joined([](ServedSource* source, Timeline* timeline) {
    std::vector<std::string> events;
    for (const ServedArchive& archive : timeline->Archives()) {
      ForEachEvent(archive.path, source->Facts().CacheOf(archive.path),
                   [&events](const RecordedEvent& event) { events.push_back(event.text); });
    }
    return events;
  });
  std::vector<std::string> ofReader;
  for (const RecordedEvent& event : FolderReader(mFolder.Path()).Events())
    ofReader.push_back(event.text);
  EXPECT_FALSE(joined.empty());
  EXPECT_EQ(joined, ofReader);
}

// A reader counts an entry for the bin after the one in which it stands, and puts what would come
// after the last bin into that one, so the first and the last of its bins are of no use. Where
// entries are longer than bins, but bins longer than a unit of time, it leaves bins empty that an
// entry covers.
TEST_F(JoinedAnswers, LevelsAreTheSame) {
  const ArchiveTime start = ToArchiveTime(mTruth.files.front().entries.front().indexTime);
  for (const ArchiveTime width : {500, 10000, 17000, 60000}) {
    SCOPED_TRACE(width);
    const ActivityBins bins = {start, start + 12 * width, width, 12};
    const std::vector<std::uint8_t> streams{1, 2, 3};
    const auto joined = Joined([&](ServedSource*, Timeline* timeline) {
      ActivityMeasure measure(streams, bins, timeline);
      measure.AddAll();
      return measure.Levels();
    });
    FolderReader reader(mFolder.Path());
    for (std::size_t i = 0; i < streams.size(); ++i) {
      std::vector<unsigned> levels = reader.Activity(bins.from, bins.Start(14), 14, streams[i]);
      levels.erase(levels.begin());
      levels.pop_back();
      EXPECT_EQ(HighestOf(joined[i]), levels);
    }
  }
}

// Two cameras that recorded at the same time, with files of the same names.
TEST_F(JoinedAnswers, TheFilesOfSeveralFoldersAreOneTimeline) {
  Scenario later = SmallScenario();
  later.startIndexTime += 5;
  WriteScenario(mFolder / "other", later);
  const FoundSources found = FindSources({{mFolder / "other", mFolder.Path()}, false, true});
  ASSERT_EQ(found.sources.size(), 1U);
  ServedSource source(HostOfThisBuild(), found.sources[0], MissingIndexes::kBuild, Ignore);
  Timeline timeline(&source, &mProgress);
  std::vector<ArchiveTime> starts;
  std::set<std::string> names;
  for (const ServedArchive& archive : timeline.Archives()) {
    starts.push_back(archive.start);
    names.insert(source.Facts().NameOf(archive.path));
  }
  EXPECT_THAT(starts, testing::ElementsAre(SampleTime(0), SampleTime(5), SampleTime(90),
                                           SampleTime(95), SampleTime(150), SampleTime(155)));
  EXPECT_EQ(names.size(), 6U) << "the folders tell them apart";
  // An entry each ten seconds in both.
  const auto atTwelve = timeline.Find(SampleTime(12), Lookup::kAtOrBefore);
  ASSERT_TRUE(atTwelve);
  EXPECT_EQ(*atTwelve, (FoundEntry{0, 1, SampleTime(10)}));
  const auto atSeventeen = timeline.Find(SampleTime(17), Lookup::kAtOrBefore);
  ASSERT_TRUE(atSeventeen);
  EXPECT_EQ(*atSeventeen, (FoundEntry{1, 1, SampleTime(15)}));
}
