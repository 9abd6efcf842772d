#include "verbs/time_range.h"

#include <limits>

#include "system/failure.h"

namespace {

constexpr ArchiveTime kLastTime = std::numeric_limits<ArchiveTime>::max();

void RefuseTwice(const std::optional<ArchiveTime>& positional,
                 const std::optional<ArchiveTime>& option, const char* names) {
  if (positional && option) throw Failure(std::string(names) + " give the same end", kExitUsage);
}

// Adds the other end of a range, which never goes beyond the limits of time.
void AddOtherEnd(ArchiveTime length, OpenRange* range) {
  if (range->from.has_value() == range->to.has_value())
    throw Failure("--for needs one end of the range, FROM, --since or --until", kExitUsage);
  if (range->from) {
    range->to = length > kLastTime - *range->from ? kLastTime : *range->from + length;
  } else {
    range->from = length > *range->to ? 0 : *range->to - length;
  }
}

}  // namespace

OpenRange RangeOf(const RangeOptions& options) {
  RefuseTwice(options.from, options.since, "FROM and --since");
  RefuseTwice(options.to, options.until, "TO and --until");
  OpenRange range;
  range.from = options.from ? options.from : options.since;
  range.to = options.to ? options.to : options.until;
  if (options.length) AddOtherEnd(*options.length, &range);
  if (options.from && !range.to)
    throw Failure("FROM needs TO, --until or --for; for an open end use --since TIME", kExitUsage);
  if (range.from.value_or(0) >= range.to.value_or(kLastTime))
    throw Failure("the range must begin before it ends", kExitUsage);
  return range;
}

BoundedRange BoundedRangeOf(const RangeOptions& options) {
  const OpenRange range = RangeOf(options);
  if (!range.from || !range.to) {
    throw Failure("the range needs two ends: FROM and TO, or two of --since, --until and --for",
                  kExitUsage);
  }
  return {*range.from, *range.to};
}

std::string SecondsHint(std::optional<ArchiveTime> time, ArchiveTime recordedFrom,
                        ArchiveTime recordedTo) {
  constexpr ArchiveTime kYear1980 = 315532800000;
  constexpr ArchiveTime kDay = 24 * 3600 * 1000;
  // Times that, as milliseconds, are long after 1970 are milliseconds.
  const bool areMilliseconds = recordedFrom >= kYear1980;
  if (!time || !areMilliseconds || *time > (recordedTo + kDay) / 1000) return "";
  if (*time * 1000 + kDay < recordedFrom) return "";
  const std::string text = std::to_string(*time);
  return "; " + text + " looks like seconds: write @" + text;
}

std::string SecondsHint(const OpenRange& range, const Timeline& timeline) {
  const std::string hint = SecondsHint(range.from, timeline.Start(), timeline.End());
  return hint.empty() ? SecondsHint(range.to, timeline.Start(), timeline.End()) : hint;
}
