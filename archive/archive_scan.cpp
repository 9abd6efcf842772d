#include "archive/archive_scan.h"

#include <QFile>
#include <algorithm>
#include <vector>

#include "indexer/archive_stream.h"
#include "system/failure.h"
#include "system/interruption.h"

namespace {

constexpr std::size_t kBlockSize = 65536;

}  // namespace

ScannedBytes ScanArchive(const std::string& path, FramingSink& sink,
                         const OnBytesRead& onBytesRead) {
  PlainFile file;
  if (!file.Open(QFile::decodeName(path.c_str()), PlainFile::Mode::kRead))
    throw Failure("cannot open " + path);
  ArchiveStream stream;
  FramingParser parser(sink);
  std::vector<unsigned char> block(kBlockSize);
  std::size_t count = 1;
  for (std::uint64_t left = file.Size(); left > 0 && count > 0; left -= count) {
    interruption::Check();
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(left, kBlockSize));
    count = stream.Read(file, block.data(), wanted);
    parser.Feed(block.data(), count);
    onBytesRead(count);
  }
  parser.Finish();
  return {file.Size(), stream.PassedOver()};
}
