#include "verbs/time_range.h"

#include "system/failure.h"

void CheckTimeRange(ArchiveTime from, ArchiveTime to) {
  if (from >= to) throw Failure("FROM must be before TO", kExitUsage);
}
