#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

// How bad a finding is, from the least to the worst.
enum class Severity { kNote, kWarning, kError };

// note, warning, error
const char* Name(Severity severity);
std::optional<Severity> SeverityFromName(const std::string& name);

// How many findings there are of each severity.
class SeverityCounts {
 public:
  void Add(Severity severity, std::uint64_t count) {
    mCounts[static_cast<std::size_t>(severity)] += count;
  }

  std::uint64_t Of(Severity severity) const { return mCounts[static_cast<std::size_t>(severity)]; }
  // Of this severity and worse ones.
  std::uint64_t From(Severity severity) const;

 private:
  std::array<std::uint64_t, 3> mCounts = {};
};
