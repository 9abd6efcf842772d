#include <algorithm>
#include <iterator>
#include <utility>

#include "indexer/zel3_indexer.h"

cZel3Indexer::~cZel3Indexer() {
  CloseCacheFiles();
}

bool cZel3Indexer::Is_ready() const {
  return ready && !files.empty();
}

void cZel3Indexer::FillFileStreamMap(std::uint32_t fileNumber, std::uint8_t* map) const {
  const StreamMap& streams = files[fileNumber].streamMap;
  std::copy(streams.begin(), streams.end(), map);
}

void cZel3Indexer::Add_first_index(const IDX_T& index) {
  FileBareEntry(index, 0);
}

void cZel3Indexer::Add_last_index(const IDX_T& index) {
  current.lastIndexTime = index.time;
  FileBareEntry(index, current.id3Records.size());
}

void cZel3Indexer::FileBareEntry(const IDX_T& index, int place) {
  const IndexTime time = index.time;
  current.partial = true;
  pendingId3Rec = ZEL_ID3_REC();
  pendingId3Rec.time = time;
  current.id3Records.insert(place, pendingId3Rec);
  current.entriesAscend = false;
  current.startTime = std::min(current.startTime, time);
  current.endTime = std::max(current.endTime, time);
  Add_file_index(current);
}

void cZel3Indexer::Add_file_index(const sFile_Index_Store& store) {
  // `store` may be one of `files`, which move when another is inserted.
  sFile_Index_Store copy(store);
  // A filed store stays: it keeps no room that it does not need.
  copy.blockPositions.squeeze();
  const IndexTime startTime = copy.startTime;
  const IndexTime endTime = copy.endTime;
  const bool isFirst = files.empty();
  spansValid = false;
  auto place = PlaceFor(copy);
  if (place != files.end() && place->fileName == copy.fileName) {
    *place = std::move(copy);
  } else {
    ++storesOf[copy.fileName];
    place = files.insert(place, std::move(copy));
  }
  const bool afterPrevious =
      place == files.begin() || std::prev(place)->startTime <= place->startTime;
  const bool beforeNext =
      std::next(place) == files.end() || place->startTime <= std::next(place)->startTime;
  filesAscend = filesAscend && afterPrevious && beforeNext;
  firstTime = isFirst ? startTime : std::min(firstTime, startTime);
  lastTime = isFirst ? endTime : std::max(lastTime, endTime);
}

// The name is looked for only on the way to the place by start time: a store of the same name
// behind it stays, and the file is then listed twice.
std::deque<sFile_Index_Store>::iterator cZel3Indexer::PlaceFor(const sFile_Index_Store& store) {
  if (filesAscend) {
    const auto isBefore = [](const sFile_Index_Store& one, const sFile_Index_Store& other) {
      return one.startTime < other.startTime;
    };
    const auto place = std::upper_bound(files.begin(), files.end(), store, isBefore);
    const int sameName = storesOf.value(store.fileName);
    if (sameName == 0) return place;
    // Mostly the file has been filed before, with the same start.
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
