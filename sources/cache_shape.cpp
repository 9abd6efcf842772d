#include "sources/cache_shape.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "blocks/byte_cursor.h"
#include "blocks/stream_records.h"
#include "indexer/file_index_store.h"
#include "system/file_data.h"
#include "system/file_handle.h"
#include "system/file_status.h"
#include "system/interruption.h"

namespace {

// Readers do not load larger files.
constexpr std::uint64_t kLargestCacheBytes = std::numeric_limits<std::int32_t>::max();
// Whole entries and whole positions.
constexpr std::size_t kPortion = 4096 * sizeof(ZEL_ID3_REC);
// Entries keep 48 bits of a position.
constexpr FilePosition kEndOfPositions = FilePosition{1} << 48;

bool IsEntry(const unsigned char* bytes) {
  ZEL_ID3_REC entry;
  std::memcpy(&entry, bytes, sizeof(entry));
  if ((entry.flags != 0 && entry.flags != kEntryFlag) || entry.activityCount > kMaxActivityPairs)
    return false;
  for (int i = 0; i < kMaxActivityPairs; ++i) {
    const TActivityPair& pair = entry.activity[i];
    if (i >= entry.activityCount && (pair.streamId != 0 || pair.level != 0)) return false;
    if (pair.level % 2 != 0 || pair.level > 2 * kActivityMask) return false;
  }
  return true;
}

bool IsPosition(const unsigned char* bytes) {
  return LoadLittleEndian<FilePosition>(bytes) < kEndOfPositions;
}

// Goes through the bytes of an .evt file as they come.
class EventShape {
 public:
  // False when these cannot be the next bytes of such a file.
  bool Take(const unsigned char* bytes, std::size_t size) {
    for (const unsigned char* const end = bytes + size; bytes != end;) {
      if (mInText) {
        bytes = std::find(bytes, end, 0);
        if (bytes == end) break;
        mInText = false;
        --mEventsLeft;
      } else if (mEventsLeft > 0) {
        if (!IsEventType(*bytes)) return false;
        mInText = true;
      } else {
        mHead.push_back(*bytes);
        if (mHead.size() == kHeadSize && !TakeHead()) return false;
      }
      ++bytes;
    }
    return true;
  }

  // Whether the file may end here.
  bool IsWhole() const { return mHead.empty() && mEventsLeft == 0; }

 private:
  static constexpr std::size_t kHeadSize = 9;

  // A count wraps after 255 events, so it may be 0; but nothing writes a head of zeros.
  bool TakeHead() {
    const bool isZero =
        std::all_of(mHead.begin(), mHead.end(), [](auto byte) { return byte == 0; });
    mEventsLeft = mHead.back();
    mHead.clear();
    return !isZero;
  }

  std::vector<unsigned char> mHead;  // of a group, as far as it has come
  int mEventsLeft = 0;               // of the group
  bool mInText = false;
};

class Shape {
 public:
  explicit Shape(CacheKind kind) : mKind(kind) {}

  bool Take(const unsigned char* bytes, std::size_t size) {
    switch (mKind) {
      case CacheKind::kEntries:
        return TakeRecords<sizeof(ZEL_ID3_REC)>(bytes, size, IsEntry);
      case CacheKind::kHeaders:
        return TakeRecords<sizeof(FilePosition)>(bytes, size, IsPosition);
      case CacheKind::kEvents:
        break;
    }
    return mEvents.Take(bytes, size);
  }

  bool IsWhole() const { return mRecordsWhole && mEvents.IsWhole(); }

 private:
  template <std::size_t kSize, class IsRecord>
  bool TakeRecords(const unsigned char* bytes, std::size_t size, IsRecord isRecord) {
    std::size_t place = 0;
    for (; place + kSize <= size; place += kSize) {
      if (!isRecord(bytes + place)) return false;
    }
    mRecordsWhole = place == size;
    return true;
  }

  const CacheKind mKind;
  EventShape mEvents;
  bool mRecordsWhole = true;
};

// Fills the portion from `position` on; makes it shorter at the end of the file. False when it
// cannot be read.
bool ReadPortion(const FileHandle& file, FilePosition position,
                 std::vector<unsigned char>* portion) {
  std::size_t done = 0;
  while (done < portion->size()) {
    const ssize_t count = pread(file.Get(), portion->data() + done, portion->size() - done,
                                static_cast<off_t>(position + done));
    if (count < 0 && errno != EINTR) return false;
    if (count == 0) break;
    if (count > 0) done += static_cast<std::size_t>(count);
  }
  portion->resize(done);
  return true;
}

// A plain file with no other name.
bool IsPlain(const struct statx& status) {
  return S_ISREG(status.stx_mode) && status.stx_nlink == 1 && status.stx_size <= kLargestCacheBytes;
}

enum class Extent { kAll, kStart };

// The start of the first portion worth reading, at `position` or after it, in a file of `size`
// bytes. Entries and positions may be zeros, so those in a hole are sound; events never are.
FilePosition PassHole(const FileHandle& file, CacheKind kind, FilePosition position,
                      std::uint64_t size) {
  if (kind == CacheKind::kEvents || position >= size) return position;
  const auto data = NextData(file.Get(), position, size);
  const FilePosition place = data ? data->from : size;
  return place - place % kPortion;
}

bool HasShape(const FileHandle& file, CacheKind kind, std::uint64_t size, Extent extent) {
  Shape shape(kind);
  std::vector<unsigned char> portion(kPortion);
  FilePosition position = 0;
  while (ReadPortion(file, position, &portion)) {
    interruption::Check();
    if (!shape.Take(portion.data(), portion.size())) return false;
    if (portion.size() < kPortion) return extent == Extent::kStart || shape.IsWhole();
    if (extent == Extent::kStart) return true;
    position = PassHole(file, kind, position + kPortion, size);
  }
  return false;
}

bool IsStranger(const std::string& path, CacheKind kind, Extent extent) {
  const auto status = StatusOf(path, Links::kNot);
  if (!status) return errno != ENOENT;
  if (!IsPlain(*status)) return true;
  if (status->stx_size == 0) return false;
  const FileHandle file = OpenForReading(path, O_NOFOLLOW);
  // Another process may just have given the file its final name.
  if (!file.IsOpen()) return errno != ENOENT;
  return !HasShape(file, kind, status->stx_size, extent);
}

}  // namespace

bool IsStranger(const std::string& path, CacheKind kind) {
  return IsStranger(path, kind, Extent::kAll);
}

bool BeginsAsStranger(const std::string& path, CacheKind kind) {
  return IsStranger(path, kind, Extent::kStart);
}
