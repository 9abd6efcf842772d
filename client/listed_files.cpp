#include "client/listed_files.h"

#include <algorithm>
#include <map>
#include <optional>

#include "archive/archive_headers.h"
#include "client/kept_index.h"
#include "system/interruption.h"

namespace {

// What is known of a file without a reader.
struct TimedFile {
  std::string path;
  std::optional<ArchiveTime> end;  // nothing for a file without an index
};

using FilesByStart = std::multimap<ArchiveTime, TimedFile>;

FilesByStart TimedFiles(const SourceFacts& source) {
  FilesByStart files;
  for (const std::string& path : source.Archives()) {
    interruption::Check();
    cZel3Indexer index;
    if (source.HasIndex(path) && OpenKeptIndex(path, source.Indexes().folder, &index)) {
      const sFile_Index_Store& store = index.Files()[0];
      files.insert({ToArchiveTime(store.startTime), {path, ToArchiveTime(store.endTime)}});
    } else if (const std::optional<IndexTime> start = TimeOfFirstIndex(path)) {
      files.insert({ToArchiveTime(*start), {path, std::nullopt}});
    }
  }
  return files;
}

std::string FileOf(const ListedArchive& archive, const FilesByStart& files) {
  std::string path;
  const auto [first, end] = files.equal_range(archive.startTime);
  for (auto file = first; file != end; ++file) {
    if (file->second.end.value_or(archive.endTime) != archive.endTime) continue;
    if (!path.empty()) return "";
    path = file->second.path;
  }
  return path;
}

}  // namespace

std::vector<std::string> FilesOf(const std::vector<ListedArchive>& archives,
                                 const SourceFacts& source) {
  const bool isOne = archives.size() == 1 && source.Archives().size() == 1;
  if (isOne) return source.Archives();
  const FilesByStart files = TimedFiles(source);
  std::vector<std::string> paths;
  for (const ListedArchive& archive : archives) paths.push_back(FileOf(archive, files));
  return paths;
}
