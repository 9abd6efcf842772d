#pragma once

#include <cstdint>
#include <optional>
#include <string>

// Tells archives from other files, so that a reader is given nothing else: it empties the cache
// files of whatever it is given.
//
// An archive, however damaged, holds a header marker where readers look for it, or an index record
// near its start or its end.

// How much of a file a reader searches for its first header.
constexpr std::uint64_t kSearchedHeadBytes = 65535;

// Why a file is not for readers, as a clause that follows its name: "is not an archive: ...",
// "cannot be read: ...". Nothing for an archive. Throws Failure when no file handle is left.
std::optional<std::string> WhyNotForReaders(const std::string& path);
