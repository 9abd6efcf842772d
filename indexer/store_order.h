#pragma once

#include "indexer/file_index_store.h"

// Which lists within a store ascend: those are searched by binary search, the others from front to
// back. The order of the stores themselves: store_list.h.
struct StoreOrder {
  bool entriesAscend = false;  // the times of id3Records
  bool headersAscend = false;  // headerPositions
  bool cutsAscend = false;     // those listed in blockPositions
};

StoreOrder OrderOf(const sFile_Index_Store& store);

// What loading sees of the entries while they pass.
struct EntryOrder {
  bool timesAscend = true;
  bool positionsAscend = true;  // the low 32 bits
};

// The same, without another pass over the entries, for a store that was loaded with entries.
StoreOrder OrderOfLoaded(const sFile_Index_Store& store, const EntryOrder& entries);
