#include "indexer/store_order.h"

#include <algorithm>

namespace {

bool Ascend(const QVector<FilePosition>& positions) {
  return std::is_sorted(positions.begin(), positions.end());
}

bool TimesAscend(const QVector<ZEL_ID3_REC>& entries) {
  return std::is_sorted(
      entries.begin(), entries.end(),
      [](const ZEL_ID3_REC& one, const ZEL_ID3_REC& other) { return one.time < other.time; });
}

}  // namespace

StoreOrder OrderOf(const sFile_Index_Store& store) {
  return {TimesAscend(store.id3Records), Ascend(store.headerPositions),
          Ascend(store.blockPositions)};
}

StoreOrder OrderOfLoaded(const sFile_Index_Store& store, const EntryOrder& entries) {
  // Cuts are listed where the entries' positions do not ascend; else only the end is.
  return {entries.timesAscend, Ascend(store.headerPositions), entries.positionsAscend};
}
