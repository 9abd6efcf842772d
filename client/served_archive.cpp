#include "client/served_archive.h"

#include <algorithm>
#include <utility>

#include "indexer/time_range.h"

OpenedArchive::OpenedArchive(std::unique_ptr<PlainFile> file, KeptIndex index,
                             MakeReader makeReader)
    : mFile(std::move(file)),
      mIndex(std::move(index)),
      mSpan(SpanOf(mIndex)),
      mMakeReader(std::move(makeReader)) {}

std::optional<std::size_t> OpenedArchive::EntryAt(ArchiveTime time) {
  if (!mMakeReader || !mSpan.TimesAscend()) return EntryByPlace(time);
  if (mReader == nullptr) mReader = mMakeReader();
  const std::optional<std::uint32_t> entry = mReader->EntryAt(time);
  if (entry && *entry < mIndex.Count()) return *entry;
  // The end that a reader works out may pass the largest index time and wrap.
  return EntryByPlace(time);
}

std::optional<std::size_t> OpenedArchive::FirstFrom(ArchiveTime time) const {
  std::size_t first = 0;
  if (mSpan.TimesAscend()) {
    std::size_t end = mIndex.Count();
    while (first < end) {
      const std::size_t middle = first + (end - first) / 2;
      if (mIndex.TimeOf(middle) < time) {
        first = middle + 1;
      } else {
        end = middle;
      }
    }
  } else {
    while (first < mIndex.Count() && mIndex.PlaceOf(first) < time) ++first;
  }
  if (first == mIndex.Count()) return std::nullopt;
  return first;
}

std::optional<std::size_t> OpenedArchive::EntryByPlace(ArchiveTime time) const {
  // A reader lets an archive last this long after its last entry.
  const ArchiveTime end = mSpan.end + ToArchiveTime(TimeRange::kShortestStep);
  if (time < mSpan.start || time > end) return std::nullopt;
  std::optional<std::size_t> found;
  for (std::size_t entry = 0; entry < mIndex.Count(); ++entry) {
    const ArchiveTime place = mIndex.PlaceOf(entry);
    if (place > time || mIndex.TimeOf(entry) != place) continue;
    if (!found || mIndex.PlaceOf(*found) <= place) found = entry;
  }
  return found;
}
