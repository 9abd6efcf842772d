#include "indexed_source.h"

#include <algorithm>
#include <iostream>

#include "archive_source.h"
#include "tool_error.h"

namespace {

std::vector<IndexedFile> IndexAll(const HostOptions& host, const std::string& source,
                                  MissingIndexes missing, ProgressBar* progress) {
  if (missing == MissingIndexes::kLeaveOut) return {};
  return BuildIndexes(host, source, progress);
}

bool IsIndexed(const IndexedFile& file) {
  return file.state != FileState::kFailed;
}

// Without a parser a reader builds no index, not even when it opens a single file.
HostOptions HostFor(HostOptions host, MissingIndexes missing) {
  if (missing == MissingIndexes::kLeaveOut) host.offerParser = false;
  return host;
}

}  // namespace

IndexedSource::IndexedSource(const HostOptions& host, const std::string& path,
                             MissingIndexes missing)
    : mPath(archive_source::Locate(path)),
      mMissing(missing),
      mFiles(IndexAll(host, mPath, missing, &mProgress)),
      mComplete(std::all_of(mFiles.begin(), mFiles.end(), IsIndexed)),
      mClient(HostFor(host, missing), mPath, &mProgress) {
  ListArchives();
  if (!mComplete) std::cerr << "zel3: files without an index are left out; zel3 index names them\n";
}

void IndexedSource::FailWithNothing(const std::string& what) {
  if (mMissing == MissingIndexes::kLeaveOut) throw ToolError(what, kExitNothing);
  mClient.FailWithNothing(what);
}

void IndexedSource::ListArchives() {
  const std::optional<ArchiveList> list = mClient.List();
  for (ListedArchive archive : list ? list->archives : ArchivesOfFiles()) {
    const std::optional<FoundEntry> first = FirstEntry(archive);
    if (!first) continue;
    if (!list) {
      if (first->time != archive.startTime) continue;  // of another file
      archive.fileNumber = first->fileNumber;
    }
    mArchives.push_back(archive);
  }
  mComplete = mComplete && list && mArchives.size() == list->archives.size();
}

// For a reader that gives no list because it could not open all files.
std::vector<ListedArchive> IndexedSource::ArchivesOfFiles() const {
  std::vector<ListedArchive> archives;
  for (const IndexedFile& file : mFiles) {
    if (IsIndexed(file)) archives.push_back({file.startTime, file.endTime, 0, {}});
  }
  return archives;
}

std::optional<FoundEntry> IndexedSource::FirstEntry(const ListedArchive& archive) {
  const auto ask = [this, &archive]() -> std::optional<FoundEntry> {
    const std::optional<PreviewEntry> shown = mClient.Preview(archive.startTime, archive.startTime);
    if (!shown) return std::nullopt;
    return shown->entry;
  };
  const std::optional<FoundEntry> entry = ask();
  if (entry || mMissing == MissingIndexes::kLeaveOut) return entry;
  // Where caches cannot be written the reader must index the file for itself.
  try {
    mClient.Find(archive.startTime, Lookup::kAtOrBefore);
  } catch (const ToolError& error) {
    if (error.Code() == kExitInterrupted) throw;
    return std::nullopt;
  }
  return ask();
}
