#include <cstring>

#include "index_marker.h"
#include "zel3_file_reader.h"

void CZel3FileReader::ReadAndSend() {
  if (!isIndexReader) {
    RawDataBlock block = RawDataBlock::New(kIndexRecordSize);
    WriteIndexMarker(block.WritableBytes(), 0);
    SendData(block);
    return;
  }
  const std::size_t size = ReadFileAt(readPos, readBuffer, sizeof(readBuffer));
  readFailed = file.bad();
  if (size < 1) {
    SendMessage(tag::kLevelWarning, tag::kCodeEndOfFile, "EOF",
                QLatin1String("End of file reached"));
  } else {
    RawDataBlock block = RawDataBlock::New(static_cast<std::uint32_t>(size));
    std::memcpy(block.WritableBytes(), readBuffer, size);
    SendData(block);
  }
  readPos += size;
}
