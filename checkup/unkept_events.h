#pragma once

#include <bitset>
#include <cstdint>
#include <optional>
#include <string>

#include "blocks/stream_records.h"
#include "blocks/units.h"

// Counts the events of an archive that no index can hold: of more than 255 in an entry, those that
// the count of the group loses; all from a text with a NUL on, which ends too early; and an event
// without a text at the very end.
class UnkeptEvents {
 public:
  void OnIndex(FilePosition position);
  void OnEvent(const DATA_T& head, const unsigned char* text);
  void OnEnd();

  // At the end of the archive.
  std::uint64_t All() const { return mAll; }
  std::uint64_t Count() const { return mCount; }
  // The position of the entry with the first one, and why no index can hold it: a clause.
  FilePosition Position() const { return mFirst; }
  const std::string& Why() const { return mWhy; }

 private:
  static constexpr std::uint64_t kMostNumbers = 256;  // that the count of a group tells apart

  void EndEntry();
  void Note(FilePosition position, std::uint64_t count, const char* why);

  std::uint64_t mAll = 0;
  std::uint64_t mCount = 0;
  FilePosition mFirst = 0;
  std::string mWhy;
  // Readers take nothing more from there on.
  bool mHasEnded = false;
  // Of the events that are kept; below, the position of its entry.
  bool mLastHasNoText = false;
  FilePosition mLastPosition = 0;

  // The entry at hand; 0 before the first one.
  FilePosition mPosition = 0;
  std::uint64_t mInEntry = 0;
  std::optional<std::uint64_t> mFirstNul;  // number of the event
  std::bitset<kMostNumbers> mHasNoText;    // of the first events
};
