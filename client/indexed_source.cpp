#include "client/indexed_source.h"

#include <algorithm>

#include "sources/archive_source.h"
#include "system/failure.h"

namespace {

std::vector<IndexedFile> IndexAll(const ServedSource& source, Progress* progress) {
  if (source.Missing() == MissingIndexes::kBuild) return BuildIndexes(source, progress);
  // A reader that opens a single file without an index begins to build it.
  const SourceFacts& facts = source.Facts();
  if (!facts.IsFolder() && !facts.HasAllIndexes()) {
    throw Failure(archive_source::FileName(source.Path()) + " has no index, and none is built",
                  kExitNothing);
  }
  return {};
}

bool IsIndexed(const IndexedFile& file) {
  return file.state != FileState::kFailed;
}

}  // namespace

IndexedSource::IndexedSource(const ServedSource& source, Progress* progress)
    : mSource(source),
      mFiles(IndexAll(source, progress)),
      mComplete(std::all_of(mFiles.begin(), mFiles.end(), IsIndexed)),
      mClient(source, progress) {
  ListArchives();
  if (!mComplete) source.Tell("files without an index are left out; zel3 index names them");
}

void IndexedSource::FailWithNothing(const std::string& what) {
  if (LeavesOutMissing()) throw Failure(what, kExitNothing);
  mClient.FailWithNothing(what);
}

void IndexedSource::ListArchives() {
  const std::optional<ArchiveList> list = mClient.List();
  for (ListedArchive archive : list ? list->archives : ArchivesOfFiles()) {
    const std::optional<FoundEntry> first = FirstEntry(archive);
    if (!first) {
      if (list) mWithoutIndex.push_back(archive);
      continue;
    }
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
  if (entry || LeavesOutMissing()) return entry;
  // Where caches cannot be written the reader must index the file for itself.
  try {
    mClient.Find(archive.startTime, Lookup::kAtOrBefore);
  } catch (const Failure& error) {
    if (error.Code() == kExitInterrupted) throw;
    return std::nullopt;
  }
  return ask();
}
