#pragma once

#include <QTemporaryDir>
#include <string>
#include <vector>

#include "blocks/units.h"
#include "sdk/mem_block.h"

// A one-minute archive, written to see what bricks do with it, and removed at the end.
class TrialArchive {
 public:
  TrialArchive();

  const std::string& Path() const { return mPath; }

  // Every command of clients, for places in the archive, in an order in which a reader can answer
  // each.
  std::vector<cMemBlock> Commands() const;

  // What a reader sends: which entry it has found, and the bytes.
  std::vector<cMemBlock> Answers() const;

 private:
  QTemporaryDir mFolder;
  std::string mPath;
  ArchiveTime mStartTime = 0;
  ArchiveTime mEndTime = 0;
};
