#pragma once

#include <cstdint>

#include "blocks/units.h"
#include "indexer/file_index_store.h"
#include "indexer/store_order.h"
#include "indexer/time_range.h"

// What is learnt from the entries of a file while they are loaded, portion by portion.
class EntryScan {
 public:
  // Takes a portion.
  void Add(const ZEL_ID3_REC* entries, int count);

  const TimeRange& Range() const { return mRange; }
  const EntryOrder& Order() const { return mOrder; }

 private:
  TimeRange mRange;
  EntryOrder mOrder;
  bool mAny = false;
  std::uint32_t mLastPosition = 0;  // its low 32 bits
};
