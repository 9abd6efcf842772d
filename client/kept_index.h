#pragma once

#include <string>

#include "indexer/zel3_indexer.h"

// Loads the index of one archive as its cache keeps it. `cacheFolder`: as IndexPlace names it.
// False when there is none.
bool OpenKeptIndex(const std::string& archive, const std::string& cacheFolder, cZel3Indexer* index);
