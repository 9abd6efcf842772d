#pragma once

#include <QVector>

#include "blocks/units.h"
#include "indexer/file_index_store.h"

// The positions that cut a file into stretches to read. For a file whose entries are loaded they
// are the low 32 bits of the entries' positions, in the order of the entries, and each header goes
// before the first of these that is greater; a header without a greater one is left out. All
// functions throw std::bad_alloc, except where they say otherwise.

// Cuts a file where its entries and headers are. REQUIRES: it has entries and no cuts yet, and
// `positionsAscend` says whether the entries' low positions do. Costs no more than sorting the
// headers and one pass over the entries.
void CutAtEntries(sFile_Index_Store* store, bool positionsAscend);
// Cuts a file without entries where its first header is, and at those that go before that.
void CutAtHeaders(sFile_Index_Store* store);

// All cuts, in their order: those that are implied, then the others.
QVector<FilePosition> AllCuts(const sFile_Index_Store& store);
// Lists all cuts, for a file whose entries are about to move.
void ListAllCuts(sFile_Index_Store* store);

// The bytes [start, end) between two cuts, one after the other; both 0 when there are none.
struct FileStretch {
  FilePosition start = 0;
  FilePosition end = 0;
};

// The first stretch that holds a position, in the order of all cuts. `listedAscend` says whether
// those in blockPositions do. Throws nothing.
FileStretch StretchAt(const sFile_Index_Store& store, bool listedAscend, FilePosition position);
