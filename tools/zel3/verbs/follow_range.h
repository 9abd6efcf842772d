#pragma once

#include <optional>

#include "verbs/time_range.h"

// Where following begins: at FROM or --since; nothing means at the current end. Throws a usage
// error when both are given, or an end, because following has none.
std::optional<ArchiveTime> FollowedFrom(const RangeOptions& options);
