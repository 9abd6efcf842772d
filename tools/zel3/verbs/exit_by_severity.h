#pragma once

#include <cstdint>

#include "checkup/severity.h"
#include "system/failure.h"

// How a verb ends that looks for what is wrong: damaged when something was found that is at least
// as bad as `failOn`, or when files had to be left out, however little was found in them.
inline ExitCode ExitBySeverity(const SeverityCounts& found, Severity failOn,
                               std::uint64_t leftOutFiles) {
  return found.From(failOn) + leftOutFiles == 0 ? kExitDone : kExitDamaged;
}
