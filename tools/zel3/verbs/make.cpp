#include "verbs/make.h"

#include <filesystem>
#include <stdexcept>

#include "json/json_line.h"
#include "output/output_file.h"
#include "output/tables.h"
#include "sources/archive_source.h"
#include "system/failure.h"
#include "text/shown_text.h"
#include "times/time_text.h"
#include "verbs/made_archives.h"

namespace {

IndexTime IndexTimeOf(ArchiveTime archiveTime) {
  const std::uint64_t indexTime = archiveTime / kArchiveTimePerIndexTime;
  if (ToArchiveTime(static_cast<IndexTime>(indexTime)) != archiveTime) {
    throw Failure("the start must be a whole second before the year 2106", kExitUsage);
  }
  return static_cast<IndexTime>(indexTime);
}

std::uint32_t SecondsPerFile(const Scenario& scenario, std::uint32_t fileCount) {
  if (fileCount == 0) throw Failure("a recording has at least one file", kExitUsage);
  std::uint64_t recordedSeconds = scenario.lengthSeconds;
  for (const ScenarioGap& gap : scenario.gaps) {
    if (gap.seconds > recordedSeconds)
      throw Failure("the gaps are longer than the recording", kExitUsage);
    recordedSeconds -= gap.seconds;
  }
  return static_cast<std::uint32_t>((recordedSeconds + (fileCount - 1)) / fileCount);
}

Scenario ScenarioFor(const MakeOptions& options) {
  Scenario scenario = DefaultScenario();
  if (options.lengthSeconds || options.fileCount) {
    // These belong to the files of the sample day.
    scenario.gaps.clear();
    scenario.headerChanges.clear();
  }
  scenario.seed = options.seed.value_or(scenario.seed);
  if (options.start) scenario.startIndexTime = IndexTimeOf(*options.start);
  scenario.lengthSeconds = options.lengthSeconds.value_or(scenario.lengthSeconds);
  scenario.indexIntervalSeconds = options.intervalSeconds.value_or(scenario.indexIntervalSeconds);
  scenario.payloadBytesPerEntry = options.payloadBytes.value_or(scenario.payloadBytesPerEntry);
  scenario.eventsPerHour = options.eventsPerHour.value_or(scenario.eventsPerHour);
  scenario.namePrefix = options.namePrefix.value_or(scenario.namePrefix);
  scenario.gaps = options.gaps.value_or(scenario.gaps);
  if (options.fileCount) scenario.fileSeconds = SecondsPerFile(scenario, *options.fileCount);
  return scenario;
}

void WriteTruth(const std::string& path, const GroundTruth& truth) {
  const std::string json = GroundTruthToJson(truth);
  OutputFile file(path);
  file.Write(std::vector<unsigned char>(json.begin(), json.end()));
  file.Finish();
}

ArchiveTime StartOf(const GroundTruthFile& file) {
  return ToArchiveTime(file.entries.front().indexTime);
}

// The time of the last entry, as other verbs show it.
ArchiveTime EndOf(const GroundTruthFile& file) {
  return ToArchiveTime(file.entries.back().indexTime);
}

void PrintAsJson(const GroundTruth& truth, TimeFormat times) {
  Json json;
  Json& files = json["files"] = Json::array();
  for (const GroundTruthFile& file : truth.files) {
    Json entry;
    entry["file"] = file.name;
    entry["fileNumber"] = files.size();
    entry["start"] = TimeJson(StartOf(file), times);
    entry["end"] = TimeJson(EndOf(file), times);
    entry["entries"] = file.entries.size();
    entry["bytes"] = file.size;
    files.push_back(std::move(entry));
  }
  Json& gaps = json["gaps"] = Json::array();
  for (std::size_t i = 1; i < truth.files.size(); ++i) {
    const GroundTruthFile& before = truth.files[i - 1];
    if (StartOf(truth.files[i]) == ToArchiveTime(before.endIndexTime)) continue;
    gaps.push_back({{"from", TimeJson(EndOf(before), times)},
                    {"to", TimeJson(StartOf(truth.files[i]), times)}});
  }
  PrintJsonLine(json);
}

void PrintAsText(const GroundTruth& truth, TimeFormat times) {
  std::vector<std::vector<std::string>> rows{{"file", "bytes", "entries", "start", "end"}};
  for (const GroundTruthFile& file : truth.files) {
    rows.push_back({Escaped(file.name), std::to_string(file.size),
                    std::to_string(file.entries.size()), TimeText(StartOf(file), times),
                    TimeText(EndOf(file), times)});
  }
  PrintTable(rows);
}

}  // namespace

int RunMake(const MakeOptions& options) {
  const Scenario scenario = ScenarioFor(options);
  if (!options.force && std::filesystem::is_directory(options.folder) &&
      !archive_source::Files(options.folder).empty()) {
    throw Failure(options.folder + " already holds archives; --force writes anyway");
  }
  GroundTruth truth;
  try {
    truth = MakeArchives(options.folder, scenario, options.truthFile);
  } catch (const std::invalid_argument& refusal) {
    throw Failure(refusal.what(), kExitUsage);
  }
  if (!options.truthFile.empty()) WriteTruth(options.truthFile, truth);
  if (options.style.format == OutputFormat::kJson) {
    PrintAsJson(truth, options.style.Times());
  } else {
    PrintAsText(truth, options.style.Times());
  }
  return kExitDone;
}
