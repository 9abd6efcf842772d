#pragma once

#include <string>

#include "checks.h"
#include "plugin.h"

// What the reader must answer, with small archives in `folder`, which is empty at first.
void CheckFolder(const Plugin& plugin, const std::string& folder, Checks& checks);
void CheckSingleFile(const Plugin& plugin, const std::string& folder, Checks& checks);
// No folder can be written to.
void CheckWithoutCaches(const Plugin& plugin, const std::string& folder, Checks& checks);
// A receiver deletes the reader while it is given the answer. REQUIRES: sends deliver at once.
void CheckDeletionInDelivery(const Plugin& plugin, const std::string& folder, Checks& checks);
// The plug-in comes and goes; so does its memory.
void CheckUnloading(const char* file, const std::string& folder, Checks& checks);
