#include "page/shortened.h"

std::string Shortened(const std::string& text, std::size_t mostBytes) {
  if (text.size() <= mostBytes) return text;
  std::size_t size = mostBytes;
  const auto isWithinCharacter = [&text](std::size_t place) {
    return (static_cast<unsigned char>(text[place]) & 0xC0) == 0x80;
  };
  while (size > 0 && isWithinCharacter(size)) --size;
  return text.substr(0, size) + "…";
}
