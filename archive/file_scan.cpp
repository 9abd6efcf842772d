#include "archive/file_scan.h"

#include <algorithm>

#include "system/file_data.h"
#include "system/interruption.h"

namespace {

constexpr std::size_t kBlockSize = 65536;

}  // namespace

FileScan::FileScan(const PlainFile& file, FramingParser& parser, FilePosition position)
    : mFile(file), mParser(parser), mPosition(position) {
  mStream.SkipZeros(position);
}

void FileScan::UpTo(FilePosition end, const OnBytesRead& onBytesRead) {
  mBlock.resize(kBlockSize);
  while (mPosition < end) {
    const auto data = NextData(mFile.Handle(), mPosition, end);
    PassHole(data ? data->from : end);
    if (data && !ReadData(data->to, onBytesRead)) break;
  }
  // A file at rest needs no buffer.
  mBlock = {};
}

void FileScan::PassHole(FilePosition end) {
  const std::uint64_t bytes = end - mPosition;
  if (bytes == 0) return;
  mStream.SkipZeros(bytes);
  mParser.FeedZeros(bytes);
  mPosition = end;
}

// False when the file ends before `end`.
bool FileScan::ReadData(FilePosition end, const OnBytesRead& onBytesRead) {
  while (mPosition < end) {
    interruption::Check();
    const auto wanted =
        static_cast<std::size_t>(std::min<std::uint64_t>(end - mPosition, kBlockSize));
    const std::size_t count = mStream.Read(mFile, mBlock.data(), wanted);
    if (count == 0) return false;
    mParser.Feed(mBlock.data(), count);
    mPosition += count;
    onBytesRead(count);
  }
  return true;
}
