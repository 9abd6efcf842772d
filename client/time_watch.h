#pragma once

#include <cstddef>
#include <optional>

#include "blocks/units.h"
#include "client/recorded_gap.h"

// From one time to another.
struct TimeLeap {
  ArchiveTime from;
  ArchiveTime to;

  bool IsBackward() const { return to < from; }
};

// Tells how the times of entries follow each other. Entries come in the order of their archives.
class TimeWatch {
 public:
  // Takes an entry; returns the leap from the one taken before, if nothing is recorded between them
  // or the time goes back. `step`: of the archive.
  std::optional<TimeLeap> Take(std::size_t archive, ArchiveTime time, ArchiveTime step) {
    std::optional<TimeLeap> leap;
    if (mTaken) {
      const std::uint64_t mostSteps =
          archive == mArchive ? kMostStepsInAFile : kMostStepsToTheNextFile;
      const bool isBackward = time < mTime;
      if (isBackward || IsGap(time - mTime, mStep, mostSteps)) leap = TimeLeap{mTime, time};
    }
    mTaken = true;
    mArchive = archive;
    mTime = time;
    mStep = step;
    return leap;
  }

 private:
  bool mTaken = false;
  std::size_t mArchive = 0;
  ArchiveTime mTime = 0;
  ArchiveTime mStep = 0;
};
