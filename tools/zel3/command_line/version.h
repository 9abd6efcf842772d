#pragma once

#include "sources/host_options.h"

// What --version prints: the version of the program, the plug-in files that it would load, and the
// Qt that it runs with.
int RunVersion(const HostOptions& host);
