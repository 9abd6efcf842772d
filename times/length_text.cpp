#include "times/length_text.h"

#include <fmt/format.h>

namespace {

constexpr ArchiveTime kMillisecondsPerSecond = 1000;

}  // namespace

std::string LengthInSeconds(ArchiveTime length, TimeFormat format) {
  if (format == TimeFormat::kInteger) return std::to_string(length);
  return fmt::format("{}.{:03} s", length / kMillisecondsPerSecond,
                     length % kMillisecondsPerSecond);
}

std::string LengthInHours(ArchiveTime length, TimeFormat format) {
  if (format == TimeFormat::kInteger) return std::to_string(length);
  const std::uint64_t seconds = length / kMillisecondsPerSecond;
  return fmt::format("{}:{:02}:{:02}", seconds / 3600, seconds / 60 % 60, seconds % 60);
}
