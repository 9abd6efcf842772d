#pragma once

#include <string>

// Where the host of a session finds its files. Empty: the host's own defaults.
struct HostOptions {
  std::string pluginFolder;
  std::string settingsFolder;
  std::string cacheFolder;  // of the reader; empty: beside the archive
  bool offerParser = true;
};
