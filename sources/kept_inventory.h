#pragma once

#include <string>
#include <vector>

#include "sources/kept_caches.h"
#include "sources/source_facts.h"

// What the program keeps of archives, and whose it is.
struct KeptInventory {
  std::vector<KeptCache> caches;           // by place, folder and name
  std::vector<std::string> notLookedInto;  // why a place is not: sentences for people
};

// What lies beside the archives of these sources, in `cacheFolder` (checked, or empty), and in this
// user's cache home. Which archive an index in the cache home is of can be told when it is of one
// of the sources' folders, or when a link to its archive lies with it; that its archive is gone,
// when the folder of that archive exists and is not empty. Changes nothing. Throws Failure when no
// file handle is left or the user interrupts.
KeptInventory FindKeptCaches(const std::string& cacheFolder,
                             const std::vector<SourceFacts>& sources);
