#include "archive/archive_ends.h"

#include <algorithm>
#include <vector>

#include "archive/archive_headers.h"
#include "archive/framing_follow.h"
#include "blocks/byte_cursor.h"
#include "blocks/index_record.h"

namespace {

// Only archives with hardly any entries have longer ones.
constexpr std::uint64_t kLongestSearch = 16 << 20;
constexpr std::uint64_t kSearchedAtOnce = 65536;

// The last such marker that begins before `end` and not before `begin`.
std::optional<FilePosition> LastMarker(const PlainFile& file, std::uint32_t marker,
                                       FilePosition begin, FilePosition end) {
  std::vector<unsigned char> portion;
  while (end > begin) {
    const FilePosition from = end - begin > kSearchedAtOnce ? end - kSearchedAtOnce : begin;
    // A marker may begin in this portion and end in the one searched before.
    portion.resize(static_cast<std::size_t>(end - from) + kMarkerSize - 1);
    bool failed = false;
    const std::size_t size = file.ReadAt(from, portion.data(), portion.size(), &failed);
    if (failed) return std::nullopt;
    for (std::size_t i = size < kMarkerSize ? 0 : size - kMarkerSize + 1; i-- > 0;) {
      if (LoadLittleEndian<std::uint32_t>(portion.data() + i) == marker) return from + i;
    }
    end = from;
  }
  return std::nullopt;
}

std::optional<FilePosition> LastHeader(const PlainFile& file, FilePosition begin,
                                       FilePosition end) {
  while (const auto marker = LastMarker(file, kHeaderMarker, begin, end)) {
    if (HeaderAt(file, *marker)) return marker;
    end = *marker;
  }
  return std::nullopt;
}

std::optional<ArchiveTime> TimeAt(const PlainFile& file, FilePosition position) {
  unsigned char bytes[kIndexRecordSize];
  bool failed = false;
  if (file.ReadAt(position, bytes, sizeof(bytes), &failed) < sizeof(bytes) ||
      LoadLittleEndian<std::uint32_t>(bytes) != kIndexMarker) {
    return std::nullopt;
  }
  return ToArchiveTime(DecodeIndexBody(bytes + kMarkerSize).time);
}

// Follows by the first header of the file; where that leads nowhere, by the last one not before
// `begin`.
FollowedFraming FollowToEnd(const PlainFile& file, FilePosition from, FilePosition begin) {
  const FollowedFraming followed = FollowFraming(file, from, file.Size(), FilePosition{0});
  if (!followed.isDamaged) return followed;
  const auto header = LastHeader(file, begin, from);
  return header ? FollowFraming(file, from, file.Size(), header) : followed;
}

}  // namespace

std::optional<ArchiveEnds> EndsOf(const PlainFile& file) {
  const FollowedFraming front = FollowFraming(file, 0, file.Size(), std::nullopt);
  const auto start = front.index ? TimeAt(file, *front.index) : std::nullopt;
  if (!start || front.isDamaged || !HeaderAt(file, 0)) return std::nullopt;
  const FilePosition begin =
      std::max(*front.index, file.Size() - std::min(file.Size(), kLongestSearch));
  FilePosition searchTo = file.Size();
  while (const auto marker = LastMarker(file, kIndexMarker, begin, searchTo)) {
    // Payload bytes may look like a record; then the framing does not lead to the end.
    const FollowedFraming tail = FollowToEnd(file, *marker + kIndexRecordSize, begin);
    const auto end = TimeAt(file, *marker);
    if (end && !tail.index && !tail.isDamaged)
      return ArchiveEnds{*start, *end, tail.wholeUpTo < file.Size()};
    searchTo = *marker;
  }
  return std::nullopt;
}
