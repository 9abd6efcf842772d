#include "archive/file_window.h"

#include <algorithm>

const unsigned char* FileWindow::At(FilePosition position, std::size_t size) {
  if (mFrom <= position && position - mFrom <= mSize && size <= mSize - (position - mFrom))
    return mBytes.data() + (position - mFrom);
  const bool goesOn = mSize > 0 && mFrom <= position && position - mFrom <= mSize + kNear;
  const std::size_t longer = std::min(2 * mBytes.size(), kLongest);
  mBytes.resize(std::max({goesOn ? longer : kShortest, kShortest, size}));
  mFrom = position;
  bool failed = false;
  mSize = mFile.ReadAt(position, mBytes.data(), mBytes.size(), &failed);
  return mSize < size ? nullptr : mBytes.data();
}
