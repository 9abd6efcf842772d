#pragma once

#include <sys/stat.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "system/file_handle.h"

// What the system knows of a file, asked in the one way that copes with large files and late dates
// in the 32-bit build, too. Nothing when there is no such file or it cannot be told; errno says
// why.

enum class Links { kFollow, kNot };

std::optional<struct statx> StatusOf(const std::string& path, Links links = Links::kFollow);
std::optional<struct statx> StatusOf(const FileHandle& file);

// Tells a file from all others, also from a later one that has got its inode, where the file system
// knows when files were made.
using InodeId = std::array<std::uint64_t, 3>;
InodeId InodeOf(const struct statx& status);

// Whether both paths name one existing file, even through links of either kind.
bool AreOneFile(const std::string& path, const std::string& other);
