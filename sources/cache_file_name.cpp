#include "sources/cache_file_name.h"

#include <algorithm>
#include <map>

namespace {

constexpr char kTimeShape[] = "00.00.00 00-00-00 ";
constexpr char kUnfinishedMark[] = ".unfinished";

bool IsDigit(char character) {
  return '0' <= character && character <= '9';
}

// Takes ".unfinished" or ".unfinished-12" from the end of a text. False when neither stands there.
bool TakeUnfinished(std::string* text) {
  const std::size_t mark = text->rfind(kUnfinishedMark);
  if (mark == std::string::npos || mark == 0) return false;
  const std::string number = text->substr(mark + sizeof(kUnfinishedMark) - 1);
  const bool isNumber = number.size() > 1 && number[0] == '-' &&
                        std::all_of(number.begin() + 1, number.end(), IsDigit);
  if (!number.empty() && !isNumber) return false;
  text->resize(mark);
  return true;
}

}  // namespace

std::optional<CacheFileName> CacheFileNameFrom(const std::string& name) {
  static const std::map<std::string, CacheKind> kKinds{
      {".id3", CacheKind::kEntries}, {".hdr", CacheKind::kHeaders}, {".evt", CacheKind::kEvents}};
  constexpr std::size_t kSuffix = 4;
  if (name.size() <= kSuffix) return std::nullopt;
  const std::string suffix = name.substr(name.size() - kSuffix);
  const auto kind = kKinds.find(suffix);
  if (kind == kKinds.end()) return std::nullopt;
  CacheFileName parts{name.substr(0, name.size() - kSuffix), kind->second, false};
  parts.isUnfinished = TakeUnfinished(&parts.stem);
  // A number takes the place of a name that would be too long.
  const bool keepsSuffix = parts.isUnfinished && parts.stem.size() > kSuffix &&
                           parts.stem.compare(parts.stem.size() - kSuffix, kSuffix, suffix) == 0;
  if (keepsSuffix) parts.stem.resize(parts.stem.size() - kSuffix);
  return parts;
}

bool BeginsWithTime(const std::string& stem) {
  const std::string shape = kTimeShape;
  return stem.size() > shape.size() &&
         std::equal(shape.begin(), shape.end(), stem.begin(), [](char pattern, char character) {
           return pattern == '0' ? IsDigit(character) : pattern == character;
         });
}
