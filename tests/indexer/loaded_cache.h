#pragma once

#include "cache_test.h"
#include "support/plain_cache.h"

// Cache files that are loaded and looked up as plain rules say.
class LoadedCache : public CacheTest {
 protected:
  // Loads them in one go and by the plain rules, and compares what is loaded, and every lookup at
  // many places, among them those of the entries `near` and around it.
  void ExpectLoadedByThePlainRules(const Bytes& id3, const Bytes& hdr, const Bytes& evt,
                                   std::uint64_t end = 9000, int near = 0);
};
