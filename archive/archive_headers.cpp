#include "archive/archive_headers.h"

#include <bitset>
#include <cstdint>
#include <string_view>

#include "archive/archive_recognition.h"
#include "blocks/byte_cursor.h"
#include "indexer/plain_file.h"
#include "parser/framing.h"
#include "system/interruption.h"

namespace {

using StreamSet = std::bitset<256>;

// The bytes of the file from `position` on, as far as they can be read.
std::string BytesAt(const PlainFile& file, FilePosition position, std::size_t size) {
  std::string bytes(size, '\0');
  bool failed = false;
  bytes.resize(file.ReadAt(position, bytes.data(), size, &failed));
  return bytes;
}

}  // namespace

std::optional<ArchiveHeader> HeaderAt(const PlainFile& file, FilePosition position) {
  const std::string start = BytesAt(file, position, kMarkerSize + sizeof(std::int16_t));
  ByteCursor cursor(start.data(), start.size());
  std::uint32_t marker = 0;
  std::int16_t length = 0;
  if (!cursor.Read(&marker) || !cursor.Read(&length)) return std::nullopt;
  if (marker != kHeaderMarker || length < kShortestHeaderLength) return std::nullopt;
  // The length does not count the last NUL.
  const std::string body =
      BytesAt(file, position + kMarkerSize, static_cast<std::size_t>(length) + 1);
  return DecodeHeaderBody(reinterpret_cast<const unsigned char*>(body.data()), body.size());
}

namespace {

std::optional<ArchiveHeader> FirstHeader(const PlainFile& file) {
  const std::string head = BytesAt(file, 0, kSearchedHeadBytes);
  const std::string_view marker(reinterpret_cast<const char*>(&kHeaderMarker), kMarkerSize);
  const std::size_t place = head.find(marker);
  if (place == std::string::npos) return std::nullopt;
  return HeaderAt(file, place);
}

void AddStreams(const ArchiveHeader& header, StreamSet* streams) {
  for (const StreamDescriptor& stream : header.streams) {
    if (stream.active != 0) streams->set(stream.id);
  }
}

// Nothing when there is no position, or one of them has no header: then the positions are not those
// of this file.
std::optional<StreamSet> StreamsAt(const PlainFile& file,
                                   const std::vector<FilePosition>& headerPositions) {
  if (headerPositions.empty()) return std::nullopt;
  StreamSet streams;
  for (const FilePosition position : headerPositions) {
    interruption::Check();
    const std::optional<ArchiveHeader> header = HeaderAt(file, position);
    if (!header) return std::nullopt;
    AddStreams(*header, &streams);
  }
  return streams;
}

DeclaredStreams AsDeclared(const StreamSet& streams, bool ofAllHeaders) {
  DeclaredStreams declared;
  declared.ofAllHeaders = ofAllHeaders;
  for (unsigned id = 0; id < streams.size(); ++id) {
    if (streams[id]) declared.ids.push_back(id);
  }
  return declared;
}

}  // namespace

std::optional<DeclaredStreams> StreamsOfHeaders(const std::string& path,
                                                const std::vector<FilePosition>& headerPositions) {
  PlainFile file;
  if (!file.Open(path, PlainFile::Mode::kRead)) return std::nullopt;
  if (const auto streams = StreamsAt(file, headerPositions)) return AsDeclared(*streams, true);
  const std::optional<ArchiveHeader> first = FirstHeader(file);
  if (!first) return std::nullopt;
  StreamSet streams;
  AddStreams(*first, &streams);
  return AsDeclared(streams, false);
}

KnownTypes TypesKnownBy(const ArchiveHeader& header) {
  KnownTypes types;
  for (const StreamDescriptor& stream : header.streams) {
    if (stream.active != 0) types.set(stream.id);
  }
  for (unsigned type = 0; type < types.size(); ++type) {
    if (IsEventType(static_cast<std::uint8_t>(type))) types.set(type);
  }
  return types;
}
