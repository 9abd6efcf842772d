#pragma once

#include <sys/stat.h>

#include <optional>
#include <string>

#include "system/file_handle.h"

// What the system knows of a file, asked in the one way that copes with large files and late dates
// in the 32-bit build, too. Nothing when there is no such file or it cannot be told; errno says
// why.

enum class Links { kFollow, kNot };

std::optional<struct statx> StatusOf(const std::string& path, Links links = Links::kFollow);
std::optional<struct statx> StatusOf(const FileHandle& file);

// Whether both paths name one existing file, be it through links of either kind.
bool AreOneFile(const std::string& path, const std::string& other);
