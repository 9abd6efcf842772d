#include "recorded_archive.h"

#include <algorithm>
#include <random>

#include "archive/archive_writer.h"
#include "cache_files.h"

namespace {

constexpr std::uint8_t kStream = 1;
constexpr std::uint8_t kLevel = 3;
constexpr std::size_t kBlockSize = 20 * 1024;

std::vector<unsigned char> RandomBytes(std::size_t count) {
  std::vector<unsigned char> bytes(count);
  std::mt19937 random(1);
  std::generate(bytes.begin(), bytes.end(), [&random] { return random() & 0xFF; });
  return bytes;
}

// An archive in the making.
class Recording {
 public:
  explicit Recording(const std::string& path) : mWriter(path) {
    ArchiveHeader header;
    header.title = "cam";
    header.streams.push_back({kStream, 1, "video", "gate", "raw"});
    mWriter.WriteHeader(header);
    mArchive.path = path;
  }

  std::uint64_t Size() const { return mWriter.Position(); }

  void BeginEntry() {
    IDX_T index;
    index.time = kFirstTime + static_cast<std::uint32_t>(mArchive.entryPositions.size());
    mArchive.entryPositions.push_back(mWriter.Position());
    mWriter.WriteIndex(index);
  }
  void AddBlock(std::size_t size) { mWriter.WriteData(kStream, kLevel, mBytes.data(), size); }

  RecordedArchive Finish() {
    mArchive.size = mWriter.Position();
    mWriter.Close();
    return mArchive;
  }

 private:
  const std::vector<unsigned char> mBytes = RandomBytes(kLargestPayload);
  ArchiveWriter mWriter;
  RecordedArchive mArchive;
};

}  // namespace

RecordedArchive RecordBlocks(const std::string& path, std::uint64_t size, int blocksPerEntry) {
  Recording recording(path);
  while (recording.Size() < size) {
    recording.BeginEntry();
    for (int i = 0; i < blocksPerEntry; ++i) recording.AddBlock(kBlockSize);
  }
  return recording.Finish();
}

RecordedArchive RecordEqualEntries(const std::string& path, int entryCount, int blocksPerEntry,
                                   std::size_t blockSize) {
  Recording recording(path);
  for (int i = 0; i < entryCount; ++i) {
    recording.BeginEntry();
    for (int j = 0; j < blocksPerEntry; ++j) recording.AddBlock(blockSize);
  }
  return recording.Finish();
}

RecordedArchive RecordMixedEntries(const std::string& path, int entryCount) {
  constexpr std::size_t kSmallest = 8 * 1024;
  Recording recording(path);
  std::mt19937 random(1);
  for (int i = 0; i < entryCount; ++i) {
    recording.BeginEntry();
    recording.AddBlock(kSmallest + random() % (kLargestPayload - kSmallest));
  }
  return recording.Finish();
}
