#include "archive/file_window.h"

#include <algorithm>
#include <cstring>

const unsigned char* FileWindow::At(FilePosition position, std::size_t size) {
  if (const unsigned char* const held = Held(position, size)) return held;
  const std::size_t near = mKeptFrom ? kNearWithKept : kNear;
  const std::size_t longest = mKeptFrom ? kLongestWithKept : kLongest;
  const bool goesOn = mSize > 0 && mFrom <= position && position - mFrom <= mSize + near;
  mLength = std::max(goesOn ? std::min(2 * mLength, longest) : kShortest, size);
  if (goesOn && MoveKept()) {
    Append(mLength + static_cast<std::size_t>(position - std::min(position, mFrom + mSize)));
    if (const unsigned char* const held = Held(position, size)) return held;
    // Something in between cannot be read.
  }
  mFrom = position;
  mSize = 0;
  Append(mLength);
  return Held(position, size);
}

const unsigned char* FileWindow::Held(FilePosition position, std::size_t size) const {
  const bool isHeld =
      mFrom <= position && position - mFrom <= mSize && size <= mSize - (position - mFrom);
  return isHeld ? mBytes.data() + (position - mFrom) : nullptr;
}

// Lets the window begin with what is kept. False when that is not possible.
bool FileWindow::MoveKept() {
  const FilePosition end = mFrom + mSize;
  if (!mKeptFrom || *mKeptFrom < mFrom || *mKeptFrom > end || end - *mKeptFrom > kMostKept)
    return false;
  const auto kept = static_cast<std::size_t>(end - *mKeptFrom);
  std::memmove(mBytes.data(), mBytes.data() + (mSize - kept), kept);
  mFrom = *mKeptFrom;
  mSize = kept;
  return true;
}

void FileWindow::Append(std::size_t size) {
  if (mBytes.size() < mSize + size) mBytes.resize(mSize + size);
  bool failed = false;
  mSize += mFile.ReadAt(mFrom + mSize, mBytes.data() + mSize, size, &failed);
}
