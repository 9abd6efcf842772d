#pragma once

#include <cstdint>

#include "blocks/byte_cursor.h"
#include "blocks/stream_records.h"

// Writes an index record as it stands in an archive: the marker, then `time` over the time and the
// reserved word, then a zero flag. Returns the place behind it. REQUIRES: room for kIndexRecordSize
// bytes.
inline unsigned char* WriteIndexMarker(unsigned char* bytes, std::uint64_t time) {
  StoreLittleEndian(bytes, kIndexMarker);
  StoreLittleEndian(bytes + kMarkerSize, time);
  bytes[kMarkerSize + sizeof(time)] = 0;
  return bytes + kIndexRecordSize;
}
