#include "indexer/store_list.h"

#include <algorithm>
#include <iterator>
#include <utility>

void StoreList::File(const sFile_Index_Store& store, const StoreOrder& order) {
  // `store` may be one of the list, which moves when another is inserted.
  FiledStore copy{store, order};
  // A listed store stays, so it keeps no room that it does not need.
  copy.blockPositions.squeeze();
  const IndexTime startTime = copy.startTime;
  const IndexTime endTime = copy.endTime;
  const bool isFirst = files.empty();
  int& times = mTimesOf[copy.fileName];
  auto place = PlaceFor(copy, times);
  mSpans.reset();
  if (place != files.end() && place->fileName == copy.fileName) {
    *place = std::move(copy);
  } else {
    place = files.insert(place, std::move(copy));
    ++times;
  }
  const bool afterPrevious =
      place == files.begin() || std::prev(place)->startTime <= place->startTime;
  const bool beforeNext =
      std::next(place) == files.end() || place->startTime <= std::next(place)->startTime;
  mFilesAscend = mFilesAscend && afterPrevious && beforeNext;
  firstTime = isFirst ? startTime : std::min(firstTime, startTime);
  lastTime = isFirst ? endTime : std::max(lastTime, endTime);
}

// The name is looked for only on the way to the place by start time: a store of the same name after
// it stays, and the file is then listed twice.
StoreList::Stores::iterator StoreList::PlaceFor(const sFile_Index_Store& store, int sameName) {
  if (mFilesAscend) {
    const auto isBefore = [](const sFile_Index_Store& one, const sFile_Index_Store& other) {
      return one.startTime < other.startTime;
    };
    const auto place = std::upper_bound(files.begin(), files.end(), store, isBefore);
    if (sameName == 0) return place;
    // Mostly the file has been listed before, with the same start.
    for (auto filed = place; sameName == 1 && filed != files.begin();) {
      --filed;
      if (filed->startTime != store.startTime) break;
      if (filed->fileName == store.fileName) return filed;
    }
  }
  return std::find_if(files.begin(), files.end(), [&store](const sFile_Index_Store& filed) {
    return filed.fileName == store.fileName || store.startTime < filed.startTime;
  });
}

const FileSpans& StoreList::MakeSpans() const {
  FileSpans spans;
  for (std::size_t file = 0; file < files.size(); ++file) {
    const FiledStore& store = files[file];
    if (!store.id3Records.isEmpty())
      spans.Add(static_cast<std::uint32_t>(file), store.startTime, store.endTime);
  }
  return mSpans.emplace(std::move(spans));
}
