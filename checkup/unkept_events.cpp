#include "checkup/unkept_events.h"

#include <algorithm>

void UnkeptEvents::OnIndex(FilePosition position) {
  EndEntry();
  mPosition = position;
}

void UnkeptEvents::OnEvent(const DATA_T& head, const unsigned char* text) {
  ++mAll;
  if (!mFirstNul && std::find(text, text + head.length, 0) != text + head.length)
    mFirstNul = mInEntry;
  if (mInEntry < kMostNumbers) mHasNoText[mInEntry] = head.length == 0;
  ++mInEntry;
}

void UnkeptEvents::OnEnd() {
  EndEntry();
  if (mLastHasNoText && !mHasEnded) Note(mLastPosition, 1, "the last one has no text");
}

void UnkeptEvents::EndEntry() {
  if (mInEntry == 0) return;
  const std::uint64_t kept = mHasEnded ? 0 : mInEntry % kMostNumbers;
  const std::uint64_t whole = std::min(kept, mFirstNul.value_or(kept));
  if (kept < mInEntry) Note(mPosition, mInEntry - kept, "an entry has more than 255");
  if (whole < kept) Note(mPosition, kept - whole, "a text has a NUL");
  // For readers, an empty group ends the file, and a text with a NUL puts what follows it out of
  // step.
  mHasEnded = mHasEnded || whole < kept || kept == 0;
  mLastHasNoText = kept > 0 && mHasNoText[kept - 1];
  mLastPosition = mPosition;
  mInEntry = 0;
  mFirstNul.reset();
}

void UnkeptEvents::Note(FilePosition position, std::uint64_t count, const char* why) {
  if (mCount == 0) {
    mFirst = position;
    mWhy = why;
  }
  mCount += count;
}
