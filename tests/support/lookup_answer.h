#pragma once

#include <cstdint>
#include <iosfwd>

#include "indexer/zel3_indexer.h"

// What is asked for besides a time.
enum class Ask { kAtOrBefore, kForward, kBackward };
constexpr Ask kAllAsks[] = {Ask::kAtOrBefore, Ask::kForward, Ask::kBackward};

// The answer to a lookup, in a form that can be written in a table.
struct Answer {
  bool found = false;
  std::int32_t file = -1;
  std::int32_t entry = -1;
  std::uint64_t time = 0;  // archive time

  bool operator==(const Answer& other) const {
    return found == other.found && file == other.file && entry == other.entry && time == other.time;
  }
};
std::ostream& operator<<(std::ostream& stream, const Answer& answer);
std::ostream& operator<<(std::ostream& stream, Ask ask);

constexpr Answer kNothing{};
constexpr Answer At(std::int32_t file, std::int32_t entry, std::uint64_t time) {
  return Answer{true, file, entry, time};
}

Answer Look(cZel3Indexer& index, std::uint64_t time, Ask ask);
// With any kind of lookup.
Answer LookWithType(cZel3Indexer& index, std::uint64_t time, std::uint32_t type, bool forward);
