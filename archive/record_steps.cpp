#include "archive/record_steps.h"

#include <algorithm>

#include "blocks/byte_cursor.h"
#include "blocks/index_record.h"
#include "parser/framing.h"
#include "system/file_data.h"

RecordSteps::Record RecordSteps::Next() {
  if (mPosition >= mEnd) return {Kind::kEnd, mPosition, 0, false, {}, {}};
  const unsigned char* const marker = Bytes(kMarkerSize);
  if (marker == nullptr) return Of(Kind::kCutOff, 0);
  switch (LoadLittleEndian<std::uint32_t>(marker)) {
    case kHeaderMarker: {
      const unsigned char* const head = Bytes(kMarkerSize + sizeof(std::int16_t));
      if (head == nullptr) return Of(Kind::kCutOff, 0);
      const auto length = LoadLittleEndian<std::int16_t>(head + kMarkerSize);
      if (length < kShortestHeaderLength) return Of(Kind::kImpossible, 0);
      return Of(Kind::kHeader, kMarkerSize + static_cast<std::uint64_t>(length) + 1);
    }
    case kIndexMarker: {
      const unsigned char* const bytes = Bytes(kIndexRecordSize);
      if (bytes == nullptr) return Of(Kind::kCutOff, 0);
      const IDX_T index = DecodeIndexBody(bytes + kMarkerSize);
      Record record = Of(Kind::kIndex, kIndexRecordSize);
      record.index = index;
      return record;
    }
    default: {
      const DATA_T head = DecodeDataHead(marker);
      const bool isZeros = LoadLittleEndian<std::uint32_t>(marker) == 0;
      Record record = Of(Kind::kData, isZeros ? SizeOfZeros() : sizeof(head) + head.length);
      record.isZeros = isZeros;
      record.type = head.type;
      return record;
    }
  }
}

// The size of a record of four zeros, together with those after it in a hole.
std::uint64_t RecordSteps::SizeOfZeros() const {
  const auto data = NextData(mFile.Handle(), mPosition, mEnd);
  const std::uint64_t hole = (data ? data->from : mEnd) - mPosition;
  return std::max<std::uint64_t>(hole / sizeof(DATA_T), 1) * sizeof(DATA_T);
}

const unsigned char* RecordSteps::Bytes(std::size_t size) {
  return mEnd - mPosition < size ? nullptr : mWindow.At(mPosition, size);
}

RecordSteps::Record RecordSteps::Of(Kind kind, std::uint64_t size) {
  Record record;
  record.kind = mEnd - mPosition < size ? Kind::kCutOff : kind;
  record.position = mPosition;
  if (record.kind != kind) return record;
  record.size = size;
  mPosition += size;
  return record;
}
