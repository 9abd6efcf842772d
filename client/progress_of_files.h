#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "archive/damage_scan.h"
#include "system/progress.h"

// One display for work on many files; what works on a file knows only that one, and goes through it
// once or more often.
class ProgressOfFiles : public Progress {
 public:
  // `sizes`: how many bytes there are to go through in each file. Borrows the display.
  ProgressOfFiles(std::vector<std::uint64_t> sizes, Progress* progress);
  ~ProgressOfFiles() override { mProgress.Clear(); }
  ProgressOfFiles(const ProgressOfFiles&) = delete;
  ProgressOfFiles& operator=(const ProgressOfFiles&) = delete;

  // From now on the file with that place is worked on, and those before it are done.
  void Begin(std::size_t place);

  // How far the work on that file is. When `what` changes, it goes through the file once more.
  void Show(const WorkState& state) override;
  // Others follow.
  void Clear() override {}

 private:
  const std::vector<std::uint64_t> mSizes;
  Progress& mProgress;
  std::uint64_t mAll = 0;
  std::uint64_t mBefore = 0;  // bytes of the files before
  std::size_t mPlace = 0;
  std::string mWay;               // what is being done to the file
  std::uint64_t mWaysBefore = 0;  // bytes of earlier passes
  std::uint64_t mWayBytes = 0;
};

// Looks for damage of an archive, and shows how far it is. Throws what ScanArchive throws.
Damage ShownDamageOf(const std::string& archive, Progress* progress);
