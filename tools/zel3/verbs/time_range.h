#pragma once

#include <optional>
#include <string>

#include "blocks/units.h"
#include "client/timeline.h"

// Ranges of time for verbs. The command line fills a RangeOptions (AddTimeRange); the verb, when it
// runs, asks what it means.

// A range as a user gives it. At most two of these are independent.
struct RangeOptions {
  std::optional<ArchiveTime> from;    // FROM
  std::optional<ArchiveTime> to;      // TO
  std::optional<ArchiveTime> since;   // --since
  std::optional<ArchiveTime> until;   // --until
  std::optional<ArchiveTime> length;  // --for
};

// A missing end is open.
struct OpenRange {
  std::optional<ArchiveTime> from;
  std::optional<ArchiveTime> to;  // not part of the range
};

struct BoundedRange {
  ArchiveTime from = 0;
  ArchiveTime to = 0;  // not part of the range
};

// For verbs that can do without a range: both ends are open when none is given. Throws a usage
// error when an end is given twice, FROM has no other end, --for has none or two, or the range
// holds no time.
OpenRange RangeOf(const RangeOptions& options);

// For verbs that need both ends: throws a usage error also when one is missing.
BoundedRange BoundedRangeOf(const RangeOptions& options);

// What to add to the message that nothing is recorded at a time: how to write it, if it looks like
// seconds and the archives count milliseconds. Otherwise empty.
std::string SecondsHint(std::optional<ArchiveTime> time, ArchiveTime recordedFrom,
                        ArchiveTime recordedTo);
// For either end of a range.
std::string SecondsHint(const OpenRange& range, const Timeline& timeline);
