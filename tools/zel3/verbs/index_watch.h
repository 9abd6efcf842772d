#pragma once

#include "verbs/index.h"

// What index --watch does: builds the missing indexes of all files, and then of each one that is
// finished, until the user interrupts. Throws Failure, a usage error when options do not fit.
int WatchAndIndex(const HostOptions& host, const IndexOptions& options);
