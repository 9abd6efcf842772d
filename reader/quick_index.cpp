#include <QByteArray>
#include <algorithm>
#include <cstring>
#include <optional>

#include "blocks/byte_cursor.h"
#include "blocks/index_record.h"
#include "reader/zel3_file_reader.h"

namespace {

constexpr std::size_t kStretch = 65535;
// The step is 16 bytes longer than a stretch: those bytes between two stretches, and the last 16 of
// the file, are never searched.
constexpr std::uint64_t kStep = 65551;
// The first and the last index record mostly stand near the ends of a file: so much is read before
// a whole stretch is.
constexpr std::size_t kNearEnd = 8192;
constexpr std::size_t kNowhere = ~std::size_t{0};

bool IsMarkerAt(const char* bytes, std::uint32_t marker) {
  return LoadLittleEndian<std::uint32_t>(bytes) == marker;
}

// The first header marker that lies whole in the bytes.
std::size_t FindHeaderMarker(const char* bytes, std::size_t size) {
  const char* const end = bytes + size;
  for (const char* at = bytes; end - at >= static_cast<std::ptrdiff_t>(kMarkerSize); ++at) {
    at = static_cast<const char*>(
        std::memchr(at, kHeaderMarker & 0xFF, static_cast<std::size_t>(end - at)));
    if (at == nullptr || end - at < static_cast<std::ptrdiff_t>(kMarkerSize)) break;
    if (IsMarkerAt(at, kHeaderMarker)) return static_cast<std::size_t>(at - bytes);
  }
  return kNowhere;
}

// The last place below `end` where an index marker stands.
std::size_t FindLastIndexMarker(const char* bytes, std::size_t end) {
  while (end > 0) {
    const void* const hit = memrchr(bytes, kIndexMarker & 0xFF, end);
    if (hit == nullptr) break;
    end = static_cast<std::size_t>(static_cast<const char*>(hit) - bytes);
    if (IsMarkerAt(bytes + end, kIndexMarker)) return end;
  }
  return kNowhere;
}

// The first header within the first bytes of a file, as far as they hold it.
struct Header {
  const char* body;
  std::size_t bodySize;
  int length;
  int firstIndexPlace;  // counts from the start of the file, not from the header

  // Whether more bytes of the file would change nothing: neither the streams, of which the last may
  // begin at the byte before `length`, nor the first index record.
  bool LiesWithin(std::size_t size) const {
    return bodySize >= 2 * sizeof(std::int16_t) && static_cast<int>(bodySize) >= length + 2 &&
           (firstIndexPlace < 0 ||
            static_cast<std::size_t>(firstIndexPlace) + kIndexRecordSize <= size);
  }
};

std::optional<Header> FindHeader(const char* bytes, std::size_t size) {
  const std::size_t marker = FindHeaderMarker(bytes, size);
  if (marker == kNowhere) return std::nullopt;
  const char* const body = bytes + marker + kMarkerSize;
  const std::size_t bodySize = size - marker - kMarkerSize;
  // Bytes beyond the file count as zero.
  char lengths[2 * sizeof(std::int16_t)] = {};
  std::memcpy(lengths, body, std::min(sizeof(lengths), bodySize));
  const auto length = LoadLittleEndian<std::int16_t>(lengths);
  const auto firstIndexDelta = LoadLittleEndian<std::int16_t>(lengths + sizeof(std::int16_t));
  return Header{body, bodySize, length, length + firstIndexDelta};
}

bool ReadHeadIndex(const ArchiveFile& file, cZel3Indexer& indexer) {
  QByteArray head;
  head.resize(static_cast<int>(kStretch));
  std::size_t size = file.ReadAt(0, head.data(), kNearEnd);
  std::optional<Header> header = FindHeader(head.constData(), size);
  if (!header || !header->LiesWithin(size)) {
    size += file.ReadAt(size, head.data() + size, kStretch - size);
    header = FindHeader(head.constData(), size);
  }
  if (!header) return false;
  indexer.Add_tmp_header(header->body, header->bodySize);

  const int place = header->firstIndexPlace;
  if (place < 0 || static_cast<std::size_t>(place) + kIndexRecordSize > size) return false;
  const char* const record = head.constData() + place;
  if (!IsMarkerAt(record, kIndexMarker)) return false;
  indexer.Add_first_index(DecodeIndexBody(record + kMarkerSize));
  return true;
}

enum class TailSearch { kFound, kNotFound, kNothingThere };

// Looks for the last index record in the stretch of the file at `position`, from the stretch's byte
// `from` on.
TailSearch SearchStretch(const ArchiveFile& file, cZel3Indexer& indexer, FilePosition position,
                         std::uint64_t from) {
  // The body of a marker at the end of the stretch may reach beyond it.
  QByteArray bytes;
  bytes.resize(static_cast<int>(kStretch + sizeof(IDX_T) - from));
  const std::size_t got =
      file.ReadAt(position + from, bytes.data(), static_cast<std::size_t>(bytes.size()));
  const std::size_t searched = std::min<std::size_t>(got, kStretch - from);
  if (searched == 0) return TailSearch::kNothingThere;
  // Markers are looked for from four bytes before the stretch's last byte backwards.
  std::size_t limit = searched > kMarkerSize ? searched - kMarkerSize : 0;
  while ((limit = FindLastIndexMarker(bytes.constData(), limit)) != kNowhere) {
    if (limit + kIndexRecordSize > got) continue;
    indexer.Add_last_index(DecodeIndexBody(bytes.constData() + limit + kMarkerSize));
    return TailSearch::kFound;
  }
  return TailSearch::kNotFound;
}

bool ReadTailIndex(const ArchiveFile& file, cZel3Indexer& indexer) {
  const std::uint64_t size = file.SizeNow();
  FilePosition position = size - std::min(size, kStep);
  // Where the end alone does not tell, the whole stretch is searched, that end included, so that
  // all of it is as it was at one moment.
  const std::uint64_t searched = std::min<std::uint64_t>(size - position, kStretch);
  if (searched > kNearEnd &&
      SearchStretch(file, indexer, position, searched - kNearEnd) == TailSearch::kFound) {
    return true;
  }
  for (;;) {
    const TailSearch result = SearchStretch(file, indexer, position, 0);
    if (result != TailSearch::kNotFound) return result == TailSearch::kFound;
    if (position == 0) return false;
    position -= std::min(position, kStep);
  }
}

}  // namespace

bool CZel3FileReader::Adv_Read_head_and_tail_index() {
  return archiveFile.IsZel3() ? Adv_Read_head_and_tail_index_ZEL3()
                              : Adv_Read_head_and_tail_index_ZEL1();
}

bool CZel3FileReader::Adv_Read_head_and_tail_index_ZEL3() {
  return ReadHeadIndex(archiveFile, indexer) && ReadTailIndex(archiveFile, indexer);
}

// Older files have no quick index.
bool CZel3FileReader::Adv_Read_head_and_tail_index_ZEL1() {
  return false;
}
