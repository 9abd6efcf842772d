#include "checkup/event_groups.h"

#include <algorithm>

#include "blocks/byte_cursor.h"

namespace {

constexpr std::uint64_t kBytesAtOnce = 65536;

}  // namespace

EventGroups::EventGroups(const QString& path) {
  mFile.Open(path, PlainFile::Mode::kRead);
  mLeft = mFile.Size();
}

bool EventGroups::TakeGroup(EventGroupHead* group) {
  unsigned char head[9];
  for (std::size_t i = 0; i < sizeof(head); ++i) {
    if (!TakeByte(&head[i])) return i > 0 && Break();
  }
  // A count wraps after 255 and may be 0, but no run writes a head of zeros.
  if (std::all_of(std::begin(head), std::end(head), [](unsigned char byte) { return byte == 0; }))
    return Break();
  group->time = LoadLittleEndian<IndexTime>(head);
  group->offsetLow = LoadLittleEndian<std::uint32_t>(head + 4);
  group->events = head[8];
  return true;
}

bool EventGroups::TakeEvent() {
  unsigned char type = 0;
  if (!TakeByte(&type) || !IsEventType(type)) return Break();
  return TakeText();
}

bool EventGroups::TakeEvent(std::uint8_t type, const unsigned char* text, std::size_t size) {
  unsigned char byte = 0;
  if (!TakeByte(&byte)) return Break();
  bool isThis = byte == type;
  for (std::size_t i = 0; isThis && i < size; ++i) {
    if (!TakeByte(&byte)) return Break();
    isThis = byte == text[i];
    if (!isThis && byte == 0) return false;
  }
  if (!isThis) {
    TakeText();
    return false;
  }
  if (!TakeByte(&byte)) return Break();
  if (byte != 0) TakeText();
  return byte == 0;
}

bool EventGroups::TakeByte(unsigned char* byte) {
  if (mIsBroken) return false;
  if (mTaken == mPortion.size() && !ReadOn()) return false;
  *byte = mPortion[mTaken++];
  return true;
}

bool EventGroups::ReadOn() {
  if (mLeft == 0) return false;
  mPortion.resize(static_cast<std::size_t>(std::min(mLeft, kBytesAtOnce)));
  mPortion.resize(mFile.Read(mPortion.data(), mPortion.size()));
  mTaken = 0;
  mLeft = mPortion.empty() ? 0 : mLeft - mPortion.size();
  return !mPortion.empty();
}

bool EventGroups::Break() {
  mIsBroken = true;
  return false;
}

// Its rest, and the NUL.
bool EventGroups::TakeText() {
  unsigned char byte = 0;
  do {
    if (!TakeByte(&byte)) return Break();
  } while (byte != 0);
  return true;
}
