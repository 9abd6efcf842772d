#pragma once

#include <string>

#include "host/host_export.h"

// The folder of the files that CIniFile reads and writes.
namespace settings_folder {

// An empty path brings back the default: XDG_CONFIG_HOME when it is an absolute path, else .config
// in the home folder.
BRICK_HOST_API void Set(const std::string& path);

// Without a trailing "/". Empty when there is no such folder to be named.
BRICK_HOST_API std::string Get();

}  // namespace settings_folder
