#include "index_builder.h"

#include "archive_client.h"
#include "archive_source.h"
#include "tool_error.h"

namespace {

// Through a reader of the file's own: a reader on the folder would index only what is asked for,
// and report progress against another file.
IndexedFile IndexOne(const HostOptions& host, const std::string& path, ProgressBar* progress) {
  IndexedFile file;
  file.name = archive_source::FileName(path);
  if (path.size() > kLongestPath) return file;
  ArchiveClient client(host, path, progress);
  const std::optional<ArchiveList> list = client.List();
  if (!list || list->archives.empty()) return file;
  file.startTime = list->archives.front().startTime;
  file.endTime = list->archives.front().endTime;
  const bool holdsEntries = file.startTime <= file.endTime;
  if (holdsEntries) file.state = client.BuiltAnIndex() ? FileState::kIndexed : FileState::kCached;
  return file;
}

}  // namespace

std::vector<IndexedFile> BuildIndexes(const HostOptions& host, const std::string& source,
                                      ProgressBar* progress) {
  const std::vector<std::string> paths = archive_source::Files(source);
  if (paths.empty()) throw ToolError("no archive in " + source);
  std::vector<IndexedFile> files;
  for (const std::string& path : paths) files.push_back(IndexOne(host, path, progress));
  return files;
}
