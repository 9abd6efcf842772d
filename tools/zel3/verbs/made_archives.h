#pragma once

#include <string>

#include "samples/ground_truth.h"
#include "samples/scenario.h"

// Writes the archives of a scenario aside, and puts them into `folder`, which is made when missing,
// only when all are whole. What stands there already stays as it was, unless it is an archive of
// the same name that was made in the same way, or the index of one. Throws Failure when something
// else is in the way of an archive or of its index, when the folder cannot be written or the user
// interrupts, and std::invalid_argument for a scenario that cannot be written. `truthFile`, unless
// empty, is where the ground truth will be written: not onto an archive.
GroundTruth MakeArchives(const std::string& folder, const Scenario& scenario,
                         const std::string& truthFile);
