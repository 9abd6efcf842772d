#include <algorithm>
#include <cstring>
#include <utility>

#include "zel3_indexer.h"

namespace {

// A raw header's body. Bytes beyond its data read as zero, so that every string in it ends.
class HeaderBody {
 public:
  HeaderBody(const char* bytes, std::size_t size)
      : mBytes(reinterpret_cast<const unsigned char*>(bytes)), mSize(size) {}

  std::uint8_t At(std::size_t place) const { return place < mSize ? mBytes[place] : 0; }

  std::size_t NulFrom(std::size_t place) const {
    if (place >= mSize) return place;
    const void* const nul = std::memchr(mBytes + place, 0, mSize - place);
    return nul == nullptr
               ? mSize
               : static_cast<std::size_t>(static_cast<const unsigned char*>(nul) - mBytes);
  }

 private:
  const unsigned char* mBytes;
  std::size_t mSize;
};

}  // namespace

cZel3Indexer::~cZel3Indexer() {
  CloseCacheFiles();
}

bool cZel3Indexer::Is_ready() const {
  return ready && !files.empty();
}

void cZel3Indexer::Add_tmp_header(const char* header, std::size_t size) {
  const HeaderBody body(header, size);
  const auto headerLength = static_cast<std::int16_t>(body.At(0) | body.At(1) << 8);
  constexpr std::size_t kTitle = 4;
  std::size_t cursor = body.NulFrom(kTitle);
  while (headerLength > 0 && cursor < static_cast<std::size_t>(headerLength)) {
    const std::uint8_t streamId = body.At(cursor + 1);
    const std::uint8_t streamActive = body.At(cursor + 2);
    if (streamActive != 0) AddStream(current.streamMap, streamId);
    const std::size_t text1 = cursor + 3;
    const std::size_t text2 = body.NulFrom(text1) + 1;
    const std::size_t text3 = body.NulFrom(text2) + 1;
    cursor = body.NulFrom(text3);
  }
}

void cZel3Indexer::FillFileStreamMap(std::uint32_t fileNumber, std::uint8_t* map) const {
  const StreamMap& streams = files[fileNumber].streamMap;
  std::copy(streams.begin(), streams.end(), map);
}

void cZel3Indexer::Add_first_index(const IDX_T& index) {
  FileBareEntry(index, 0);
}

void cZel3Indexer::Add_last_index(const IDX_T& index) {
  current.lastIndexTime = index.time;
  FileBareEntry(index, current.id3Records.size());
}

void cZel3Indexer::FileBareEntry(const IDX_T& index, int place) {
  const std::uint32_t time = index.time;
  current.partial = true;
  pendingId3Rec = ZEL_ID3_REC();
  pendingId3Rec.time = time;
  current.id3Records.insert(place, pendingId3Rec);
  current.startTime = std::min(current.startTime, time);
  current.endTime = std::max(current.endTime, time);
  Add_file_index(current);
}

void cZel3Indexer::Add_file_index(const sFile_Index_Store& store) {
  // `store` may be one of `files`, which move when another is inserted.
  sFile_Index_Store copy(store);
  const std::uint32_t startTime = copy.startTime;
  const std::uint32_t endTime = copy.endTime;
  if (files.empty()) {
    firstTime = startTime;
    lastTime = endTime;
    files.push_back(std::move(copy));
    return;
  }
  // The name is looked for only on the way to the place by start time: a store of the same name
  // behind it stays, and the file is then listed twice.
  const auto place =
      std::find_if(files.begin(), files.end(), [&copy](const sFile_Index_Store& filed) {
        return filed.fileName == copy.fileName || copy.startTime < filed.startTime;
      });
  if (place != files.end() && place->fileName == copy.fileName) {
    *place = std::move(copy);
  } else {
    files.insert(place, std::move(copy));
  }
  firstTime = std::min(firstTime, startTime);
  lastTime = std::max(lastTime, endTime);
}
