#include "parser/marker_search.h"

#include <cstring>

#include "blocks/byte_cursor.h"
#include "blocks/stream_records.h"

namespace {

// The most frequent byte of both markers: the first of a header marker, the second of an index
// marker.
constexpr unsigned char kSyncByte = 0xB5;

bool IsMarkerAt(const unsigned char* bytes, std::size_t size, std::size_t offset,
                std::uint32_t marker) {
  return size - offset >= kMarkerSize && LoadLittleEndian<std::uint32_t>(bytes + offset) == marker;
}

}  // namespace

std::optional<std::size_t> FindMarker(const unsigned char* bytes, std::size_t size) {
  std::size_t from = 0;
  while (from < size) {
    const void* const sync = std::memchr(bytes + from, kSyncByte, size - from);
    if (sync == nullptr) return std::nullopt;
    const auto at = static_cast<std::size_t>(static_cast<const unsigned char*>(sync) - bytes);
    if (at > 0 && IsMarkerAt(bytes, size, at - 1, kIndexMarker)) return at - 1;
    if (IsMarkerAt(bytes, size, at, kHeaderMarker)) return at;
    from = at + 1;
  }
  return std::nullopt;
}
