#pragma once

#include <map>
#include <string>

// Everything in a folder and below it: by path, the kind, the rights, where a link leads, the bytes
// and the modification time. Folders' own times are left out.
using FolderSnapshot = std::map<std::string, std::string>;
FolderSnapshot SnapshotOf(const std::string& folder);
