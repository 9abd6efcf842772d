#include "archive.h"

#include <fstream>

namespace {

template <class Number>
std::string BytesOf(Number number) {
  return std::string(reinterpret_cast<const char*>(&number), sizeof(number));
}

std::string IndexRecord(std::uint32_t time) {
  return BytesOf(kIndexMarker) + BytesOf(time) + std::string(5, '\0');
}

std::string Data(std::uint8_t type, std::uint8_t level, const std::string& payload) {
  return BytesOf(static_cast<std::uint16_t>(payload.size())) + BytesOf(level) + BytesOf(type) +
         payload;
}

}  // namespace

Archive::Archive(std::uint32_t firstSecond, unsigned entries) : first(firstSecond) {
  using std::string_literals::operator""s;
  const std::string body = "Yard\0"s + BytesOf(kVideoStream) + "\1video\0Gate\0h264\0"s;
  bytes = BytesOf(kHeaderMarker) + BytesOf(static_cast<std::uint16_t>(4 + body.size() - 1)) +
          BytesOf(std::uint16_t{5}) + body;
  for (unsigned entry = 0; entry < entries; ++entry) {
    starts.push_back(bytes.size());
    bytes += IndexRecord(first + entry);
    bytes += Data(kVideoStream, static_cast<std::uint8_t>(entry % 32), std::string(700, 'v'));
    bytes += Data(kEvent, 0, "event " + std::to_string(entry));
  }
}

std::string Archive::Answer(unsigned entry, bool withHeader) const {
  return (withHeader ? bytes.substr(0, starts[0]) : std::string()) +
         bytes.substr(starts[entry], starts[entry + 1] - starts[entry]) + IndexRecord(0);
}

void Archive::Write(const std::string& path) const {
  std::ofstream(path, std::ios::binary) << bytes;
}
