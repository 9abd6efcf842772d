#include "archive/entry_at_end.h"

#include <algorithm>

namespace {

class EntryFinder : public FramingSink {
 public:
  explicit EntryFinder(std::optional<ArchiveTime> time) : mTime(time) {}

  void OnHeader(FilePosition position, const ArchiveHeader& header) override {
    mHeader = EncodeHeaderRecord(header).value_or(std::vector<unsigned char>());
    mHeaderPosition = position;
  }
  void OnIndex(FilePosition position, const IDX_T& index) override {
    const ArchiveTime time = ToArchiveTime(index.time);
    const bool isFirst = !found.earliest;
    found.earliest = std::min(found.earliest.value_or(time), time);
    found.latest = std::max(found.latest.value_or(time), time);
    if (!isFirst && mTime && time > *mTime) return;
    found.position = position;
    found.header = mHeader;
    found.headerPosition = mHeaderPosition;
  }
  void OnData(FilePosition /*position*/, const DATA_T& /*head*/, const unsigned char* /*payload*/,
              Tag /*kind*/) override {}
  void OnEmptyData(FilePosition /*position*/, std::uint64_t /*count*/, Tag /*kind*/) override {}

  EntryStart found;

 private:
  const std::optional<ArchiveTime> mTime;
  std::vector<unsigned char> mHeader;
  FilePosition mHeaderPosition = 0;
};

}  // namespace

EntryStart LastEntry(const PlainFile& file, FilePosition end, std::optional<ArchiveTime> time,
                     const OnBytesRead& onBytesRead) {
  EntryFinder finder(time);
  FramingParser parser(finder);
  FileScan(file, parser).UpTo(end, onBytesRead);
  return finder.found;
}
