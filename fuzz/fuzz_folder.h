#pragma once

#include <cstdlib>
#include <string>

#include "support/temp_folder.h"

// A folder for the files of a fuzz target, used again for each input. It also serves as the
// temporary and the settings folder of the process. In memory where the system has such a place.
// Nothing is remembered in the user's cache home.
class FuzzFolder {
 public:
  FuzzFolder() {
    setenv("TMPDIR", mFolder.Path().c_str(), 1);
    setenv("XDG_CONFIG_HOME", mFolder.Path().c_str(), 1);
    setenv("XDG_CACHE_HOME", "/dev/null/nowhere", 1);
  }

  std::string operator/(const std::string& name) const { return mFolder / name; }
  const std::string& Path() const { return mFolder.Path(); }

 private:
  // The folder is made where TMPDIR says, so that comes first.
  const bool mInMemory = UseMemory();
  const TempFolder mFolder;

  static bool UseMemory() { return FileExists("/dev/shm") && setenv("TMPDIR", "/dev/shm", 1) == 0; }
};
