#pragma once

#include <string>

#include "host/host_export.h"

// The folder of the files that CIniFile reads and writes.
namespace settings_folder {

// The one of the settings in force on this thread. Where they name none: XDG_CONFIG_HOME when it is
// an absolute path, else .config in the home folder; the environment is read at each call. Without
// a trailing "/". Empty when there is no such folder to be named.
BRICK_HOST_API std::string Get();

}  // namespace settings_folder
