#include <cstring>

#include "index_marker.h"
#include "zel3_file_reader.h"

namespace {

// How much of a file is streamed at once.
constexpr std::uint32_t kPortion = 65535;

RawDataBlock Beginning(RawDataBlock const& block, std::uint32_t size) {
  RawDataBlock beginning = RawDataBlock::New(size);
  std::memcpy(beginning.WritableBytes(), block.Bytes(), size);
  return beginning;
}

}  // namespace

void CZel3FileReader::ReadAndSend() {
  if (!isIndexReader) {
    RawDataBlock block = RawDataBlock::New(kIndexRecordSize);
    WriteIndexMarker(block.WritableBytes(), 0);
    SendData(block);
    return;
  }
  RawDataBlock block = RawDataBlock::New(kPortion);
  const std::size_t size = ReadFileAt(readPos, block.WritableBytes(), kPortion);
  if (size < 1) {
    SendMessage(tag::kLevelWarning, tag::kCodeEndOfFile, "EOF",
                QLatin1String("End of file reached"));
  } else {
    SendData(size == kPortion ? block : Beginning(block, static_cast<std::uint32_t>(size)));
  }
  readPos += size;
}
