#pragma once

#include <string>

#include "host/host_export.h"

// The folder of the files that CIniFile reads and writes.
namespace settings_folder {

// The one that the settings in force on this thread name. When they name none: XDG_CONFIG_HOME if
// that is an absolute path, else .config in the home folder; the environment is read at each call.
// Without a trailing "/". Empty when no folder can be named.
BRICK_HOST_API std::string Get();

}  // namespace settings_folder
