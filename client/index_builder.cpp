#include "client/index_builder.h"

#include "client/archive_client.h"
#include "sources/archive_source.h"
#include "sources/reader_path.h"

namespace {

// Through a reader of the file's own: a reader on the folder would index only what is asked for,
// and report progress against another file.
IndexedFile IndexOne(const ServedSource& source, const std::string& path, Progress* progress) {
  IndexedFile file;
  file.name = archive_source::FileName(path);
  const auto other = source.Facts().Others().find(path);
  if (other != source.Facts().Others().end()) {
    file.whyFailed = other->second;
    return file;
  }
  if (path.size() > archive_source::kLongestPath) {
    file.whyFailed =
        "has a path of more than " + std::to_string(archive_source::kLongestPath) + " bytes";
    return file;
  }
  if (!reader_path::CanBeNamed(path)) {
    file.whyFailed = "has a path that is not text";
    return file;
  }
  source.WaitForOthers(path);
  ArchiveClient client(source, path, progress);
  const std::optional<ArchiveList> list = client.List();
  if (!list || list->archives.empty()) {
    file.whyFailed = kWhyNoIndex;
    return file;
  }
  file.startTime = list->archives.front().startTime;
  file.endTime = list->archives.front().endTime;
  const bool holdsEntries = file.startTime <= file.endTime;
  if (!holdsEntries) {
    file.whyFailed = "holds no index entry";
    return file;
  }
  file.state = client.BuiltAnIndex() ? FileState::kIndexed : FileState::kCached;
  return file;
}

}  // namespace

std::vector<IndexedFile> BuildIndexes(const ServedSource& source, Progress* progress) {
  const std::vector<std::string>& paths = source.Facts().Files();
  if (paths.empty()) archive_source::FailWithoutFiles(source.Path());
  std::vector<IndexedFile> files;
  for (const std::string& path : paths) files.push_back(IndexOne(source, path, progress));
  return files;
}
