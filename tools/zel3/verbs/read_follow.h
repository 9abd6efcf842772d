#pragma once

#include "verbs/read.h"

// Runs read --follow: writes what is recorded from the entry at or before a time on, or from the
// last entry, and then each record as it is written, until the user interrupts; then finishes the
// output. Throws Failure; a usage error when options do not go together.
int FollowBytes(const ReadOptions& options);
