#include "samples/ground_truth.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::ThrowsMessage;

std::vector<std::pair<int, int>> PairsOf(const GroundTruthEntry& entry) {
  std::vector<std::pair<int, int>> pairs;
  for (std::size_t i = 0; i < entry.activityCount; ++i) {
    pairs.emplace_back(entry.activity[i].streamId, entry.activity[i].level);
  }
  return pairs;
}

TEST(EntryActivity, IsTheLargestLevelOfEachStreamDoubled) {
  GroundTruthEntry entry;
  entry.NoteActivity(5, 3);
  entry.NoteActivity(2, 31);
  entry.NoteActivity(5, 7);
  entry.NoteActivity(5, 4);
  EXPECT_THAT(PairsOf(entry), ElementsAre(std::pair(5, 14), std::pair(2, 62)));
}

TEST(EntryActivity, StartsWithTheFirstLevelAboveZero) {
  GroundTruthEntry entry;
  entry.NoteActivity(5, 0);
  EXPECT_THAT(PairsOf(entry), IsEmpty());
  entry.NoteActivity(2, 1);
  entry.NoteActivity(5, 1);
  EXPECT_THAT(PairsOf(entry), ElementsAre(std::pair(2, 2), std::pair(5, 2)));
}

TEST(EntryActivity, HasRoomForSixStreams) {
  GroundTruthEntry entry;
  for (std::uint8_t stream = 1; stream <= 7; ++stream) entry.NoteActivity(stream, 1);
  entry.NoteActivity(6, 2);
  EXPECT_THAT(PairsOf(entry), ElementsAre(std::pair(1, 2), std::pair(2, 2), std::pair(3, 2),
                                          std::pair(4, 2), std::pair(5, 2), std::pair(6, 4)));
}

GroundTruth SmallTruth() {
  GroundTruthEntry first;
  first.indexTime = 100;
  first.position = 77;
  GroundTruthEntry second;
  second.indexTime = 4000000000;
  second.position = 5000000000;
  second.flagged = true;
  second.NoteActivity(1, 10);
  second.NoteActivity(2, 3);
  GroundTruthFile file;
  file.name = "cam.zel3";
  file.size = 5000000100;
  file.endIndexTime = 4000000010;
  file.headerPositions = {0, 3000};
  file.streamIds = {1, 2};
  file.entries = {first, second};
  file.events = {{4000000000, 0x80, "Gate \"north\"\n"}};
  GroundTruth truth;
  truth.files = {file};
  truth.gaps = {{10, 20}};
  return truth;
}

TEST(GroundTruthJson, HasTheShapeOfItsDescription) {
  EXPECT_EQ(GroundTruthToJson(SmallTruth()), R"({
  "files": [
    {
      "file": "cam.zel3",
      "bytes": 5000000100,
      "endIndexTime": 4000000010,
      "headerPositions": [0,3000],
      "streamIds": [1,2],
      "entries": [
        {"indexTime":100,"position":77,"flagged":false,"activity":[]},
        {"indexTime":4000000000,"position":5000000000,"flagged":true,"activity":[[1,20],[2,6]]}
      ],
      "events": [
        {"indexTime":4000000000,"type":128,"text":"Gate \"north\"\n"}
      ]
    }
  ],
  "gaps": [
    {"fromIndexTime":10,"toIndexTime":20}
  ]
}
)");
}

TEST(GroundTruthJson, IsReadBack) {
  EXPECT_EQ(GroundTruthFromJson(GroundTruthToJson(SmallTruth())), SmallTruth());
  EXPECT_EQ(GroundTruthFromJson(GroundTruthToJson(GroundTruth())), GroundTruth());
}

TEST(GroundTruthJson, ReplacesBytesThatAreNotUtf8) {
  GroundTruth truth = SmallTruth();
  truth.files[0].events[0].text = "M\xFCller";
  EXPECT_EQ(GroundTruthFromJson(GroundTruthToJson(truth)).files[0].events[0].text,
            "M\xEF\xBF\xBDller");
}

TEST(GroundTruthJson, PassesOverKeysItDoesNotKnow) {
  EXPECT_EQ(GroundTruthFromJson(R"({"made by": "hand", "files": [], "gaps": []})"), GroundTruth());
}

TEST(GroundTruthJson, RefusesOtherTexts) {
  const char* const entryStart =
      R"({"files": [{"file": "a", "bytes": 1, "endIndexTime": 1, "headerPositions": [], )"
      R"("streamIds": [], "events": [], "entries": [)";
  const std::string cases[] = {
      "",
      "[]",
      "{",
      R"({"files": []})",
      R"({"files": {}, "gaps": []})",
      R"({"files": [], "gaps": [{"fromIndexTime": -1, "toIndexTime": 1}]})",
      R"({"files": [], "gaps": [{"fromIndexTime": 4294967296, "toIndexTime": 1}]})",
      R"({"files": [], "gaps": [{"fromIndexTime": 1.5, "toIndexTime": 1}]})",
      std::string(entryStart) +
          R"({"indexTime": 1, "position": 1, "flagged": 1, "activity": []}]}], "gaps": []})",
      std::string(entryStart) +
          R"({"indexTime": 1, "position": 1, "flagged": true, "activity": [[1]]}]}], "gaps": []})",
      std::string(entryStart) +
          R"({"indexTime": 1, "position": 1, "flagged": true, )"
          R"("activity": [[1,2],[2,2],[3,2],[4,2],[5,2],[6,2],[7,2]]}]}], "gaps": []})",
  };
  for (const std::string& json : cases) {
    EXPECT_THAT([&] { GroundTruthFromJson(json); },
                ThrowsMessage<std::runtime_error>(HasSubstr("not a ground truth: ")))
        << json;
  }
}

TEST(GroundTruthComparison, SeesEveryDifference) {
  const GroundTruth truth = SmallTruth();
  std::vector<GroundTruth> others(9, truth);
  others[0].gaps.clear();
  others[1].files[0].name = "b";
  others[2].files[0].entries[0].position = 78;
  others[3].files[0].entries[1].flagged = false;
  others[4].files[0].entries[1].activity[1].level = 8;
  others[5].files[0].entries[1].activityCount = 1;
  others[6].files[0].events[0].text = "";
  others[7].files[0].headerPositions = {0};
  others[8].files[0].size = 0;
  for (const GroundTruth& other : others) EXPECT_FALSE(other == truth) << GroundTruthToJson(other);
}

}  // namespace
