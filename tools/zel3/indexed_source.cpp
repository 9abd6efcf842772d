#include "indexed_source.h"

#include <algorithm>
#include <iostream>

#include "archive_source.h"
#include "index_builder.h"
#include "tool_error.h"

namespace {

bool BuildAll(const HostOptions& host, const std::string& source, ProgressBar* progress) {
  const std::vector<IndexedFile> files = BuildIndexes(host, source, progress);
  return std::none_of(files.begin(), files.end(),
                      [](const IndexedFile& file) { return file.state == FileState::kFailed; });
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
      mComplete(missing == MissingIndexes::kLeaveOut || BuildAll(host, mPath, &mProgress)),
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
  mComplete = mComplete && list;
  if (!list) return;
  for (const ListedArchive& archive : list->archives) {
    if (mClient.Preview(archive.startTime, archive.startTime)) mArchives.push_back(archive);
  }
  mComplete = mComplete && mArchives.size() == list->archives.size();
}
