#pragma once

#include <algorithm>
#include <cstdint>

#include "blocks/index_record.h"
#include "blocks/units.h"

// Writes an index record as it stands in an archive: the marker, then `time` over the time and the
// reserved word, then a zero flag. Returns the place after it. REQUIRES: room for kIndexRecordSize
// bytes.
inline unsigned char* WriteIndexMarker(unsigned char* bytes, std::uint64_t time) {
  IDX_T index;
  index.time = static_cast<IndexTime>(time);
  index.reserved = static_cast<std::uint32_t>(time >> 32);
  const auto record = EncodeIndexRecord(index);
  return std::copy(record.begin(), record.end(), bytes);
}
