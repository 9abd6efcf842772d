#pragma once

#include <string>
#include <vector>

#include "blocks/units.h"
#include "sources/served_source.h"
#include "system/progress.h"

enum class FileState { kCached, kIndexed, kFailed };

struct IndexedFile {
  std::string name;
  FileState state = FileState::kFailed;
  std::string whyFailed;      // a clause that follows the name; may quote what comes from outside
  ArchiveTime startTime = 0;  // of no meaning for a failed file
  ArchiveTime endTime = 0;
};

// Gives every archive of a source its index: those that have one keep it. All files of the source
// come by name; those that are not archives have failed. Throws Failure when the source holds no
// file or the user interrupts.
std::vector<IndexedFile> BuildIndexes(const ServedSource& source, Progress* progress);
