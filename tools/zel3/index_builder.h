#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "archive_session.h"
#include "progress_bar.h"

enum class FileState { kCached, kIndexed, kFailed };

struct IndexedFile {
  std::string name;
  FileState state = FileState::kFailed;
  std::uint64_t startTime = 0;  // archive times; of no meaning for a failed file
  std::uint64_t endTime = 0;
};

// Gives every archive file of a source its index: those that have one keep it. `source` comes from
// archive_source::Locate. The files come by name. Throws ToolError when the source holds no archive
// or the user interrupts.
std::vector<IndexedFile> BuildIndexes(const HostOptions& host, const std::string& source,
                                      ProgressBar* progress);
