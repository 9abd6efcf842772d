#include <algorithm>

#include "indexer/file_cuts.h"
#include "indexer/zel3_indexer.h"

cZel3Indexer::~cZel3Indexer() {
  cache.Close();
}

bool cZel3Indexer::Is_ready() const {
  return ready && !Files().empty();
}

void cZel3Indexer::FillFileStreamMap(std::uint32_t fileNumber, std::uint8_t* map) const {
  const StreamMap& streams = Files()[fileNumber].streamMap;
  std::copy(streams.begin(), streams.end(), map);
}

void cZel3Indexer::Add_first_index(const IDX_T& index) {
  FileBareEntry(index, 0);
}

void cZel3Indexer::Add_last_index(const IDX_T& index) {
  intake.current.lastIndexTime = index.time;
  FileBareEntry(index, intake.current.id3Records.size());
}

void cZel3Indexer::FileBareEntry(const IDX_T& index, int entryNumber) {
  sFile_Index_Store& current = intake.current;
  const IndexTime time = index.time;
  current.partial = true;
  ListAllCuts(&current);
  intake.pendingId3Rec = ZEL_ID3_REC();
  intake.pendingId3Rec.time = time;
  current.id3Records.insert(entryNumber, intake.pendingId3Rec);
  current.startTime = std::min(current.startTime, time);
  current.endTime = std::max(current.endTime, time);
  Add_file_index(current);
}

void cZel3Indexer::Add_file_index(const sFile_Index_Store& store) {
  stores.File(store, OrderOf(store));
}
