#pragma once

#include <QMultiMap>
#include <cstdint>

#include "blocks/stream_records.h"
#include "blocks/units.h"
#include "indexer/file_index_store.h"

// The time and the low position of an event group.
using GroupKey = std::uint64_t;

// The entry that an index record at `position` begins, without any data yet.
ZEL_ID3_REC NewEntry(FilePosition position, const IDX_T& index);
// Counts a block of an entry: it keeps the largest doubled level of each of its first six streams.
void CountActivity(const DATA_T& block, ZEL_ID3_REC* entry);

// What an indexing run collects, or opening loads, for one archive file. `current` and the pending
// entry together are all that is known of the file so far; everything here begins with one reset.
struct Intake {
  // Empties it, for a file that is opened and for each start of a run. What stays is which file it
  // is, whether it is partial, and lastIndexTime.
  void Reset();
  // The same for a draft. There scratchPos stays as well, and so does whether an entry is pending,
  // although the entry itself becomes all zeros.
  void ResetForDraft();

  // Ends a run: the pending entry, if there is one, joins the others. Throws std::bad_alloc.
  void AppendPending();

  sFile_Index_Store current;
  FilePosition scratchPos = 0;           // of the record at hand
  ZEL_ID3_REC pendingId3Rec;             // the entry being collected, or the last bare one
  bool pendingId3RecValid = false;       // it is not yet in current.id3Records
  QMultiMap<GroupKey, int> groupPlaces;  // where the groups of current.events lie
};
