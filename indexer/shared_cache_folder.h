#pragma once

#include <QString>
#include <array>
#include <optional>

// The names that it may have, the preferred one first.
std::array<QString, 2> SharedCacheFolderNames();

// The cache folder within the temporary folder, where other users may already have put something
// under its name. `temporary` is an existing folder.
//
// A folder that others could have filled is refused, and a name with the user's number is used
// instead, under the same tests; nothing when that is refused as well. A new folder is its owner's
// alone. Where no folder can be made and others cannot write, it is the temporary folder itself.
// Without a trailing "/". Throws std::bad_alloc.
std::optional<QString> SharedCacheFolder(const QString& temporary);
