#include "checkup/events_checkup.h"

#include <fmt/format.h>

EventsCheckup::EventsCheckup(const QString& path, std::uint64_t archiveBytes) : mKept(path) {
  if (mKept.Size() > archiveBytes) mMismatch = "is larger than an index of this archive can be";
}

void EventsCheckup::OnIndex(FilePosition position, IndexTime time) {
  EndEntry(position);
  mPosition = position;
  mTime = time;
}

void EventsCheckup::OnEvent(const DATA_T& head, const unsigned char* text) {
  ++mInArchive;
  ++mInEntry;
  if (!mMismatch.empty()) return;
  if (mInEntry == 1) {
    if (!PeekGroup()) {
      ++mMissing;
      return;
    }
    if (mGroup.time != mTime || mGroup.offsetLow != static_cast<std::uint32_t>(mPosition))
      return NoteOtherEvents();
    mIsPeeked = false;
    mLeftInGroup = mGroup.count;
  }
  while (mLeftInGroup > 0) {
    --mLeftInGroup;
    if (mKept.NextEventIs(head.type, text, head.length)) {
      ++mMatched;
      return;
    }
    // The archive may have lost events before this one.
    if (!mIsDamaged) return NoteOtherEvents();
    ++mLost;
  }
}

void EventsCheckup::OnEnd() {
  EndEntry(kEndOfFile);
  if (!mMismatch.empty()) return;
  std::uint64_t left = mIsPeeked ? TakeRestOfGroup() : 0;
  while (PeekGroup()) left += TakeRestOfGroup();
  if (left > 0 || mMissing > 0)
    mMismatch = fmt::format("holds {} events, the archive {}", mMatched + mLost + left, mInArchive);
}

void EventsCheckup::EndEntry(FilePosition end) {
  if (mMismatch.empty()) {
    const bool hasGroup = mInEntry > 0 && !mIsPeeked && mMissing == 0;
    if (mIsDamaged) {
      if (hasGroup) mLost += TakeRestOfGroup();
      LoseGroups(end);
    } else if (hasGroup && mGroup.count != static_cast<std::uint8_t>(mInEntry)) {
      NoteOtherEvents();
    }
  }
  mInEntry = 0;
  mIsDamaged = false;
}

bool EventsCheckup::PeekGroup() {
  if (mIsPeeked) return true;
  mIsPeeked = mKept.NextGroup(&mGroup);
  mLeftInGroup = mIsPeeked ? mGroup.count : 0;
  return mIsPeeked;
}

std::uint64_t EventsCheckup::TakeRestOfGroup() {
  std::uint64_t taken = 0;
  RecordedEvent event;
  for (; mLeftInGroup > 0 && mKept.NextEvent(&event); --mLeftInGroup) ++taken;
  mLeftInGroup = 0;
  mIsPeeked = false;
  return taken;
}

void EventsCheckup::LoseGroups(FilePosition end) {
  while (PeekGroup() && IsBefore(end)) mLost += TakeRestOfGroup();
}

// Groups name only the low half of a position, which is enough for entries less than 4 GiB apart.
bool EventsCheckup::IsBefore(FilePosition end) const {
  const std::uint32_t distance = mGroup.offsetLow - static_cast<std::uint32_t>(mPosition);
  return distance < end - mPosition;
}

void EventsCheckup::NoteOtherEvents() {
  mMismatch =
      fmt::format("is not of this archive: the entry at byte {} has other events", mPosition);
}
