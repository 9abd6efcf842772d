#pragma once

#include <memory>
#include <string>
#include <vector>

#include "checkup/cache_checkup.h"
#include "checkup/finding.h"

// All indexes that an archive has: the one in use, and those that lie elsewhere.
class ArchiveIndexes {
 public:
  // `folder` is the one in use; empty: beside the archive.
  ArchiveIndexes(const std::string& archive, const std::string& folder, const ArchiveSize& size);

  // Calls `act` for the checkup of each.
  template <class Act>
  void ForEach(Act act) {
    act(mInUse);
    for (const Other& other : mOthers) act(*other.checkup);
  }

  // At the end of the archive. Returns the state of the index in use.
  CacheState Finish(Findings* findings);

 private:
  struct Other {
    std::string folder;
    std::string name;  // of its file of entries
    std::unique_ptr<CacheCheckup> checkup;
  };

  void LookInto(const std::string& folder, const std::string& whyNot, const std::string& archive,
                const ArchiveSize& size);

  CacheCheckup mInUse;
  std::vector<Other> mOthers;
  std::vector<Finding> mNotRead;  // what is not looked at, and why
};
