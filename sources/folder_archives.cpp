#include "sources/folder_archives.h"

#include <strings.h>

#include <QFile>
#include <limits>

#include "archive/archive_recognition.h"
#include "indexer/cache_names.h"
#include "sources/archive_source.h"
#include "sources/cache_file_name.h"
#include "sources/kept_caches.h"
#include "sources/reader_path.h"
#include "system/failure.h"

namespace {

// Shorter ones stand in the names of unfinished files as they are.
constexpr std::size_t kLongStem = 200;

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

std::vector<std::string> IndexStemsOf(const std::string& archive) {
  // The index of one that readers open through a link is named after the link.
  const std::string stem =
      StemOf(reader_path::CanBeNamed(archive) ? archive_source::FileName(archive)
                                              : reader_path::LinkName(archive));
  std::vector<std::string> stems{stem};
  if (stem.size() < kLongStem) return stems;
  for (const char* const suffix : {".id3", ".hdr", ".evt"}) {
    const QString file = QFile::decodeName((stem + suffix).c_str());
    const QString unfinished = UnfinishedName(file, std::numeric_limits<int>::max());
    const auto name = CacheFileNameFrom(QFile::encodeName(unfinished).constData());
    if (name && name->stem != stem) stems.push_back(name->stem);
  }
  return stems;
}

FolderArchives::FolderArchives(const std::string& folder) : mFolder(folder) {
  for (const std::string& name : NamesIfAny(folder)) {
    mIsEmpty = false;
    if (CacheFileNameFrom(name)) continue;
    const std::string path = (folder == "/" ? "" : folder) + "/" + name;
    for (const std::string& stem : IndexStemsOf(path)) mPaths.emplace(stem, path);
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
