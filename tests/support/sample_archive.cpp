#include "support/sample_archive.h"

const char kTerminatingMarker[] = "05b5b5b5000000000000000000";

Scenario SampleScenario() {
  Scenario scenario = DefaultScenario();
  scenario.lengthSeconds = 200;
  scenario.fileSeconds = 60;
  scenario.indexIntervalSeconds = 10;
  scenario.payloadBytesPerEntry = 300;
  scenario.eventsPerHour = 0;
  scenario.gaps = {{0, 30}};
  scenario.headerChanges = {{1, 30, scenario.streams.front().id, false}};
  return scenario;
}

std::uint64_t SampleTime(std::uint32_t second) {
  return ToArchiveTime(SampleScenario().startIndexTime + second);
}

std::string SampleFile(const std::string& folder, const GroundTruth& truth, std::size_t number) {
  return folder + "/" + truth.files.at(number).name;
}

ArchiveHeader OneStreamHeader() {
  ArchiveHeader header;
  header.title = "Title";
  header.streams = {{1, 1, "video", "Gate", "h264"}};
  return header;
}

Bytes Between(const Bytes& bytes, std::uint64_t begin, std::uint64_t end) {
  return Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(begin),
               bytes.begin() + static_cast<std::ptrdiff_t>(end));
}

Bytes operator+(const Bytes& left, const Bytes& right) {
  Bytes sum = left;
  sum.insert(sum.end(), right.begin(), right.end());
  return sum;
}

std::string Hex(const Bytes& bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string hex;
  for (const unsigned char byte : bytes) {
    hex += kDigits[byte >> 4];
    hex += kDigits[byte & 15];
  }
  return hex;
}
