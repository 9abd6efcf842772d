#include "archive/archive_scan.h"

#include <algorithm>
#include <vector>

#include "indexer/archive_stream.h"
#include "system/failure.h"
#include "system/file_data.h"
#include "system/interruption.h"

namespace {

constexpr std::size_t kBlockSize = 65536;

// Goes through a file, part by part.
class Scan {
 public:
  Scan(const PlainFile& file, FramingSink& sink, const OnBytesRead& onBytesRead)
      : mFile(file), mParser(sink), mOnBytesRead(onBytesRead), mBlock(kBlockSize) {}

  ScannedBytes ToTheEnd() {
    const std::uint64_t size = mFile.Size();
    while (mPosition < size) {
      const auto data = NextData(mFile.Handle(), mPosition, size);
      PassHole(data ? data->from : size);
      if (data && !ReadData(data->to)) break;
    }
    mParser.Finish();
    return {size, mStream.PassedOver()};
  }

 private:
  void PassHole(FilePosition end) {
    mStream.SkipZeros(end - mPosition);
    mParser.FeedZeros(end - mPosition);
    mPosition = end;
  }

  // False when the file ends before that.
  bool ReadData(FilePosition end) {
    while (mPosition < end) {
      interruption::Check();
      const auto wanted =
          static_cast<std::size_t>(std::min<std::uint64_t>(end - mPosition, kBlockSize));
      const std::size_t count = mStream.Read(mFile, mBlock.data(), wanted);
      if (count == 0) return false;
      mParser.Feed(mBlock.data(), count);
      mPosition += count;
      mOnBytesRead(count);
    }
    return true;
  }

  const PlainFile& mFile;
  ArchiveStream mStream;
  FramingParser mParser;
  const OnBytesRead& mOnBytesRead;
  std::vector<unsigned char> mBlock;
  FilePosition mPosition = 0;
};

}  // namespace

ScannedBytes ScanArchive(const std::string& path, FramingSink& sink,
                         const OnBytesRead& onBytesRead) {
  PlainFile file;
  if (!file.Open(path, PlainFile::Mode::kRead)) throw Failure("cannot open " + path);
  return Scan(file, sink, onBytesRead).ToTheEnd();
}
