#pragma once

#include <string>

#include "indexer/cache_names.h"

// Whether the cache files of an archive hold, byte by byte, what an indexing run over it would
// write. Reads the whole archive and collects its index in memory: for small archives. False when
// it cannot be read. Throws Failure when the user interrupts.
bool IsExactIndex(const CacheNames& names, const std::string& archive);
