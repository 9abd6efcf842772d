#pragma once

#include <cstdint>

#include "checkup/severity.h"
#include "system/failure.h"

// How a verb that looks for faults ends: damaged when it found something at least as bad as
// `failOn`, or when files had to be left out, however little was found in them.
inline ExitCode ExitBySeverity(const SeverityCounts& found, Severity failOn,
                               std::uint64_t leftOutFiles) {
  return found.From(failOn) + leftOutFiles == 0 ? kExitDone : kExitDamaged;
}
