#include "host/settings_folder.h"

#include <cstdlib>

namespace settings_folder {
namespace {

std::string& ChosenFolder() {
  static std::string folder;
  return folder;
}

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

void Set(const std::string& path) {
  ChosenFolder() = path;
}

std::string Get() {
  std::string folder = ChosenFolder().empty() ? DefaultFolder() : ChosenFolder();
  while (!folder.empty() && folder.back() == '/') folder.pop_back();
  return folder;
}

}  // namespace settings_folder
