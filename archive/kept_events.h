#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "archive/recorded_event.h"
#include "blocks/byte_cursor.h"
#include "blocks/units.h"
#include "indexer/plain_file.h"

// The events that the cache of an archive keeps for one of its entries.
struct KeptGroup {
  IndexTime time = 0;
  std::uint32_t offsetLow = 0;  // of the entry's position
  unsigned count = 0;           // 0-255: of more events, what is left of their number
};

// Goes through the .evt file of an archive. Takes no more memory for many events than for few.
// Whatever a whole file does not have ends the walk.
class KeptEvents {
 public:
  explicit KeptEvents(const QString& path);

  bool IsOpen() const { return mFile.IsOpen(); }
  std::uint64_t Size() const { return mFile.Size(); }
  // Something that is neither a group nor an event has been met, or the file did not open.
  bool IsBroken() const { return !mIsWhole; }

  // The next group. All events of the one before must have been taken.
  bool NextGroup(KeptGroup* group);
  // The next event of the group.
  bool NextEvent(RecordedEvent* event);
  // The same, when it is known what the event should be; whether it is that. Here a text may hold
  // NULs, which end it everywhere else.
  bool NextEventIs(std::uint8_t type, const unsigned char* text, std::size_t length);

  // After the last group: whether the file is whole.
  bool IsWhole() const { return mIsWhole && IsAtEnd(); }

 private:
  bool Fail();
  bool IsAtEnd() const { return mTaken == mFile.Size(); }
  // What comes next: any group or event, unless the file ends within it.
  ByteCursor Bytes();
  // What comes next now begins where the cursor is.
  void MoveTo(const ByteCursor& cursor);

  PlainFile mFile;
  std::vector<char> mPortion;
  std::size_t mBegin = 0;    // in the portion, of what comes next
  std::uint64_t mTaken = 0;  // of the file
  IndexTime mTime = 0;
  bool mIsWhole = true;
};
