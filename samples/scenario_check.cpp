#include "samples/scenario_check.h"

#include <algorithm>
#include <limits>
#include <set>
#include <stdexcept>

namespace {

// The latest modification time that 32-bit builds can set.
constexpr IndexTime kLatestEnd = std::numeric_limits<std::int32_t>::max();
constexpr std::uint64_t kMostPayloadBytesPerEntry = std::uint64_t{1} << 40;
constexpr std::uint32_t kLargestShare = 1000000;
// Indexes count the events of an entry in one byte.
constexpr std::uint64_t kMostEventsPerEntry = 255;

void Require(bool condition, const std::string& otherwise) {
  if (!condition) throw std::invalid_argument(otherwise);
}

bool IsPlainNameCharacter(char character) {
  return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
         (character >= '0' && character <= '9') || character == '-' || character == '_' ||
         character == '.';
}

void CheckName(const std::string& prefix) {
  constexpr std::size_t kLongestPrefix = 200;
  Require(!prefix.empty() && prefix.size() <= kLongestPrefix,
          "the name prefix is empty or too long");
  Require(prefix.front() != '-' && prefix.front() != '.', "the name prefix starts with '-' or '.'");
  Require(std::all_of(prefix.begin(), prefix.end(), IsPlainNameCharacter),
          "the name prefix has characters other than letters, digits, '-', '_' and '.'");
}

void CheckTimes(const Scenario& scenario) {
  Require(scenario.lengthSeconds > 0, "the length is 0");
  Require(scenario.fileSeconds > 0, "the length of a file is 0");
  Require(scenario.indexIntervalSeconds > 0, "the index interval is 0");
  Require(scenario.startIndexTime <= kLatestEnd &&
              scenario.lengthSeconds <= kLatestEnd - scenario.startIndexTime,
          "the archive ends after 2038-01-19");
  Require(scenario.quietHours.from <= 24 && scenario.quietHours.to <= 24,
          "a quiet hour is above 24");
  Require(std::uint64_t{scenario.eventsPerHour} * scenario.indexIntervalSeconds / 3600 <
              kMostEventsPerEntry,
          "there are more events than an entry can hold");
}

void CheckStreams(const Scenario& scenario) {
  Require(scenario.payloadBytesPerEntry <= kMostPayloadBytesPerEntry,
          "the payload of an entry is above 1 TiB");
  std::set<std::uint8_t> ids;
  for (const ScenarioStream& stream : scenario.streams) {
    const std::string name = "stream " + std::to_string(stream.id);
    Require(IsWritableStreamId(stream.id),
            name + ": the id is an event type or the byte of markers");
    Require(ids.insert(stream.id).second, name + " is there twice");
    Require(stream.share <= kLargestShare, name + ": the share is above 1000000");
    Require(stream.blockSize >= 1 && stream.blockSize <= kLargestPayload,
            name + ": the block size is not 1 to 65535");
  }
  Require(EncodeHeaderRecord(HeaderOf(scenario)).has_value(),
          "the title and the texts of the streams hold a NUL or are too long");
  for (const ScenarioHeaderChange& change : scenario.headerChanges) {
    Require(
        ids.count(change.streamId) != 0,
        "a header change names stream " + std::to_string(change.streamId) + ", which is not there");
  }
}

}  // namespace

void CheckScenario(const Scenario& scenario) {
  CheckName(scenario.namePrefix);
  CheckTimes(scenario);
  CheckStreams(scenario);
}

ArchiveHeader HeaderOf(const Scenario& scenario) {
  ArchiveHeader header;
  header.title = scenario.title;
  for (const ScenarioStream& stream : scenario.streams) {
    header.streams.push_back({stream.id, static_cast<std::uint8_t>(stream.active ? 1 : 0),
                              stream.kind, stream.name, stream.format});
  }
  return header;
}
