#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "blocks/units.h"

// What a reader must answer about an archive: written down by the generator of the archive,
// compared with the reader by tests and tools. Grows with the index entries and events, never with
// the archive's bytes.
//
// Index times are seconds since 1970 UTC in archives made by this project.

// The largest activity level of one stream within one entry, doubled: 2-62.
struct ActivityPair {
  std::uint8_t streamId = 0;
  std::uint8_t level = 0;
};

// One index record and what is between it and the next.
struct GroundTruthEntry {
  static constexpr std::size_t kMostActivityPairs = 6;

  FilePosition position = 0;  // of the index record's marker
  IndexTime indexTime = 0;
  bool flagged = false;  // the record's flag is not zero
  std::uint8_t activityCount = 0;
  // Streams in the order in which they first showed activity; a seventh stream has no room.
  std::array<ActivityPair, kMostActivityPairs> activity;

  // Takes in a data block or event of the entry; `level` is 0-31.
  void NoteActivity(std::uint8_t type, std::uint8_t level);
};

// One event, at the time of the entry in which it stands.
struct GroundTruthEvent {
  IndexTime indexTime = 0;
  std::uint8_t type = 0;
  std::string text;
};

struct GroundTruthFile {
  std::string name;            // within the archive's folder
  std::uint64_t size = 0;      // bytes
  IndexTime endIndexTime = 0;  // when the recording ended: also the file's modification time
  std::vector<FilePosition> headerPositions;  // of their markers, ascending
  std::vector<std::uint8_t> streamIds;    // that any header of the file declares active, ascending
  std::vector<GroundTruthEntry> entries;  // in file order; never empty in a generated archive
  std::vector<GroundTruthEvent> events;   // in file order
};

// A stretch without recording, from the end of one file to the first entry of the next.
struct GroundTruthGap {
  IndexTime fromIndexTime = 0;
  IndexTime toIndexTime = 0;  // not part of the gap
};

struct GroundTruth {
  std::vector<GroundTruthFile> files;  // ascending in time
  std::vector<GroundTruthGap> gaps;    // ascending in time
};

bool operator==(const ActivityPair& left, const ActivityPair& right);
bool operator==(const GroundTruthEntry& left, const GroundTruthEntry& right);
bool operator==(const GroundTruthEvent& left, const GroundTruthEvent& right);
bool operator==(const GroundTruthFile& left, const GroundTruthFile& right);
bool operator==(const GroundTruthGap& left, const GroundTruthGap& right);
bool operator==(const GroundTruth& left, const GroundTruth& right);

// The ground truth as JSON, one line for each entry, event and gap:
//
// {
//   "files": [
//     {
//       "name": "cam01_2024-05-01_00-00-00.zel3",
//       "size": 5012345,
//       "endIndexTime": 1714531500,
//       "headerPositions": [0],
//       "streamIds": [1,2],
//       "entries": [
//         {"indexTime":1714521600,"position":77,"flagged":false,"activity":[[1,20],[2,6]]}
//       ],
//       "events": [
//         {"indexTime":1714521600,"type":128,"text":"Motion at the gate"}
//       ]
//     }
//   ],
//   "gaps": [
//     {"fromIndexTime":1714531500,"toIndexTime":1714533300}
//   ]
// }
//
// An activity pair is [stream id, doubled level]. Bytes of a text that are not UTF-8 become U+FFFD.
std::string GroundTruthToJson(const GroundTruth& truth);

// Throws std::runtime_error, saying what is wrong, for a text that is not of the shape above.
// Unknown keys are ignored.
GroundTruth GroundTruthFromJson(const std::string& json);
