#include "archive_scan.h"

#include <algorithm>
#include <fstream>
#include <vector>

#include "interruption.h"
#include "tool_error.h"

namespace {

constexpr std::size_t kBlockSize = 65536;

std::uint64_t SizeOf(std::ifstream* file) {
  file->seekg(0, std::ios::end);
  const std::streamoff size = file->tellg();
  file->seekg(0);
  return size < 0 ? 0 : static_cast<std::uint64_t>(size);
}

}  // namespace

std::uint64_t ScanArchive(const std::string& path, FramingSink& sink,
                          const OnBytesRead& onBytesRead) {
  std::ifstream file(path, std::ios::binary);
  const std::uint64_t size = SizeOf(&file);
  if (!file) throw ToolError("cannot open " + path);
  FramingParser parser(sink);
  std::vector<char> block(kBlockSize);
  for (std::uint64_t left = size; left > 0 && file;) {
    interruption::Check();
    file.read(block.data(),
              static_cast<std::streamsize>(std::min<std::uint64_t>(left, kBlockSize)));
    const auto count = static_cast<std::size_t>(file.gcount());
    parser.Feed(reinterpret_cast<const unsigned char*>(block.data()), count);
    left -= count;
    onBytesRead(count);
  }
  if (file.bad()) throw ToolError("cannot read " + path);
  parser.Finish();
  return size;
}
