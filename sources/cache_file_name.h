#pragma once

#include <optional>
#include <string>

#include "sources/cache_shape.h"

// What the name of a cache file says; what stands under that name may still be a stranger.
struct CacheFileName {
  std::string stem;  // what the files of one index have in common: cam01, 24.05.01 14-03-09 cam01
  CacheKind kind = CacheKind::kEntries;
  bool isUnfinished = false;  // a file that is not whole yet: cam01.id3.unfinished.id3
};

// Nothing for any other name.
std::optional<CacheFileName> CacheFileNameFrom(const std::string& name);

// Whether a stem begins with the time of an archive, as all do in a folder of indexes.
bool BeginsWithTime(const std::string& stem);
