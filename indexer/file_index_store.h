#pragma once

#include <QList>
#include <QString>
#include <QVector>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "blocks/units.h"

// Activity of one stream within one index entry.
struct TActivityPair {
  std::uint8_t streamId = 0;
  std::uint8_t level = 0;  // the largest level of the entry's blocks, doubled: 0-62
};

// One index entry, in memory as in the .id3 cache file.
struct ZEL_ID3_REC {
  std::uint8_t flags = 0;          // kEntryFlag or 0
  std::uint8_t activityCount = 0;  // pairs in use
  std::uint16_t offsetHigh = 0;    // bits 32-47 of the file position
  IndexTime time = 0;
  std::uint32_t offsetLow = 0;  // bits 0-31 of the file position
  TActivityPair activity[6];    // unused pairs are zero
};
static_assert(sizeof(ZEL_ID3_REC) == 24 && offsetof(ZEL_ID3_REC, offsetHigh) == 2);
static_assert(offsetof(ZEL_ID3_REC, time) == 4 && offsetof(ZEL_ID3_REC, offsetLow) == 8);
static_assert(offsetof(ZEL_ID3_REC, activity) == 12);
Q_DECLARE_TYPEINFO(ZEL_ID3_REC, Q_PRIMITIVE_TYPE);

constexpr std::uint8_t kEntryFlag = 0x80;  // the entry's index record carried its flag
constexpr std::uint8_t kMaxActivityPairs = 6;

// One event.
struct EVT_FILE_EVENT_T {
  std::uint8_t eventType = 0;
  std::string text;
};
Q_DECLARE_TYPEINFO(EVT_FILE_EVENT_T, Q_MOVABLE_TYPE);

// The events of one index entry; time and offsetLow together are its key.
struct EVT_FILE_DATA_T {
  IndexTime time = 0;
  std::uint32_t offsetLow = 0;  // of the entry
  std::uint8_t eventCount = 0;  // wraps after 255, whatever `events` holds
  QVector<EVT_FILE_EVENT_T> events;
};

// The set of the stream ids of a file: stream n is bit (n & 7) of byte (n >> 3).
using StreamMap = std::array<std::uint8_t, 32>;

inline void AddStream(StreamMap& map, std::uint8_t streamId) {
  map[streamId >> 3] = static_cast<std::uint8_t>(map[streamId >> 3] | 1 << (streamId & 7));
}

// Cuts that are not listed because they follow from the entries, whose low positions ascend.
struct ImpliedCuts {
  int entryCount = 0;                   // so many entries, from the first on, are cuts
  QVector<FilePosition> sortedHeaders;  // each is a cut if one of those entries lies after it
};

// Everything known about one archive file.
struct sFile_Index_Store {
  QString fileName;  // full path; the identity of the store
  QString id3Path;   // full path of its .id3 cache file
  QVector<FilePosition> headerPositions;
  QVector<ZEL_ID3_REC> id3Records;  // in file order
  QList<EVT_FILE_DATA_T> events;
  IndexTime startTime = kNoStartTime;
  IndexTime lastIndexTime = 0;
  IndexTime endTime = 0;
  IndexTime indexInterval = 0;  // typical distance between two entries
  StreamMap streamMap = {};
  // Where the file can be cut into stretches to read: entries, headers, and the end position last.
  // Implied cuts go before the listed ones.
  ImpliedCuts impliedCuts;
  QVector<FilePosition> blockPositions;
  // Only head and tail of the file are known, or nothing yet.
  bool partial = false;

  static constexpr IndexTime kNoStartTime = 0xFFFFFFFF;
};
