#pragma once

#include <algorithm>
#include <cstdint>

#include "blocks/index_record.h"
#include "blocks/units.h"

// Writes an index record as it stands in an archive: the marker, then the low half of `indexTime`
// as the time and the high half as the reserved word, then a zero flag. Returns the place after it.
// REQUIRES: room for kIndexRecordSize bytes.
inline unsigned char* WriteIndexMarker(unsigned char* bytes, std::uint64_t indexTime) {
  IDX_T index;
  index.time = static_cast<IndexTime>(indexTime);
  index.reserved = static_cast<std::uint32_t>(indexTime >> 32);
  const auto record = EncodeIndexRecord(index);
  return std::copy(record.begin(), record.end(), bytes);
}
