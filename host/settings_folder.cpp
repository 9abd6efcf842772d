#include "host/settings_folder.h"

#include <cstdlib>

#include "host/host_settings.h"

namespace settings_folder {
namespace {

// The value of an environment variable; empty unless it is an absolute path.
std::string AbsolutePathIn(const char* variable) {
  const char* const value = std::getenv(variable);
  return value != nullptr && value[0] == '/' ? value : std::string();
}

std::string DefaultFolder() {
  const std::string configured = AbsolutePathIn("XDG_CONFIG_HOME");
  if (!configured.empty()) return configured;
  const std::string home = AbsolutePathIn("HOME");
  return home.empty() ? home : home + "/.config";
}

}  // namespace

std::string Get() {
  std::string folder = SettingsInForce::Now().settingsFolder;
  if (folder.empty()) folder = DefaultFolder();
  while (!folder.empty() && folder.back() == '/') folder.pop_back();
  return folder;
}

}  // namespace settings_folder
