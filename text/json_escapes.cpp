#include "text/json_escapes.h"

#include <fmt/format.h>

#include <string_view>

namespace {

// Neighbouring characters as UTF-8. They differ in the last byte only.
struct Range {
  std::string_view first;
  std::string_view last;
  unsigned firstCode;
};

constexpr Range kUnsafe[] = {
    {"\x7f", "\x7f", 0x7F},
    {"\xc2\x80", "\xc2\x9f", 0x80},
    {"\xd8\x9c", "\xd8\x9c", 0x61C},
    {"\xe2\x80\x8e", "\xe2\x80\x8f", 0x200E},
    {"\xe2\x80\xaa", "\xe2\x80\xae", 0x202A},
    {"\xe2\x81\xa6", "\xe2\x81\xa9", 0x2066},
};

// The range that holds the first character of a text; null for none.
const Range* RangeAt(std::string_view text) {
  for (const Range& range : kUnsafe) {
    const std::string_view character = text.substr(0, range.first.size());
    if (range.first <= character && character <= range.last) return &range;
  }
  return nullptr;
}

}  // namespace

std::string WithJsonEscapes(const std::string& json) {
  std::string escaped;
  for (std::string_view rest = json; !rest.empty();) {
    if (const Range* const range = RangeAt(rest)) {
      const std::size_t size = range->first.size();
      const auto number = static_cast<unsigned>(rest[size - 1] - range->first.back());
      escaped += fmt::format("\\u{:04x}", range->firstCode + number);
      rest.remove_prefix(size);
    } else {
      escaped += rest.front();
      rest.remove_prefix(1);
    }
  }
  return escaped;
}
