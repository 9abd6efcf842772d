#include "archive/archive_recognition.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "blocks/stream_records.h"
#include "system/file_handle.h"
#include "system/file_status.h"

namespace {

// How much of a file's end a reader searches at first, including the bytes that it leaves out
// there.
constexpr std::uint64_t kSearchedTailBytes = 65551;

template <class Integer>
std::string_view BytesOf(const Integer& value) {
  return {reinterpret_cast<const char*>(&value), sizeof(value)};
}

// A stretch of a file, as far as it can be read. `error` gets the system's error number.
std::string ReadStretch(const FileHandle& file, FilePosition from, FilePosition to, int* error) {
  std::string bytes(static_cast<std::size_t>(to - from), '\0');
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t count = pread(file.Get(), bytes.data() + done, bytes.size() - done,
                                static_cast<off_t>(from + done));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) *error = errno;
    if (count <= 0) break;
    done += static_cast<std::size_t>(count);
  }
  bytes.resize(done);
  return bytes;
}

bool HoldsHeaderMarker(std::string_view bytes) {
  return bytes.find(BytesOf(kHeaderMarker)) != std::string_view::npos;
}

bool HoldsIndexRecord(std::string_view bytes) {
  const std::size_t place = bytes.find(BytesOf(kIndexMarker));
  return place != std::string_view::npos && bytes.size() - place >= kIndexRecordSize;
}

std::string CannotBeRead(int error) {
  return std::string("cannot be read: ") + std::strerror(error);
}

}  // namespace

std::optional<std::string> WhyNotForReaders(const std::string& path) {
  const FileHandle file = OpenForReading(path);
  const auto status = file.IsOpen() ? StatusOf(file) : std::nullopt;
  if (!status) return CannotBeRead(errno);
  if (!S_ISREG(status->stx_mode)) return "is not an archive: it is not a plain file";
  if (status->stx_size == 0) return "is not an archive: it is empty";

  const std::uint64_t size = status->stx_size;
  int error = 0;
  const std::string head = ReadStretch(file, 0, std::min(size, kSearchedHeadBytes), &error);
  if (HoldsHeaderMarker(head) || HoldsIndexRecord(head)) return std::nullopt;
  const std::string tail =
      ReadStretch(file, size - std::min(size, kSearchedTailBytes), size, &error);
  if (HoldsIndexRecord(tail)) return std::nullopt;
  if (error != 0) return CannotBeRead(error);
  return "is not an archive: it has no header near its start, and no index record near its ends";
}
