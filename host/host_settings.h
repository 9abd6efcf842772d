#pragma once

#include <map>
#include <string>

#include "host/host_export.h"

// Where a host keeps what its bricks ask for by name.
struct HostSettings {
  std::string settingsFolder;  // of the files of CIniFile; empty: settings_folder.h says which
  std::string pluginFolder;    // looked into first for plug-in files; empty: brick_plugins.h
  // What CIniFile returns for these keys, whatever the files hold.
  std::map<std::string, int> fixedValues = {};
};

// Bricks ask for settings and for other bricks by name only, so the host tells by the thread which
// settings are meant: while an object of this class lives, its `settings` are in force on the
// thread that made it.
//
// A pipeline holds one while it delivers and while one of its bricks is made. A host needs one only
// around its own calls of a brick, and to make pipelines that have its settings. Destroy it on the
// thread that made it, in reverse order; then the settings from before are in force again.
class BRICK_HOST_API SettingsInForce {
 public:
  // Borrows `settings`, which must not change meanwhile.
  explicit SettingsInForce(const HostSettings& settings);
  explicit SettingsInForce(HostSettings&&) = delete;
  ~SettingsInForce();
  SettingsInForce(const SettingsInForce&) = delete;
  SettingsInForce& operator=(const SettingsInForce&) = delete;

  // Those in force on this thread; the defaults (all empty) when there are none.
  static const HostSettings& Now();

 private:
  const HostSettings* const mBefore;
};
