#pragma once

#include <QString>
#include <cstdint>
#include <string>
#include <vector>

#include "blocks/units.h"
#include "indexer/plain_file.h"

// What the records of a cache file are.
struct RecordKind {
  const char* one;  // what they are called
  const char* many;
  std::size_t size;
  FilePosition (*positionOf)(const char* record);  // in the archive
};

// Goes through a cache file of records that each belong to a place of the archive, and notes how it
// differs; it need not fit into memory.
class KeptRecords {
 public:
  // No index of the archive has more than `most` records: a larger file is not read.
  KeptRecords(const QString& path, const RecordKind& kind, std::uint64_t most);

  // The archive has one more record: returns the one kept for it, borrowed until the next call.
  // Null when none is left, or when a difference has been noted: nothing is compared after that.
  const char* Expect();
  // The record that Expect returned last is not the one at `position`, or differs from it: `how` is
  // a clause.
  void NoteDifference(const std::string& how, FilePosition position);
  // The archive has lost what lay from `begin` up to `end`.
  void OnLost(FilePosition begin, FilePosition end);

  bool IsOpen() const { return mFile.IsOpen(); }
  // The file could not be read to the end that its size tells.
  bool HasFailed() const { return mHasFailed; }
  bool EndsWithinARecord() const { return mFile.Size() % mKind.size != 0; }
  // At the end of the archive: why the file does not belong to it; empty when it does.
  std::string Mismatch() const;
  // How many of its records lie where the archive is damaged.
  std::uint64_t Lost() const { return mLost; }

 private:
  bool Take();
  const char* Record() const { return mPortion.data() + mPlace - mKind.size; }

  const RecordKind mKind;
  PlainFile mFile;
  std::vector<char> mPortion;  // read from the file
  std::size_t mPlace = 0;      // bytes of it that have been taken
  bool mHasFailed = false;
  std::string mDifference;    // the first one
  std::uint64_t mNumber = 0;  // of the record that Expect returned last
  // Numbers of records.
  std::uint64_t mTaken = 0;
  std::uint64_t mLeft = 0;
  std::uint64_t mLost = 0;
  std::uint64_t mInArchive = 0;
};
