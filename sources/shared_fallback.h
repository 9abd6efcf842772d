#pragma once

#include <string>

// A reader that cannot leave an index where it is told falls back to a folder under the system's
// temporary folder, which all users share and whose oldest files it deletes. The program decides by
// itself where indexes lie, and takes that folder away from its readers.
namespace shared_fallback {

// The temporary folder as the user has set it.
const std::string& TemporaryFolder();

// From now on readers of this process find no temporary folder. The first call changes the
// environment, so it comes before other threads start; later ones find it changed.
void Forbid();

}  // namespace shared_fallback
