#pragma once

#include "blocks/units.h"

// Throws a usage error unless a range of time that a user has asked for holds any time.
void CheckTimeRange(ArchiveTime from, ArchiveTime to);
