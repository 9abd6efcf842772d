#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "blocks/units.h"
#include "samples/ground_truth.h"

// Describes a sample archive: a folder of recordings of one camera site. Index times are seconds
// since 1970 UTC, so archive times are milliseconds since then.

struct ScenarioStream {
  std::uint8_t id = 0;  // no event type, and not 0xB5, which would look like a marker
  bool active = true;   // an inactive stream is declared, but has no data
  std::string kind;     // video, sound, image, text or binary
  std::string name;     // for people
  std::string format;
  std::uint32_t share = 1;         // of an entry's payload, relative to the others; to 1000000
  std::uint32_t blockSize = 4096;  // largest payload of one data block: 1-65535 bytes
};

// Times of day in UTC at which little happens. May span midnight; equal hours mean never.
struct ScenarioQuietHours {
  unsigned from = 22;  // 0-24
  unsigned to = 6;     // 0-24, not part of the quiet hours
};

// No recording for a while after a file.
struct ScenarioGap {
  std::uint32_t afterFile = 0;  // number of the file, from 0
  std::uint32_t seconds = 0;
};

// A second header in the middle of a file: it switches a stream on or off until the end of that
// file.
struct ScenarioHeaderChange {
  std::uint32_t file = 0;          // number of the file, from 0
  std::uint32_t afterSeconds = 0;  // since the start of the file
  std::uint8_t streamId = 0;
  bool active = true;
};

struct Scenario {
  std::uint64_t seed = 1;
  std::string namePrefix = "cam01";  // letters, digits, '-', '_' and '.' only
  std::string title = "Sample archive";
  IndexTime startIndexTime = 1714521600;  // 2024-05-01T00:00:00Z
  std::uint32_t lengthSeconds = 86400;  // from the start to the end of the last file, gaps included
  std::uint32_t fileSeconds = 9900;     // recorded time in one file; the last file may be shorter
  std::uint32_t indexIntervalSeconds = 10;
  std::uint64_t payloadBytesPerEntry = 5000;  // mean, of all streams together; at most 1 TiB
  std::uint32_t eventsPerHour = 6;            // mean; a quarter of it in quiet hours
  ScenarioQuietHours quietHours;
  std::vector<ScenarioStream> streams;
  std::vector<ScenarioGap> gaps;
  std::vector<ScenarioHeaderChange> headerChanges;
};

// A day in 8 files with two gaps, 4 streams of which one is inactive, quiet hours at night, some
// events and a change of streams in the middle of the fourth file: about 40 MB.
Scenario DefaultScenario();

// Writes the archive files of `scenario` into `folder`, which is made when missing; existing files
// of the same names are replaced. The same scenario gives the same bytes in every build. Names tell
// when a file starts, as in cam01_2024-05-01_00-00-00.zel3; modification times tell when it ends.
//
// Memory follows the number of entries, not the bytes. Throws std::invalid_argument for a scenario
// that cannot be written, before anything is written, and std::runtime_error when writing fails;
// both say why in one line.
GroundTruth WriteScenario(const std::string& folder, const Scenario& scenario);
