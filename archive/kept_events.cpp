#include "archive/kept_events.h"

#include <algorithm>

#include "blocks/stream_records.h"
#include "parser/framing.h"

namespace {

// With the longest text and its NUL.
constexpr std::size_t kLargestEvent = 1 + kLargestPayload + 1;
constexpr std::size_t kPortion = 4 * kLargestEvent;

}  // namespace

KeptEvents::KeptEvents(const QString& path) {
  mIsWhole = mFile.Open(path, PlainFile::Mode::kRead);
}

bool KeptEvents::NextGroup(KeptGroup* group) {
  if (!mIsWhole || IsAtEnd()) return false;
  ByteCursor bytes = Bytes();
  std::uint8_t count = 0;
  if (!bytes.Read(&group->time) || !bytes.Read(&group->offsetLow) || !bytes.Read(&count))
    return Fail();
  // A count that has wrapped may be 0, but no run writes a head of nothing but zeros.
  if (group->time == 0 && group->offsetLow == 0 && count == 0) return Fail();
  group->count = count;
  mTime = group->time;
  MoveTo(bytes);
  return true;
}

bool KeptEvents::NextEvent(RecordedEvent* event) {
  if (!mIsWhole) return false;
  ByteCursor bytes = Bytes();
  if (!bytes.Read(&event->type) || !IsEventType(event->type)) return Fail();
  const auto* const text = reinterpret_cast<const char*>(bytes.Next());
  const std::size_t length = bytes.TextLength();
  if (!bytes.Skip(length) || !bytes.Skip(1)) return Fail();
  event->time = ToArchiveTime(mTime);
  event->text.assign(text, length);
  MoveTo(bytes);
  return true;
}

bool KeptEvents::NextEventIs(std::uint8_t type, const unsigned char* text, std::size_t length) {
  if (!mIsWhole) return false;
  ByteCursor bytes = Bytes();
  const unsigned char* const kept = bytes.Next();
  const bool isThis = bytes.Skip(1 + length + 1) && kept[0] == type &&
                      std::equal(text, text + length, kept + 1) && kept[1 + length] == 0;
  if (isThis) {
    MoveTo(bytes);
    return true;
  }
  RecordedEvent other;
  NextEvent(&other);
  return false;
}

bool KeptEvents::Fail() {
  mIsWhole = false;
  return false;
}

ByteCursor KeptEvents::Bytes() {
  const std::size_t left = mPortion.size() - mBegin;
  if (left < kLargestEvent && mTaken + left < mFile.Size()) {
    mPortion.erase(mPortion.begin(), mPortion.begin() + static_cast<std::ptrdiff_t>(mBegin));
    mBegin = 0;
    mPortion.resize(kPortion);
    mPortion.resize(left + mFile.Read(mPortion.data() + left, kPortion - left));
  }
  return {mPortion.data() + mBegin, mPortion.size() - mBegin};
}

void KeptEvents::MoveTo(const ByteCursor& cursor) {
  const std::size_t begin = mPortion.size() - cursor.Left();
  mTaken += begin - mBegin;
  mBegin = begin;
}
