#include "page/round_bins.h"

namespace {

constexpr ArchiveTime kSecond = kArchiveTimePerIndexTime;
constexpr ArchiveTime kMinute = 60 * kSecond;
constexpr ArchiveTime kHour = 60 * kMinute;
constexpr ArchiveTime kDay = 24 * kHour;

// The widest ones divide the whole range of times into a few bins.
constexpr ArchiveTime kWidths[] = {
    kSecond,     2 * kSecond, 5 * kSecond,  10 * kSecond, 15 * kSecond, 30 * kSecond, kMinute,
    2 * kMinute, 5 * kMinute, 10 * kMinute, 15 * kMinute, 30 * kMinute, kHour,        2 * kHour,
    3 * kHour,   6 * kHour,   12 * kHour,   kDay,         2 * kDay,     5 * kDay,     10 * kDay,
    30 * kDay,   100 * kDay,  1000 * kDay,  2000 * kDay,  10000 * kDay,
};

}  // namespace

ActivityBins RoundBins(ArchiveTime from, ArchiveTime to, std::uint32_t mostBins,
                       ArchiveTime narrowest) {
  ActivityBins bins = {};
  for (const ArchiveTime width : kWidths) {
    const ArchiveTime first = from / width * width;
    const std::uint64_t count = (to - first + width - 1) / width;
    bins = {first, first + count * width, width, static_cast<std::uint32_t>(count)};
    if (width >= narrowest && count <= mostBins) break;
  }
  return bins;
}

ArchiveTime RoundWidthUpTo(ArchiveTime most) {
  ArchiveTime widest = kWidths[0];
  for (const ArchiveTime width : kWidths) {
    if (width <= most) widest = width;
  }
  return widest;
}

std::vector<ArchiveTime> WiderRoundWidths(ArchiveTime width) {
  std::vector<ArchiveTime> widths;
  for (const ArchiveTime wider : kWidths) {
    if (wider >= width && wider % width == 0) widths.push_back(wider);
  }
  return widths;
}
