#pragma once

#include "verbs/read.h"

// What read --follow does: writes what is recorded from the entry at or before a time on, or from
// the last entry, and then each record as it is written, until the user interrupts; then the output
// is finished. Throws Failure, a usage error when options do not fit.
int FollowBytes(const ReadOptions& options);
