#pragma once

#include <string>

#include "samples/ground_truth.h"
#include "samples/scenario.h"

// Writes the archives of a scenario elsewhere first, and moves them into `folder`, which is created
// if missing, only when all are complete. Existing files stay as they were, except archives of the
// same name that were made in the same way, and their indexes. Throws Failure when something else
// is in the way of an archive or its index, when the folder cannot be written or when the user
// interrupts, and std::invalid_argument for a scenario that cannot be written. `truthFile`, unless
// empty, is where the ground truth will be written; it must not be one of the archives.
GroundTruth MakeArchives(const std::string& folder, const Scenario& scenario,
                         const std::string& truthFile);
