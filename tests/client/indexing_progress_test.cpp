#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <vector>

#include "client/timeline.h"
#include "sources/given_sources.h"
#include "support/environment_value.h"
#include "support/folder_reader.h"
#include "support/sample_archive.h"

namespace {

// What the user would see if each state were shown.
class NotedProgress : public Progress {
 public:
  void Show(const WorkState& state) override {
    if (state.unit == WorkState::Unit::kBytes) states.push_back(state);
  }
  void Clear() override {}

  std::vector<WorkState> states;
};

class IndexingProgress : public testing::Test {
 protected:
  std::vector<WorkState> IndexBy(unsigned jobs) {
    const EnvironmentValue temporary("TMPDIR", std::getenv("TMPDIR"));
    ServedSource source(HostOfThisBuild(), mFolder.Path(), MissingIndexes::kBuild,
                        [](const std::string& /*notice*/) {});
    NotedProgress progress;
    Timeline(&source, &progress).IndexAll({jobs, true});
    return progress.states;
  }

  // Of states that come one after the other: nothing goes back, and all of the work is done.
  static void ExpectToRise(const std::vector<WorkState>& states) {
    ASSERT_FALSE(states.empty());
    for (std::size_t i = 1; i < states.size(); ++i) {
      EXPECT_LE(states[i - 1].done, states[i].done);
      EXPECT_LE(states[i - 1].number, states[i].number);
      EXPECT_EQ(states[i - 1].all, states[i].all);
    }
    EXPECT_EQ(states.back().done, states.back().all);
  }

  const TempFolder mFolder;
  const GroundTruth mTruth = WriteScenario(mFolder.Path(), SampleScenario());
};

}  // namespace

TEST_F(IndexingProgress, IsThatOfEachFile) {
  const std::vector<WorkState> states = IndexBy(1);
  ExpectToRise(states);
  std::uint64_t before = 0;
  for (std::size_t number = 1; number <= mTruth.files.size(); ++number) {
    const std::string name = mTruth.files[number - 1].name;
    SCOPED_TRACE(name);
    std::vector<WorkState> ofFile;
    for (const WorkState& state : states) {
      if (state.name == name) ofFile.push_back(state);
    }
    ASSERT_FALSE(ofFile.empty());
    for (const WorkState& state : ofFile) {
      EXPECT_EQ(state.number, number);
      EXPECT_EQ(state.count, 3U);
    }
    EXPECT_TRUE(std::any_of(ofFile.begin(), ofFile.end(), [&](const WorkState& state) {
      return before < state.done && state.done < ofFile.back().done;
    })) << "something of it is done, and not all";
    before = ofFile.back().done;
  }
}

TEST_F(IndexingProgress, IsThatOfAllFilesWhenSeveralProcessesWork) {
  const std::vector<WorkState> states = IndexBy(2);
  ExpectToRise(states);
  for (const WorkState& state : states) {
    EXPECT_EQ(state.what, "indexing");
    EXPECT_EQ(state.name, "");
    EXPECT_EQ(state.count, 3U);
  }
  EXPECT_EQ(states.back().number, 3U) << "so many are done";
  EXPECT_TRUE(std::any_of(states.begin(), states.end(), [](const WorkState& state) {
    return 0 < state.done && state.done < state.all;
  }));
}
