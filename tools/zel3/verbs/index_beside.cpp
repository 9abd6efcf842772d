#include "verbs/index_beside.h"

#include <strings.h>

#include <QFile>
#include <filesystem>
#include <set>
#include <vector>

#include "output/unfinished_file.h"
#include "sources/archive_source.h"
#include "sources/index_place.h"
#include "system/failure.h"
#include "system/file_status.h"

namespace {

std::set<std::string> PlacesOf(const std::string& archive) {
  return {archive, WhereLinksLead(archive)};
}

bool HasSuffixOfArchives(const std::filesystem::path& path) {
  const std::string suffix = path.extension().string();
  return strcasecmp(suffix.c_str(), ".zel3") == 0 || strcasecmp(suffix.c_str(), ".zel") == 0;
}

// Archives of a folder that differ only in their suffixes share one index.
void RefuseOtherArchiveBeside(const std::filesystem::path& archive) {
  const std::filesystem::path folder =
      archive.has_parent_path() ? archive.parent_path() : std::filesystem::path(".");
  std::error_code failed;
  for (std::filesystem::directory_iterator entry(folder, failed), end; !failed && entry != end;
       entry.increment(failed)) {
    const std::filesystem::path& path = entry->path();
    if (path.stem() != archive.stem() || path.filename() == archive.filename()) continue;
    if (!HasSuffixOfArchives(path) || AreOneFile(path.string(), archive.string())) continue;
    throw Failure(path.string() + " would have the same index as the output; choose another name",
                  kExitUsage);
  }
}

std::vector<std::string> CacheFilesBeside(const std::string& archive) {
  const CacheNames names = CacheOf(archive, "");
  std::vector<std::string> files;
  for (const QString& name : {names.events, names.entries, names.headers}) {
    const std::string path = QFile::encodeName(name).constData();
    if (StatusOf(path, Links::kNot)) files.push_back(path);
  }
  return files;
}

}  // namespace

void RefuseIndexBeside(const std::string& archive, bool mayReplace) {
  constexpr std::size_t kFilesOfAnIndex = 3;
  for (const std::string& place : PlacesOf(archive)) {
    RefuseOtherArchiveBeside(place);
    const std::vector<std::string> files = CacheFilesBeside(place);
    if (files.empty() || !StrangersBeside(place).empty()) continue;
    if (files.size() < kFilesOfAnIndex) {
      throw Failure(files.front() +
                    " would be taken for the index of the output; move it, or choose another name");
    }
    if (!mayReplace)
      throw Failure(files.front() + " belongs to an index and exists; --force replaces it");
  }
}

void RemoveIndexBeside(const std::string& archive) {
  for (const std::string& place : PlacesOf(archive)) {
    if (!StrangersBeside(place).empty()) continue;
    for (const std::string& file : CacheFilesBeside(place))
      QFile::remove(QFile::decodeName(file.c_str()));
  }
}
