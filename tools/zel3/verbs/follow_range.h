#pragma once

#include <optional>

#include "verbs/time_range.h"

// Where following begins: at FROM or --since; nothing: at the end as it is now. Throws a usage
// error when both are given, or an end: following has none.
std::optional<ArchiveTime> FollowedFrom(const RangeOptions& options);
