#pragma once

#include <QString>
#include <cstdint>
#include <limits>
#include <string>

#include "archive/kept_events.h"
#include "blocks/stream_records.h"
#include "blocks/units.h"

// Compares the .evt file of an archive with the events that a parser finds in it, entry by entry.
class EventsCheckup {
 public:
  // An index is never larger than its archive, so a larger file is not read.
  EventsCheckup(const QString& path, std::uint64_t archiveBytes);

  // What the archive holds, in file order.
  void OnIndex(FilePosition position, IndexTime time);
  void OnEvent(const DATA_T& head, const unsigned char* text);
  // Bytes of the entry, and perhaps entries after it, are lost.
  void OnLost() { mIsDamaged = true; }
  void OnEnd();

  // What is known at the end.

  bool IsOpen() const { return mKept.IsOpen(); }
  // The file ends within an event, or holds something else.
  bool IsBroken() const { return mKept.IsOpen() && mKept.IsBroken(); }
  // Why it is not of this archive; empty when it is.
  const std::string& Mismatch() const { return mMismatch; }
  // How many of its events lie where the archive is damaged.
  std::uint64_t Lost() const { return mLost; }

 private:
  static constexpr FilePosition kEndOfFile = std::numeric_limits<FilePosition>::max();

  void EndEntry(FilePosition end);
  // Whether there is a next group. Looks at it without taking it.
  bool PeekGroup();
  // Counts the events of the group at hand that have not been taken.
  std::uint64_t TakeRestOfGroup();
  // Takes the groups of entries from the one at hand up to `end`, which the archive has lost.
  void LoseGroups(FilePosition end);
  bool IsBefore(FilePosition end) const;
  void NoteOtherEvents();

  KeptEvents mKept;
  std::string mMismatch;   // the first one; nothing is compared after it
  bool mIsPeeked = false;  // mGroup has been read, but is not that of the entry
  KeptGroup mGroup;        // the one read last
  unsigned mLeftInGroup = 0;

  // The entry at hand. Events before the first one are kept under zeros.
  FilePosition mPosition = 0;
  IndexTime mTime = 0;
  std::uint64_t mInEntry = 0;  // events of the archive
  bool mIsDamaged = false;

  // Numbers of events.
  std::uint64_t mInArchive = 0;
  std::uint64_t mMissing = 0;  // of these, after the end of the file
  std::uint64_t mMatched = 0;
  std::uint64_t mLost = 0;
};
