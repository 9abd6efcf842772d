#pragma once

#include "verbs/index.h"

// Runs index --watch: builds the missing indexes of all files, and then of each file that is
// finished, until the user interrupts. Throws Failure; a usage error when options do not go
// together.
int WatchAndIndex(const HostOptions& host, const IndexOptions& options);
