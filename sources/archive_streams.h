#pragma once

#include <optional>
#include <string>
#include <vector>

#include "archive/archive_headers.h"
#include "sources/source_facts.h"

// The streams that an archive of the source declares, in all its headers when it has an index.
// Nothing when they cannot be told. Throws Failure when the user interrupts.
std::optional<DeclaredStreams> StreamsOf(const std::string& archive, const SourceFacts& source);

// The streams that any archive of the source declares, ascending. Nothing unless the streams of all
// headers of every archive are known. Throws Failure when the user interrupts.
std::optional<std::vector<unsigned>> AllStreamsOf(const SourceFacts& source);
