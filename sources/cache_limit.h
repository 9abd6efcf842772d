#pragma once

#include <string>

// How much a reader lets the folder of its indexes hold, as the host's settings say. Looking
// changes nothing.
namespace cache_limit {

// Whether the settings say anything; else a reader writes its default into them.
bool IsSet(const std::string& settingsFolder);

// Whether a reader that looks for an index in `folder` deletes files there.
bool IsExceeded(const std::string& folder, const std::string& settingsFolder);

}  // namespace cache_limit
