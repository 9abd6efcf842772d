#pragma once

#include <string>
#include <vector>

#include "sources/source_facts.h"

// Throws a usage error when writing to `output` would replace a file of the source, even through
// links of either kind, or a cache file of one of its archives.
void RefuseToHarm(const SourceFacts& source, const std::string& output);
// The same for archives whose indexes are beside them.
void RefuseToHarm(const std::vector<std::string>& archives, const std::string& output);

// Throws a usage error when a new archive at `output` would share its cache files with an archive
// of the source: their names are that of the archive with another suffix.
void RefuseToShareIndex(const SourceFacts& source, const std::string& output);
void RefuseToShareIndex(const std::vector<std::string>& archives, const std::string& output);
