#include <algorithm>
#include <utility>

#include "zel3_indexer.h"

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
  const std::uint32_t time = index.time;
  current.partial = true;
  pendingId3Rec = ZEL_ID3_REC();
  pendingId3Rec.time = time;
  current.id3Records.insert(place, pendingId3Rec);
  current.startTime = std::min(current.startTime, time);
  current.endTime = std::max(current.endTime, time);
  Add_file_index(current);
}

void cZel3Indexer::Add_file_index(const sFile_Index_Store& store) {
  // `store` may be one of `files`, which move when another is inserted.
  sFile_Index_Store copy(store);
  const std::uint32_t startTime = copy.startTime;
  const std::uint32_t endTime = copy.endTime;
  if (files.empty()) {
    firstTime = startTime;
    lastTime = endTime;
    files.push_back(std::move(copy));
    return;
  }
  // The name is looked for only on the way to the place by start time: a store of the same name
  // behind it stays, and the file is then listed twice.
  const auto place =
      std::find_if(files.begin(), files.end(), [&copy](const sFile_Index_Store& filed) {
        return filed.fileName == copy.fileName || copy.startTime < filed.startTime;
      });
  if (place != files.end() && place->fileName == copy.fileName) {
    *place = std::move(copy);
  } else {
    files.insert(place, std::move(copy));
  }
  firstTime = std::min(firstTime, startTime);
  lastTime = std::max(lastTime, endTime);
}
