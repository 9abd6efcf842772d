#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include "samples/random_numbers.h"
#include "samples/recording_writer.h"
#include "samples/scenario.h"
#include "samples/scenario_check.h"
#include "times/utc_time.h"

namespace {

void SetModificationTime(const std::string& path, std::uint32_t seconds) {
  timespec times[2] = {};
  times[0].tv_sec = times[1].tv_sec = static_cast<time_t>(seconds);
  if (utimensat(AT_FDCWD, path.c_str(), times, 0) != 0) {
    throw std::runtime_error("cannot set the time of " + path);
  }
}

std::uint64_t GapSecondsAfter(const Scenario& scenario, std::uint32_t fileNumber) {
  std::uint64_t seconds = 0;
  for (const ScenarioGap& gap : scenario.gaps) {
    if (gap.afterFile == fileNumber) seconds += gap.seconds;
  }
  return seconds;
}

}  // namespace

GroundTruth WriteScenario(const std::string& folder, const Scenario& scenario) {
  CheckScenario(scenario);
  std::error_code failed;
  std::filesystem::create_directories(folder, failed);
  if (failed) throw std::runtime_error("cannot create the folder " + folder);

  GroundTruth truth;
  RandomNumbers random(scenario.seed);
  // Seconds, wider than an index time so that no sum overflows.
  const std::uint64_t end = std::uint64_t{scenario.startIndexTime} + scenario.lengthSeconds;
  std::uint64_t start = scenario.startIndexTime;
  for (std::uint32_t number = 0; start < end; ++number) {
    const auto fileStart = static_cast<IndexTime>(start);
    const auto fileEnd =
        static_cast<IndexTime>(std::min<std::uint64_t>(end, start + scenario.fileSeconds));
    const std::string name = scenario.namePrefix + "_" + FileNameTime(fileStart) + ".zel3";
    const std::string path = folder + "/" + name;
    GroundTruthFile file =
        RecordingWriter(scenario, random, number, path).Write(fileStart, fileEnd);
    file.name = name;
    SetModificationTime(path, fileEnd);
    truth.files.push_back(std::move(file));

    start = fileEnd + GapSecondsAfter(scenario, number);
    if (start > fileEnd && start < end)
      truth.gaps.push_back({fileEnd, static_cast<IndexTime>(start)});
  }
  return truth;
}
