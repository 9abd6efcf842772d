#pragma once

#include <vector>

#include "client/activity_bins.h"

// How many thousandths of each bin were recorded, cut off, so that only a whole bin has 1000; what
// is recorded by RecordedBins, `recorded`, has at least one. Gaps between files are found whatever
// their length, those within a file when they are longer than a tenth of a bin, or a hundredth with
// up to 1000 bins. Throws what the client throws.
std::vector<unsigned> RecordedThousandths(const ActivityBins& bins,
                                          const std::vector<bool>& recorded, IndexedSource* source);
