#include "archive/lost_header.h"

#include <limits>
#include <vector>

#include "archive/sound_stretches.h"
#include "blocks/byte_cursor.h"
#include "parser/framing.h"

namespace {

constexpr std::uint64_t kOtherInEntries = 20;  // one in so many
constexpr std::uint64_t kMostLookedAt = 10000;

// Zeros decode as inactive streams without names.
bool DeclaresAStream(const ArchiveHeader& header) {
  for (const StreamDescriptor& stream : header.streams) {
    if (stream.active != 0 && !stream.kind.empty()) return true;
  }
  return false;
}

// The texts must end where an index record stands right after the header of an intact file. The
// marker and the two words before them are known without being read.
std::optional<ArchiveHeader> WhatIsLeft(const PlainFile& file, FilePosition firstIndex) {
  constexpr std::size_t kShortest = kMarkerSize + kShortestHeaderLength + 1;
  if (firstIndex < kShortest) return std::nullopt;
  const FilePosition length = firstIndex - kMarkerSize - 1;
  if (length > static_cast<FilePosition>(std::numeric_limits<std::int16_t>::max()))
    return std::nullopt;
  std::vector<unsigned char> body(static_cast<std::size_t>(firstIndex) - kMarkerSize);
  bool failed = false;
  if (file.ReadAt(kMarkerSize, body.data(), body.size(), &failed) < body.size())
    return std::nullopt;
  StoreLittleEndian(body.data(), static_cast<std::int16_t>(length));
  StoreLittleEndian(body.data() + sizeof(std::int16_t), kFirstIndexDelta);
  const auto header = DecodeHeaderBody(body.data(), body.size());
  return header && DeclaresAStream(*header) ? header : std::nullopt;
}

bool DeclaresTheDataOf(const ArchiveHeader& header, const PlainFile& file, FilePosition from,
                       FilePosition to) {
  std::uint64_t declared = 0;
  std::uint64_t others = 0;
  FileWindow window(file);
  SoundStretches stretches(file, &window, from, to, header);
  SoundStretch stretch;
  for (std::uint64_t count = 0; count < kMostLookedAt && stretches.Next(&stretch); ++count) {
    if (stretch.undeclared > 0) {
      ++others;
    } else if (stretch.wholeTo > stretch.data && stretch.Lost() == 0) {
      ++declared;
    }
  }
  return declared > 0 && others * kOtherInEntries <= declared;
}

}  // namespace

std::optional<FoundHeader> FindLostHeader(const PlainFile& file, FilePosition firstIndex,
                                          std::optional<FilePosition> nextHeader) {
  const FilePosition to = nextHeader.value_or(file.Size());
  const auto left = WhatIsLeft(file, firstIndex);
  if (left && DeclaresTheDataOf(*left, file, firstIndex, to)) return FoundHeader{*left, {}};
  const auto next = nextHeader ? HeaderAt(file, *nextHeader) : std::nullopt;
  if (next && DeclaresTheDataOf(*next, file, firstIndex, to)) return FoundHeader{*next, nextHeader};
  return std::nullopt;
}
