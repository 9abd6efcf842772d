#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "archive/entry_places.h"
#include "archive/typical_step.h"
#include "blocks/units.h"
#include "checkup/finding.h"

// Finds when the entries of an archive begin and end, and where their times are not as expected.
// Entries come one by one; only a few are held back.
class TimesCheckup {
 public:
  // `file` is the bare name of the archive.
  TimesCheckup(std::string file, Findings* findings);

  // What the archive holds, in file order.
  void OnIndex(FilePosition position, ArchiveTime time);
  // Bytes after the entry at hand make no sense.
  void OnDamage() { mIsDamaged = true; }
  // Adds a finding about bytes after the entry at hand; it gets the time of that entry.
  void AddInEntry(Finding finding);
  void OnEnd();

  std::uint64_t Entries() const { return mEntries; }

  // At the end, by the places of the entries; 0 without any.
  ArchiveTime Start() const { return mStart; }
  ArchiveTime End() const { return mEnd; }
  ArchiveTime Step() const { return mStep.Get(); }

 private:
  struct Entry {
    FilePosition position = 0;
    ArchiveTime time = 0;
    bool comesAfterDamage = false;
    std::vector<Finding> findings = {};  // in it
  };
  // From one place to the next.
  struct Interval {
    FilePosition position;  // of the entry there
    ArchiveTime from;
    ArchiveTime to;
    bool isDamaged;
  };

  void Release(std::vector<Finding>* findings, ArchiveTime time);
  void OnPlace(ArchiveTime place);
  void CheckStep(const Entry& entry, ArchiveTime place);
  void CheckHeldSteps();
  Finding About(FindingKind kind, FilePosition position, const std::string& text) const;
  Finding About(FindingKind kind, const Interval& step, const std::string& text) const;

  const std::string mFile;
  Findings* const mFindings;
  EntryPlaces mPlaces;
  std::deque<Entry> mWithoutPlace;
  std::uint64_t mEntries = 0;
  bool mIsDamaged = false;  // since the last one

  // Of the entries that have their places.
  bool mHasPlaced = false;
  ArchiveTime mTime = 0;  // the own time of the last one
  ArchiveTime mPlace = 0;
  bool mIsDamagedSinceStep = false;
  ArchiveTime mStart = 0;
  ArchiveTime mEnd = 0;
  TypicalStep mStep;
  std::vector<Interval> mHeldSteps;  // until a typical one is known
  std::uint64_t mSameTimes = 0;
  FilePosition mFirstSameTime = 0;
};
