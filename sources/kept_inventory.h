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
// user's cache home. Whose an index of the cache home is can be told when it is of one of the
// sources' folders, or a link to its archive lies there; that its archive is gone, when the folder
// of that archive is there and not empty. Changes nothing. Throws Failure when no file handle is
// left or the user interrupts.
KeptInventory FindKeptCaches(const std::string& cacheFolder,
                             const std::vector<SourceFacts>& sources);
