#include "archive/framing_follow.h"

#include <algorithm>
#include <vector>

#include "archive/archive_headers.h"
#include "archive/record_steps.h"
#include "parser/marker_search.h"
#include "system/file_data.h"
#include "system/interruption.h"

namespace {

// The first marker from `from` on; `end` when there is none.
FilePosition NextMarker(const PlainFile& file, FilePosition from, FilePosition end) {
  std::vector<unsigned char> portion(65536);
  while (end - from >= kMarkerSize) {
    interruption::Check();
    const auto data = NextData(file.Handle(), from, end);
    if (!data) break;
    // No byte of a marker is zero.
    from = std::max(from, data->from);
    if (end - from < kMarkerSize) break;
    bool failed = false;
    const auto wanted =
        static_cast<std::size_t>(std::min<std::uint64_t>(portion.size(), end - from));
    const std::size_t size = file.ReadAt(from, portion.data(), wanted, &failed);
    if (const auto marker = FindMarker(portion.data(), size)) return from + *marker;
    if (size < wanted) break;
    from += size - (kMarkerSize - 1);
  }
  return end;
}

}  // namespace

FollowedFraming FollowFraming(const PlainFile& file, FilePosition from, FilePosition end,
                              std::optional<FilePosition> header) {
  FollowedFraming followed;
  followed.wholeUpTo = from;
  KnownTypes known;  // none before the first header
  const auto inForce = header ? HeaderAt(file, *header) : std::nullopt;
  if (inForce) known = TypesKnownBy(*inForce);
  while (from < end) {
    RecordSteps steps(file, from, end);
    bool isLost = false;
    while (!isLost) {
      const RecordSteps::Record record = steps.Next();
      switch (record.kind) {
        case RecordSteps::Kind::kIndex:
          followed.index = record.position;
          return followed;
        case RecordSteps::Kind::kEnd:
          return followed;
        case RecordSteps::Kind::kCutOff:
          if (!record.type || known[*record.type]) return followed;
          isLost = true;
          break;
        case RecordSteps::Kind::kData:
          isLost = !known[*record.type];
          break;
        case RecordSteps::Kind::kHeader: {
          const auto found = HeaderAt(file, record.position);
          isLost = !found;
          if (found) known = TypesKnownBy(*found);
          break;
        }
        case RecordSteps::Kind::kImpossible:
          isLost = true;
          break;
      }
      if (isLost) {
        followed.isDamaged = true;
        from = NextMarker(file, record.position + 1, end);
      } else {
        followed.wholeUpTo = record.position + record.size;
      }
    }
  }
  return followed;
}

bool HoldsMarker(const PlainFile& file, FilePosition from, FilePosition end) {
  return NextMarker(file, from, end) < end;
}
