#pragma once

#include <vector>

#include "blocks/commands.h"

// The ids of the streams of an archive in a list, ascending.
std::vector<unsigned> StreamIds(const TArchiveEntry& archive);
