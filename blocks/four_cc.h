#pragma once

#include <cstdint>
#include <string>

// A tag of four ASCII characters whose bytes, in memory order, spell the code.
using Tag = std::uint32_t;

constexpr Tag FourCc(const char (&code)[5]) {
  return static_cast<Tag>(static_cast<unsigned char>(code[0])) |
         static_cast<Tag>(static_cast<unsigned char>(code[1])) << 8 |
         static_cast<Tag>(static_cast<unsigned char>(code[2])) << 16 |
         static_cast<Tag>(static_cast<unsigned char>(code[3])) << 24;
}

// The four characters of a tag; empty for 0, which is used as "no tag".
inline std::string FourCcText(Tag tag) {
  if (tag == 0) return std::string();
  const char text[] = {static_cast<char>(tag & 0xFF), static_cast<char>(tag >> 8 & 0xFF),
                       static_cast<char>(tag >> 16 & 0xFF), static_cast<char>(tag >> 24)};
  return std::string(text, sizeof(text));
}
