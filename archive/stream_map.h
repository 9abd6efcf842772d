#pragma once

#include <vector>

#include "blocks/commands.h"

// The ids of the streams that an archive of a list has, ascending.
std::vector<unsigned> StreamIds(const TArchiveEntry& archive);
