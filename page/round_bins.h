#pragma once

#include <cstdint>
#include <vector>

#include "blocks/units.h"
#include "client/activity_bins.h"

// Bins of a width that people count in: seconds, minutes, hours, days. They start at multiples of
// the width, so the first may start before the range, and the last end after it.

// The smallest width that gives at most `mostBins` and is not below `narrowest`; if no width gives
// so few, the widest one. REQUIRES: `from` is less than `to`.
ActivityBins RoundBins(ArchiveTime from, ArchiveTime to, std::uint32_t mostBins,
                       ArchiveTime narrowest = 0);

// The largest width that is not above `most`; the narrowest one if all are.
ArchiveTime RoundWidthUpTo(ArchiveTime most);

// The width and all wider ones that are multiples of it, ascending.
std::vector<ArchiveTime> WiderRoundWidths(ArchiveTime width);
