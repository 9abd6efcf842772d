#pragma once

#include <string>
#include <vector>

#include "system/notices.h"

// A reader that builds an index holds a lock on its .id3 file until the index is whole.
namespace index_lock {

// Waits until no other process builds the index of the archive in `folder` (empty: beside it), and
// tells the user. Whether it had to wait. Throws Failure when the user interrupts.
bool WaitForOthers(const std::string& archive, const std::string& folder, const OnNotice& onNotice);

// Whether somebody holds the lock of a file; false for what cannot be opened or is no plain file.
bool IsLocked(const std::string& path);

// Whether somebody holds the lock of an .id3 file; false for any other file.
bool IsHeld(const std::string& entriesFile);

}  // namespace index_lock
