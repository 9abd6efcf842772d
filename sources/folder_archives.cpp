#include "sources/folder_archives.h"

#include <strings.h>

#include "archive/archive_recognition.h"
#include "sources/archive_source.h"
#include "sources/cache_file_name.h"
#include "sources/kept_caches.h"
#include "sources/reader_path.h"
#include "system/failure.h"

namespace {

std::string StemOf(const std::string& name) {
  return name.substr(0, name.rfind('.'));
}

bool HasSuffixOfArchives(const std::string& name) {
  const std::string suffix = name.substr(StemOf(name).size());
  return strcasecmp(suffix.c_str(), ".zel3") == 0 || strcasecmp(suffix.c_str(), ".zel") == 0;
}

std::vector<std::string> NamesIfAny(const std::string& folder) {
  if (!archive_source::IsFolder(folder)) return {};
  try {
    return kept_caches::NamesIn(folder);
  } catch (const Failure&) {
    return {};
  }
}

}  // namespace

FolderArchives::FolderArchives(const std::string& folder) : mFolder(folder) {
  for (const std::string& name : NamesIfAny(folder)) {
    mIsEmpty = false;
    if (CacheFileNameFrom(name)) continue;
    const std::string path = (folder == "/" ? "" : folder) + "/" + name;
    // The index of one that readers open through a link is named after the link.
    const std::string indexed = reader_path::CanBeNamed(path) ? name : reader_path::LinkName(path);
    mPaths.emplace(StemOf(indexed), path);
  }
}

std::vector<std::string> FolderArchives::NamedAs(const std::string& stem) const {
  std::vector<std::string> archives;
  const auto [first, end] = mPaths.equal_range(stem);
  for (auto path = first; path != end; ++path) {
    const std::string& archive = path->second;
    if (HasSuffixOfArchives(archive_source::FileName(archive)) || !WhyNotForReaders(archive))
      archives.push_back(archive);
  }
  return archives;
}
