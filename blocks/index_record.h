#pragma once

#include <array>

#include "blocks/byte_cursor.h"
#include "blocks/stream_records.h"

// An index record as it stands in an archive: the marker, then the nine bytes of its body.
inline std::array<unsigned char, kIndexRecordSize> EncodeIndexRecord(const IDX_T& index) {
  std::array<unsigned char, kIndexRecordSize> bytes;
  StoreLittleEndian(bytes.data(), kIndexMarker);
  StoreLittleEndian(bytes.data() + kMarkerSize, index);
  return bytes;
}

// REQUIRES: nine bytes, those after the marker.
inline IDX_T DecodeIndexBody(const void* body) {
  return LoadLittleEndian<IDX_T>(body);
}
