#include "indexer/archive_stream.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr std::uint64_t kLongestStep = 1 << 20;
constexpr std::uint64_t kSixteenth = 16;

}  // namespace

std::size_t ArchiveStream::Read(const PlainFile& file, unsigned char* bytes, std::size_t size) {
  std::size_t done = 0;
  while (done < size) {
    const std::size_t count = mPosition < mNextPlace ? PassOver(file, bytes + done, size - done)
                                                     : TryToRead(file, bytes + done, size - done);
    if (count == 0) break;
    mPosition += count;
    done += count;
  }
  return done;
}

std::size_t ArchiveStream::PassOver(const PlainFile& file, unsigned char* bytes, std::size_t size) {
  const FilePosition end = std::min(mNextPlace, file.SizeNow());
  if (end <= mPosition) return 0;
  const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(size, end - mPosition));
  std::memset(bytes, 0, count);
  mPassedOver += count;
  return count;
}

std::size_t ArchiveStream::TryToRead(const PlainFile& file, unsigned char* bytes,
                                     std::size_t size) {
  for (;;) {
    // Some file systems fail a long read as a whole. When in doubt, a single page is read, so that
    // a place counts as failed only when its own page cannot be read.
    const std::uint64_t restOfPage = kPage - mPosition % kPage;
    const bool onlyThisPage = mInDoubt;
    const std::size_t most =
        onlyThisPage ? static_cast<std::size_t>(std::min<std::uint64_t>(size, restOfPage)) : size;
    const std::size_t count = file.ReadAt(mPosition, bytes, most, &mInDoubt);
    if (count > 0) {
      mStep = kPage;
      mReadUpTo = mPosition + count;
      return count;
    }
    if (!mInDoubt) return 0;
    if (onlyThisPage) break;
  }
  mFailedAt = mPosition;
  mNextPlace = PlaceAfter(mPosition, file.SizeNow(), &mStep);
  Note({mPosition, mNextPlace});
  return PassOver(file, bytes, size);
}

// Steps go from page to page, so that a failure in the middle of one skips nothing of the next.
FilePosition ArchiveStream::PlaceAfter(FilePosition position, std::uint64_t size,
                                       std::uint64_t* step) {
  const FilePosition page = position - position % kPage;
  const FilePosition lastBytes = size - std::min(size, kPage);
  const FilePosition lastPages = lastBytes - lastBytes % kPage;
  if (page >= lastPages) return page + kPage;
  const FilePosition next = std::min(page + *step, lastPages);
  *step = std::min(2 * *step, kLongestStep);
  return next;
}

void ArchiveStream::Note(const Stretch& skipped) {
  const bool goesOn = mSkippedCount > 0 && skipped.from <= mSkipped[mSkippedCount - 1].to;
  if (!goesOn && mSkippedCount < mSkipped.size()) {
    mSkipped[mSkippedCount++] = skipped;
  } else {
    mSkipped[mSkippedCount - 1].to = skipped.to;
  }
}

bool ArchiveStream::CanBeReadNow(const PlainFile& file) const {
  const std::uint64_t size = file.SizeNow();
  for (std::size_t i = 0; i < mSkippedCount; ++i) {
    const FilePosition end = std::min(mSkipped[i].to, size);
    std::uint64_t step = kPage;
    for (FilePosition place = mSkipped[i].from; place < end;
         place = PlaceAfter(place, size, &step)) {
      unsigned char byte = 0;
      bool failed = false;
      if (file.ReadAt(place, &byte, 1, &failed) == 1) return true;
    }
  }
  return false;
}

bool ArchiveStream::ReachesTheEnd(const PlainFile& file) const {
  if (mSkippedCount == 0 || mReadUpTo > mFailedAt) return true;
  const std::uint64_t size = file.SizeNow();
  if (mReadUpTo == 0 || mReadUpTo > size) return false;
  return size - mReadUpTo <= std::clamp(size / kSixteenth, kPage, kLongestStep);
}
