#pragma once

#include <QString>
#include <cstdint>
#include <vector>

#include "blocks/stream_records.h"
#include "blocks/units.h"
#include "indexer/plain_file.h"

// The head of a group of events in an .evt file.
struct EventGroupHead {
  IndexTime time = 0;
  std::uint32_t offsetLow = 0;  // of the position of its entry
  std::uint8_t events = 0;
};

// Goes through an .evt file, group by group and event by event; it need not fit into memory.
class EventGroups {
 public:
  explicit EventGroups(const QString& path);

  bool IsOpen() const { return mFile.IsOpen(); }
  std::uint64_t Size() const { return mFile.Size(); }

  // The next group. False at the end of the file and where no group stands. REQUIRES: the events of
  // the group before it have been taken.
  bool TakeGroup(EventGroupHead* group);
  // The next event of the group. False where none stands.
  bool TakeEvent();
  // The same; whether it is this one.
  bool TakeEvent(std::uint8_t type, const unsigned char* text, std::size_t size);

  // Something has been met that is neither a group nor an event. Nothing is taken any more.
  bool IsBroken() const { return mIsBroken; }

 private:
  bool TakeByte(unsigned char* byte);
  bool ReadOn();
  bool Break();
  bool TakeText();

  PlainFile mFile;
  std::uint64_t mLeft = 0;  // bytes that have not been read
  std::vector<unsigned char> mPortion;
  std::size_t mTaken = 0;  // of the portion
  bool mIsBroken = false;
};
