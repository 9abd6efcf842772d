#include <QByteArray>
#include <algorithm>
#include <cstring>

#include "byte_cursor.h"
#include "zel3_file_reader.h"

namespace {

constexpr std::size_t kStretch = 65535;
// The step is 16 bytes longer than a stretch: those bytes between two stretches, and the last 16 of
// the file, are never searched.
constexpr std::uint64_t kStep = 65551;
constexpr std::size_t kNotFound = ~std::size_t{0};

bool IsMarkerAt(const char* bytes, std::uint32_t marker) {
  return LoadLittleEndian<std::uint32_t>(bytes) == marker;
}

IDX_T IndexBody(const char* bytes) {
  IDX_T index;
  std::memcpy(static_cast<void*>(&index), bytes, sizeof(index));
  return index;
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
  return kNotFound;
}

// The last place below `end` where an index marker stands.
std::size_t FindLastIndexMarker(const char* bytes, std::size_t end) {
  while (end > 0) {
    const void* const hit = memrchr(bytes, kIndexMarker & 0xFF, end);
    if (hit == nullptr) break;
    end = static_cast<std::size_t>(static_cast<const char*>(hit) - bytes);
    if (IsMarkerAt(bytes + end, kIndexMarker)) return end;
  }
  return kNotFound;
}

}  // namespace

bool CZel3FileReader::Adv_Read_head_and_tail_index() {
  return zel3FilePath.isEmpty() ? Adv_Read_head_and_tail_index_ZEL1()
                                : Adv_Read_head_and_tail_index_ZEL3();
}

bool CZel3FileReader::Adv_Read_head_and_tail_index_ZEL3() {
  return ReadHeadIndex() && ReadTailIndex();
}

// Older files have no quick index.
bool CZel3FileReader::Adv_Read_head_and_tail_index_ZEL1() {
  return false;
}

bool CZel3FileReader::ReadHeadIndex() {
  QByteArray head(static_cast<int>(kStretch), Qt::Uninitialized);
  const std::size_t size = ReadFileAt(0, head.data(), kStretch);
  const std::size_t marker = FindHeaderMarker(head.constData(), size);
  if (marker == kNotFound) return false;

  const char* const body = head.constData() + marker + kMarkerSize;
  const std::size_t bodySize = size - marker - kMarkerSize;
  indexer.Add_tmp_header(body, bodySize);
  // Bytes beyond the file count as zero.
  char lengths[2 * sizeof(std::int16_t)] = {};
  std::memcpy(lengths, body, std::min(sizeof(lengths), bodySize));
  const auto headerLength = LoadLittleEndian<std::int16_t>(lengths);
  const auto firstIndexDelta = LoadLittleEndian<std::int16_t>(lengths + sizeof(std::int16_t));

  // The place counts from the start of the file, not from the header.
  const int place = headerLength + firstIndexDelta;
  if (place < 0 || static_cast<std::size_t>(place) + kIndexRecordSize > size) return false;
  const char* const record = head.constData() + place;
  if (!IsMarkerAt(record, kIndexMarker)) return false;
  indexer.Add_first_index(IndexBody(record + kMarkerSize));
  return true;
}

bool CZel3FileReader::ReadTailIndex() {
  std::uint64_t position = file.Size();
  // The body of a marker at the end of the stretch may reach beyond it.
  QByteArray stretch(static_cast<int>(kStretch + sizeof(IDX_T)), Qt::Uninitialized);
  do {
    position -= std::min(position, kStep);
    const std::size_t got =
        ReadFileAt(position, stretch.data(), static_cast<std::size_t>(stretch.size()));
    const std::size_t searched = std::min(got, kStretch);
    if (searched == 0) return false;
    // Markers are looked for from four bytes before the stretch's last byte backwards.
    std::size_t limit = searched > kMarkerSize ? searched - kMarkerSize : 0;
    while ((limit = FindLastIndexMarker(stretch.constData(), limit)) != kNotFound) {
      if (limit + kIndexRecordSize > got) continue;
      indexer.Add_last_index(IndexBody(stretch.constData() + limit + kMarkerSize));
      return true;
    }
  } while (position > 0);
  return false;
}
