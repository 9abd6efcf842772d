#include "gist_buffer.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace {

constexpr unsigned char kMarginByte = 0xA5;

// Copies of packed fields, which cannot be referred to.
template <class Value>
Value Copy(Value value) {
  return value;
}

}  // namespace

GistBuffer::GistBuffer(std::int32_t binCount)
    : mBinCount(binCount > 0 ? static_cast<std::size_t>(binCount) : 0),
      mBytes(kMargin + sizeof(TActivityGist) + mBinCount + kMargin, kMarginByte) {
  *Gist() = TActivityGist();
  std::fill_n(Gist()->Levels(), mBinCount, std::uint8_t{0});
}

Levels GistBuffer::AllLevels() {
  return Levels(Gist()->Levels(), Gist()->Levels() + mBinCount);
}

bool GistBuffer::IsIntact() const {
  const auto isMargin = [](unsigned char byte) { return byte == kMarginByte; };
  return std::all_of(mBytes.begin(), mBytes.begin() + kMargin, isMargin) &&
         std::all_of(mBytes.end() - kMargin, mBytes.end(), isMargin);
}

TZEL3ActivityRequest Span(std::uint64_t from, std::uint64_t to, std::int32_t binCount,
                          std::int32_t streamId) {
  TZEL3ActivityRequest request;
  request.from = from;
  request.to = to;
  request.binCount = binCount;
  request.streamId = streamId;
  return request;
}

ActivityAnswer ActivityOf(const cZel3Indexer& index, const TZEL3ActivityRequest& request) {
  GistBuffer buffer(request.binCount);
  const bool found = index.Fill_activity(request, buffer.Gist());
  EXPECT_EQ(Copy(buffer.Gist()->from), Copy(request.from));
  EXPECT_EQ(Copy(buffer.Gist()->to), Copy(request.to));
  EXPECT_EQ(Copy(buffer.Gist()->streamId), Copy(request.streamId));
  EXPECT_EQ(Copy(buffer.Gist()->binCount), Copy(request.binCount));
  EXPECT_TRUE(buffer.IsIntact());
  return {found, buffer.AllLevels()};
}
