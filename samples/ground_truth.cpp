#include "samples/ground_truth.h"

#include <algorithm>
#include <tuple>

#include "blocks/stream_records.h"

void GroundTruthEntry::NoteActivity(std::uint8_t type, std::uint8_t level) {
  if ((level & kActivityMask) == 0) return;
  const auto doubled = static_cast<std::uint8_t>((level & kActivityMask) * 2);
  const auto end = activity.begin() + activityCount;
  const auto pair = std::find_if(
      activity.begin(), end, [type](const ActivityPair& used) { return used.streamId == type; });
  if (pair != end) {
    pair->level = std::max(pair->level, doubled);
  } else if (activityCount < kMostActivityPairs) {
    activity[activityCount++] = {type, doubled};
  }
}

bool operator==(const ActivityPair& left, const ActivityPair& right) {
  return left.streamId == right.streamId && left.level == right.level;
}

bool operator==(const GroundTruthEntry& left, const GroundTruthEntry& right) {
  return std::tie(left.position, left.indexTime, left.flagged, left.activityCount) ==
             std::tie(right.position, right.indexTime, right.flagged, right.activityCount) &&
         std::equal(left.activity.begin(), left.activity.begin() + left.activityCount,
                    right.activity.begin());
}

bool operator==(const GroundTruthEvent& left, const GroundTruthEvent& right) {
  return std::tie(left.indexTime, left.type, left.text) ==
         std::tie(right.indexTime, right.type, right.text);
}

bool operator==(const GroundTruthFile& left, const GroundTruthFile& right) {
  return std::tie(left.name, left.size, left.endIndexTime, left.headerPositions, left.streamIds,
                  left.entries, left.events) == std::tie(right.name, right.size, right.endIndexTime,
                                                         right.headerPositions, right.streamIds,
                                                         right.entries, right.events);
}

bool operator==(const GroundTruthGap& left, const GroundTruthGap& right) {
  return left.fromIndexTime == right.fromIndexTime && left.toIndexTime == right.toIndexTime;
}

bool operator==(const GroundTruth& left, const GroundTruth& right) {
  return left.files == right.files && left.gaps == right.gaps;
}
