#pragma once

#include "indexer/file_index_store.h"
#include "indexer/plain_file.h"
#include "indexer/store_order.h"

// The .id3 file: ZEL_ID3_REC after ZEL_ID3_REC, 24 bytes each, as they are in memory. A fragment at
// its end is not an entry.

// How many entries are read at a time: one read is enough for most files, and the portions of large
// ones stay in the processor's cache until they are looked at.
constexpr int kEntriesPerRead = 4096;

// Loads the entries of an open file into an empty store: the entries themselves, the times that
// follow from them, and the cuts, with the store's header positions among them. False, with neither
// entries nor cuts, when there is no entry, or no memory for them.
bool LoadEntries(PlainFile& file, sFile_Index_Store* store, EntryOrder* order);

// False when writing fails. Throws std::bad_alloc.
bool WriteEntries(PlainFile& file, const QVector<ZEL_ID3_REC>& entries);
