#include "verbs/part_size.h"

#include <charconv>
#include <limits>
#include <map>

#include "times/length_argument.h"

namespace {

std::optional<std::uint64_t> BytesOfUnit(const std::string& unit) {
  static const std::map<std::string, std::uint64_t> units{
      {"kB", 1000},
      {"MB", 1000 * 1000},
      {"GB", 1000 * 1000 * 1000},
      {"TB", std::uint64_t{1000} * 1000 * 1000 * 1000},
      {"KiB", 1 << 10},
      {"MiB", 1 << 20},
      {"GiB", 1 << 30},
      {"TiB", std::uint64_t{1} << 40},
  };
  const auto found = units.find(unit);
  if (found == units.end()) return std::nullopt;
  return found->second;
}

std::optional<std::uint64_t> BytesFromText(const std::string& text) {
  std::uint64_t count = 0;
  const auto [unit, failure] = std::from_chars(text.data(), text.data() + text.size(), count);
  if (failure != std::errc() || count == 0) return std::nullopt;
  const auto bytes = BytesOfUnit(text.substr(static_cast<std::size_t>(unit - text.data())));
  if (!bytes || count > std::numeric_limits<std::uint64_t>::max() / *bytes) return std::nullopt;
  return count * *bytes;
}

}  // namespace

std::optional<PartSize> PartSizeFromText(const std::string& text) {
  if (text.find_first_not_of("0123456789") == std::string::npos) return std::nullopt;
  PartSize size;
  if (const auto bytes = BytesFromText(text)) {
    size.bytes = *bytes;
    return size;
  }
  const std::optional<ArchiveTime> length = LengthFromText(text);
  if (!length || *length == 0) return std::nullopt;
  size.time = *length;
  return size;
}
