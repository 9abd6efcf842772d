#pragma once

#include <cstdint>
#include <string>
#include <vector>

constexpr std::uint32_t kHeaderMarker = 0xB505B5B5;
constexpr std::uint32_t kIndexMarker = 0xB5B5B505;
constexpr std::uint8_t kVideoStream = 7;
constexpr std::uint8_t kEvent = 0x80;

// An archive of one video stream and one event in each entry, an entry a second.
struct Archive {
  Archive(std::uint32_t firstSecond, unsigned entries);

  std::uint64_t Time(unsigned entry) const { return std::uint64_t{1000} * (first + entry); }
  // What the reader has to send for an entry, with the header before it or without; not for the
  // last one.
  std::string Answer(unsigned entry, bool withHeader) const;
  void Write(const std::string& path) const;

  std::uint32_t first;
  std::string bytes;
  std::vector<std::size_t> starts;  // of entries in `bytes`; the first one ends the header
};
