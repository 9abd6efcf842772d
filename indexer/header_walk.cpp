#include <cstring>

#include "indexer/zel3_indexer.h"

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

void cZel3Indexer::Add_tmp_header(const char* header, std::size_t size) {
  const HeaderBody body(header, size);
  const auto headerLength = static_cast<std::int16_t>(body.At(0) | body.At(1) << 8);
  constexpr std::size_t kTitle = 4;
  std::size_t cursor = body.NulFrom(kTitle);
  while (headerLength > 0 && cursor < static_cast<std::size_t>(headerLength)) {
    const std::uint8_t streamId = body.At(cursor + 1);
    const std::uint8_t streamActive = body.At(cursor + 2);
    if (streamActive != 0) AddStream(intake.current.streamMap, streamId);
    const std::size_t text1 = cursor + 3;
    const std::size_t text2 = body.NulFrom(text1) + 1;
    const std::size_t text3 = body.NulFrom(text2) + 1;
    cursor = body.NulFrom(text3);
  }
}
