#include "archive/index_fit.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "archive/archive_headers.h"
#include "archive/framing_follow.h"
#include "blocks/byte_cursor.h"
#include "blocks/index_record.h"

namespace {

constexpr std::size_t kMostEntriesLookedAt = 256;
constexpr std::size_t kMostHeadersLookedAt = 16;

IndexFit Other(std::string why) {
  IndexFit fit;
  fit.verdict = IndexFit::Verdict::kOther;
  fit.why = std::move(why);
  return fit;
}

// The number of the `i`-th of `chosen` things out of `count`: the first, the last, and those evenly
// spaced between them.
std::size_t Chosen(std::size_t i, std::size_t chosen, std::size_t count) {
  return chosen < 2 ? 0 : static_cast<std::size_t>(std::uint64_t{i} * (count - 1) / (chosen - 1));
}

bool HasEntryAt(const PlainFile& archive, FilePosition position, ArchiveTime time) {
  std::array<unsigned char, kIndexRecordSize> bytes;
  bool failed = false;
  return archive.ReadAt(position, bytes.data(), bytes.size(), &failed) == bytes.size() &&
         LoadLittleEndian<std::uint32_t>(bytes.data()) == kIndexMarker &&
         ToArchiveTime(DecodeIndexBody(bytes.data() + kMarkerSize).time) == time;
}

bool HasHeaderAt(const PlainFile& archive, FilePosition position) {
  std::array<unsigned char, kMarkerSize> bytes;
  bool failed = false;
  return archive.ReadAt(position, bytes.data(), bytes.size(), &failed) == bytes.size() &&
         LoadLittleEndian<std::uint32_t>(bytes.data()) == kHeaderMarker;
}

// The first entry that does not begin after the one before it; the number of entries when all do.
std::size_t FirstOutOfOrder(const KeptIndex& index) {
  for (std::size_t entry = 1; entry < index.Count(); ++entry) {
    if (index.PositionOf(entry) < index.PositionOf(entry - 1) + kIndexRecordSize) return entry;
  }
  return index.Count();
}

}  // namespace

IndexFit FitOf(const KeptIndex& index, const PlainFile& archive) {
  const std::size_t outOfOrder = FirstOutOfOrder(index);
  if (outOfOrder < index.Count())
    return Other(fmt::format("does not have entry {} before the next one", outOfOrder - 1));

  const std::size_t entries = std::min(index.Count(), kMostEntriesLookedAt);
  for (std::size_t i = 0; i < entries; ++i) {
    const std::size_t entry = Chosen(i, entries, index.Count());
    if (HasEntryAt(archive, index.PositionOf(entry), index.TimeOf(entry))) continue;
    return Other(fmt::format("lacks the entry {} that its index has at byte {}", entry,
                             index.PositionOf(entry)));
  }

  const std::size_t headers = std::min(index.Headers().size(), kMostHeadersLookedAt);
  for (std::size_t i = 0; i < headers; ++i) {
    const FilePosition position = index.Headers()[Chosen(i, headers, index.Headers().size())];
    if (HasHeaderAt(archive, position)) continue;
    return Other(fmt::format("lacks the header that its index has at byte {}", position));
  }
  const bool headersAscend = std::is_sorted(index.Headers().begin(), index.Headers().end());
  const bool startsWithHeader = HeaderAt(archive, 0).has_value();
  if (!headersAscend || (startsWithHeader && (index.Headers().empty() || index.Headers()[0] > 0)))
    return Other("has headers that its index lacks");

  const FollowedFraming before = FollowFraming(archive, 0, index.PositionOf(0), std::nullopt);
  if (before.index)
    return Other(fmt::format("has an entry at byte {} that its index lacks", *before.index));

  const std::size_t last = index.Count() - 1;
  const FollowedFraming after = FollowFraming(archive, index.PositionOf(last) + kIndexRecordSize,
                                              archive.Size(), index.HeaderFor(last));
  IndexFit fit;
  if (after.index) {
    fit.verdict = IndexFit::Verdict::kGrown;
    fit.why = fmt::format("goes on after what its index knows, at byte {}", *after.index);
  }
  return fit;
}
