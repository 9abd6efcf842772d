#pragma once

#include <cstdint>
#include <vector>

#include "blocks/units.h"
#include "client/activity_bins.h"

// Bins of a width that people count in: seconds, minutes, hours, days. They start at multiples of
// it, so that the first one may start before the range, and the last one end after it.

// Of the widths that leave at most `mostBins` the least one that is not below `narrowest`; where
// none leaves so few the widest one. REQUIRES: `from` is below `to`.
ActivityBins RoundBins(ArchiveTime from, ArchiveTime to, std::uint32_t mostBins,
                       ArchiveTime narrowest = 0);

// The widest of the widths that is not above `most`; the narrowest one where all are.
ArchiveTime RoundWidthUpTo(ArchiveTime most);

// The width and all wider ones that are multiples of it, ascending.
std::vector<ArchiveTime> WiderRoundWidths(ArchiveTime width);
