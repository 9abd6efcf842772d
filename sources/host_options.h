#pragma once

#include <string>

#include "host/host_settings.h"

// Where the host of a session finds its files. Empty: the host's own defaults.
struct HostOptions {
  std::string pluginFolder;
  std::string settingsFolder;
  std::string cacheFolder;  // of the reader; empty: beside the archive
  bool offerParser = true;
  bool limitsIndexes = true;  // readers delete the oldest files of a folder of indexes that is full
};

HostSettings SettingsOf(const HostOptions& host);
