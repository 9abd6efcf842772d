#include "verbs/follow_range.h"

#include "system/failure.h"

std::optional<ArchiveTime> FollowedFrom(const RangeOptions& options) {
  if (options.to || options.until || options.length) {
    throw Failure("--follow goes on until it is interrupted: it takes FROM or --since, and no end",
                  kExitUsage);
  }
  if (options.from && options.since)
    throw Failure("FROM and --since give the same end", kExitUsage);
  return options.from ? options.from : options.since;
}
