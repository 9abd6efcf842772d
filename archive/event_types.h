#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// The types of events as people read and write them.
namespace event_types {

// motion, door-open and so on; 0x9c for a type that has no name.
std::string Name(std::uint8_t type);

// All names.
std::vector<std::string> Names();

// The type that a name or a number (144, 0x90) stands for; nothing for any other text.
std::optional<std::uint8_t> FromText(const std::string& text);

}  // namespace event_types
