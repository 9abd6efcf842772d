#pragma once

#include <optional>
#include <string>
#include <vector>

#include "output/output_style.h"
#include "sources/cache_removal.h"
#include "sources/host_options.h"

struct CachesOptions {
  std::vector<std::string> sources;         // also look beside their archives
  std::optional<cache_removal::Wish> wish;  // none: nothing is removed
  bool onlyLooks = false;                   // only says what would be removed
  OutputFormat format = OutputFormat::kText;
};

// The verb caches: which indexes are kept where, and which are of use.
int RunCaches(const HostOptions& host, const CachesOptions& options);
