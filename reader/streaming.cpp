#include <cstring>
#include <utility>

#include "reader/index_marker.h"
#include "reader/zel3_file_reader.h"

namespace {

// How much of a file is streamed at once.
constexpr std::uint32_t kPortion = 65535;

RawDataBlock Beginning(const RawDataBlock& block, std::uint32_t size) {
  RawDataBlock beginning = RawDataBlock::New(size);
  std::memcpy(beginning.FreshBytes(), block.Bytes(), size);
  return beginning;
}

}  // namespace

// Sending comes last: the brick may be gone when a send returns.
void CZel3FileReader::ReadAndSend() {
  if (!isIndexReader) {
    RawDataBlock block = RawDataBlock::New(kIndexRecordSize);
    WriteIndexMarker(block.FreshBytes(), 0);
    SendData(block);
    return;
  }
  const Portion portion = unsent.size == 0 ? ReadPortion() : std::exchange(unsent, Portion());
  if (portion.size == 0) {
    SendMessage(tag::kLevelWarning, tag::kCodeEndOfFile, "EOF",
                QLatin1String("End of file reached"));
    return;
  }
  try {
    if (portion.size == kPortion) {
      SendData(portion.block);
    } else {
      SendData(Beginning(RawDataBlock::View(portion.block), portion.size));
    }
  } catch (...) {
    // After an exception the brick is still there, and nobody has received the portion.
    unsent = portion;
    throw;
  }
}

CZel3FileReader::Portion CZel3FileReader::ReadPortion() {
  RawDataBlock block = RawDataBlock::New(kPortion);
  const std::size_t size = archiveFile.ReadNext(block.FreshBytes(), kPortion);
  return {block, static_cast<std::uint32_t>(size)};
}
