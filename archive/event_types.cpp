#include "archive/event_types.h"

#include <fmt/format.h>

#include <charconv>

namespace event_types {

namespace {

struct NamedType {
  std::uint8_t type;
  const char* name;
};

constexpr NamedType kNamedTypes[] = {
    {0x80, "motion"},     {0x81, "motion-end"},  {0x82, "door-open"},
    {0x83, "door-close"}, {0x90, "plate"},       {0x91, "plate-unreadable"},
    {0xFA, "note"},       {0xFE, "camera-lost"}, {0xFF, "camera-back"},
};

}  // namespace

std::string Name(std::uint8_t type) {
  for (const NamedType& named : kNamedTypes) {
    if (named.type == type) return named.name;
  }
  return fmt::format("0x{:02X}", type);
}

std::vector<std::string> Names() {
  std::vector<std::string> names;
  for (const NamedType& named : kNamedTypes) names.push_back(named.name);
  return names;
}

std::optional<std::uint8_t> FromText(const std::string& text) {
  for (const NamedType& named : kNamedTypes) {
    if (named.name == text) return named.type;
  }
  const bool hexadecimal = text.compare(0, 2, "0x") == 0;
  const char* const begin = text.data() + (hexadecimal ? 2 : 0);
  const char* const end = text.data() + text.size();
  std::uint8_t type = 0;
  const auto [parsedTo, failure] = std::from_chars(begin, end, type, hexadecimal ? 16 : 10);
  if (failure != std::errc() || parsedTo != end) return std::nullopt;
  return type;
}

}  // namespace event_types
