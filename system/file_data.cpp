#include "system/file_data.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "system/file_status.h"

std::optional<DataPart> NextData(int handle, FilePosition position, std::uint64_t size) {
  if (position >= size) return std::nullopt;
  const off_t from = lseek(handle, static_cast<off_t>(position), SEEK_DATA);
  if (from < 0 && errno == ENXIO) return std::nullopt;
  if (from < 0) return DataPart{position, size};
  if (static_cast<FilePosition>(from) >= size) return std::nullopt;
  const off_t to = lseek(handle, from, SEEK_HOLE);
  const FilePosition end = to > from ? static_cast<FilePosition>(to) : size;
  return DataPart{static_cast<FilePosition>(from), std::min<FilePosition>(end, size)};
}

std::uint64_t DataBytes(const FileHandle& file) {
  const auto status = StatusOf(file);
  return status ? DataBytes(file.Get(), 0, status->stx_size) : 0;
}

std::uint64_t DataBytes(int handle, FilePosition from, FilePosition to) {
  const off_t place = lseek(handle, 0, SEEK_CUR);
  std::uint64_t bytes = 0;
  FilePosition position = from;
  while (const auto part = NextData(handle, position, to)) {
    bytes += part->to - part->from;
    position = part->to;
  }
  lseek(handle, place, SEEK_SET);
  return bytes;
}
