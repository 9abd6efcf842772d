#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "blocks/units.h"
#include "output/output_style.h"
#include "samples/scenario.h"

struct MakeOptions {
  std::string folder;
  std::string truthFile;  // empty: none is written
  bool force = false;     // even where there are archives already
  OutputStyle style;

  // What differs from the sample day.
  std::optional<std::uint64_t> seed;
  std::optional<ArchiveTime> start;
  std::optional<std::uint32_t> lengthSeconds;
  std::optional<std::uint32_t> fileCount;
  std::optional<std::uint32_t> intervalSeconds;
  std::optional<std::uint64_t> payloadBytes;  // mean, of one entry
  std::optional<std::uint32_t> eventsPerHour;
  std::optional<std::string> namePrefix;
  std::optional<std::vector<ScenarioGap>> gaps;
};

// The verb make: writes a folder of sample archives.
int RunMake(const MakeOptions& options);
