#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "progress_bar.h"
#include "served_source.h"

enum class FileState { kCached, kIndexed, kFailed };

struct IndexedFile {
  std::string name;
  FileState state = FileState::kFailed;
  std::uint64_t startTime = 0;  // archive times; of no meaning for a failed file
  std::uint64_t endTime = 0;
};

// Gives every archive of a source its index: those that have one keep it. All files of the source
// come by name; those that are not archives have failed. Throws ToolError when the source holds no
// file or the user interrupts.
std::vector<IndexedFile> BuildIndexes(const ServedSource& source, ProgressBar* progress);
