#include "checkup/severity.h"

const char* Name(Severity severity) {
  switch (severity) {
    case Severity::kError:
      return "error";
    case Severity::kWarning:
      return "warning";
    case Severity::kNote:
      break;
  }
  return "note";
}

std::optional<Severity> SeverityFromName(const std::string& name) {
  for (const Severity severity : {Severity::kNote, Severity::kWarning, Severity::kError}) {
    if (name == Name(severity)) return severity;
  }
  return std::nullopt;
}

std::uint64_t SeverityCounts::From(Severity severity) const {
  std::uint64_t count = 0;
  for (auto i = static_cast<std::size_t>(severity); i < mCounts.size(); ++i) count += mCounts[i];
  return count;
}
