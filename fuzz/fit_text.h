#pragma once

#include <cstdint>
#include <string>

// What output may hold: UTF-8 in which nothing turns the direction of writing, and no control
// stands but the ends of lines.

// The character at `*place`, which is moved after it; nothing that a text may hold where it is not
// UTF-8.
inline std::uint32_t NextCharacter(const std::string& text, std::size_t* place) {
  constexpr std::uint32_t kNone = 0;
  const auto first = static_cast<unsigned char>(text[(*place)++]);
  if (first < 0x80) return first;
  const unsigned more = first >= 0xF8 ? 9 : first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : 1;
  if (first < 0xC2 || *place + more > text.size()) return kNone;
  std::uint32_t code = first & (0x3FU >> more);
  for (unsigned i = 0; i < more; ++i) {
    const auto next = static_cast<unsigned char>(text[(*place)++]);
    if ((next & 0xC0U) != 0x80) return kNone;
    code = code << 6 | (next & 0x3FU);
  }
  constexpr std::uint32_t kSmallest[] = {0, 0x80, 0x800, 0x10000};
  const bool isSurrogate = code >= 0xD800 && code < 0xE000;
  return code < kSmallest[more] || isSurrogate || code > 0x10FFFF ? kNone : code;
}

inline bool IsFit(std::uint32_t code) {
  if (code < 0x20) return code == '\n';
  const bool isControl = code >= 0x7F && code < 0xA0;
  const bool turns = code == 0x61C || code == 0x200E || code == 0x200F ||
                     (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
  return !isControl && !turns;
}

inline bool IsFitText(const std::string& text) {
  for (std::size_t place = 0; place < text.size();) {
    if (!IsFit(NextCharacter(text, &place))) return false;
  }
  return true;
}
