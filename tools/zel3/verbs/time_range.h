#pragma once

#include <optional>
#include <string>

#include "blocks/units.h"
#include "client/timeline.h"

// Ranges of time as verbs take them. The command line fills a RangeOptions (AddTimeRange); when it
// runs, the verb asks for what that means.

// A range as a user gives it. No more than two of these say something new.
struct RangeOptions {
  std::optional<ArchiveTime> from;    // FROM
  std::optional<ArchiveTime> to;      // TO
  std::optional<ArchiveTime> since;   // --since
  std::optional<ArchiveTime> until;   // --until
  std::optional<ArchiveTime> length;  // --for
};

// An end that is not there is open.
struct OpenRange {
  std::optional<ArchiveTime> from;
  std::optional<ArchiveTime> to;  // not part of the range
};

struct BoundedRange {
  ArchiveTime from = 0;
  ArchiveTime to = 0;  // not part of the range
};

// For verbs that can do without: both ends are open when none is given. Throws a usage error when
// an end is given twice, FROM has no other end, --for has none or two, or the range holds no time.
OpenRange RangeOf(const RangeOptions& options);

// For verbs that need both ends: also without one there is a usage error.
BoundedRange BoundedRangeOf(const RangeOptions& options);

// What to add to a message that nothing is recorded at a time: how to write it, when it looks like
// seconds and the archives count milliseconds. Else nothing.
std::string SecondsHint(std::optional<ArchiveTime> time, ArchiveTime recordedFrom,
                        ArchiveTime recordedTo);
// For one of the ends of a range.
std::string SecondsHint(const OpenRange& range, const Timeline& timeline);
