#include "system/passing_name.h"

#include <algorithm>
#include <string_view>

namespace passing_name {

namespace {

// ASCII, whatever the locale.
bool IsLetterOrDigit(char character) {
  return ('0' <= character && character <= '9') || ('A' <= character && character <= 'Z') ||
         ('a' <= character && character <= 'z');
}

// Whether a name is made after a pattern, with or without the suffix of an archive.
bool IsMadeAfter(std::string_view pattern, std::string_view name) {
  const std::string_view start = pattern.substr(0, pattern.find("XXXXXX"));
  const std::string_view suffix = name.substr(std::min(name.size(), pattern.size()));
  return name.size() >= pattern.size() && name.substr(0, start.size()) == start &&
         std::all_of(name.begin() + start.size(), name.begin() + pattern.size(), IsLetterOrDigit) &&
         (suffix.empty() || suffix == ".zel3");
}

}  // namespace

bool Is(const std::string& name) {
  return IsMadeAfter(kPattern, name);
}

bool IsEarlier(const std::string& name) {
  return IsMadeAfter(".zel3-XXXXXX", name);
}

}  // namespace passing_name
