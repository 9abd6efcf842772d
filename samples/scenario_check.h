#pragma once

#include "parser/framing.h"
#include "samples/scenario.h"

// Throws std::invalid_argument, saying why in one line, for a scenario that cannot be written.
void CheckScenario(const Scenario& scenario);

// The header of a file that has the streams of the scenario.
ArchiveHeader HeaderOf(const Scenario& scenario);
