#include "archive/record_steps.h"

#include <algorithm>

#include "blocks/byte_cursor.h"
#include "blocks/index_record.h"
#include "parser/framing.h"

RecordSteps::Record RecordSteps::Next() {
  if (mPosition >= mEnd) return {Kind::kEnd, mPosition, 0, {}, {}};
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
      Record record = Of(Kind::kData, sizeof(head) + head.length);
      record.type = head.type;
      return record;
    }
  }
}

const unsigned char* RecordSteps::Bytes(std::size_t size) {
  if (mEnd - mPosition < size) return nullptr;
  const bool isThere = mWindowFrom <= mPosition && mPosition + size <= mWindowFrom + mWindowSize;
  if (!isThere) {
    bool failed = false;
    const auto wanted =
        static_cast<std::size_t>(std::min<std::uint64_t>(mWindow.size(), mEnd - mPosition));
    mWindowFrom = mPosition;
    mWindowSize = mFile.ReadAt(mPosition, mWindow.data(), wanted, &failed);
    if (mWindowSize < size) return nullptr;
  }
  return mWindow.data() + (mPosition - mWindowFrom);
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
