#include "checkup/leftovers.h"

#include <QFile>
#include <algorithm>
#include <set>

#include "indexer/cache_names.h"
#include "sources/archive_source.h"
#include "sources/cache_file_name.h"
#include "sources/folder_archives.h"
#include "sources/kept_caches.h"
#include "system/failure.h"
#include "system/file_status.h"
#include "system/passing_name.h"

namespace {

std::string Local(const QString& path) {
  return QFile::encodeName(path).constData();
}

std::vector<std::string> NamesIfAny(const std::string& folder) {
  try {
    return kept_caches::NamesIn(folder);
  } catch (const Failure&) {
    return {};
  }
}

bool IsNumberZero(const std::string& name, const CacheNames& names) {
  const QString files[] = {names.entries, names.headers, names.events};
  return std::any_of(std::begin(files), std::end(files), [&](const QString& file) {
    return archive_source::FileName(Local(UnfinishedName(file))) == name;
  });
}

bool MayBeBeingWritten(const std::string& path) {
  const auto status = StatusOf(path, Links::kNot);
  return !status || kept_caches::IsFresh(*status);
}

bool IsYoungOrGone(const std::string& path) {
  const auto status = StatusOf(path, Links::kNot);
  return !status || kept_caches::IsYoungOutput(*status);
}

}  // namespace

std::vector<Finding> Leftovers::OfIndex(const std::string& archive) {
  const CacheNames names = mSource.CacheOf(archive);
  const std::string folder = archive_source::FolderOf(Local(names.entries));
  const auto& unfinished = LookInto(folder).unfinished;
  std::vector<Finding> findings;
  for (const std::string& stem : IndexStemsOf(Local(names.entries))) {
    const auto [first, end] = unfinished.equal_range(stem);
    for (auto entry = first; entry != end; ++entry) {
      const std::string& name = entry->second;
      if (IsNumberZero(name, names) || MayBeBeingWritten(folder + "/" + name)) continue;
      findings.push_back(
          {FindingKind::kCacheLeftover, name, "is left over from a save that did not end"});
    }
  }
  return findings;
}

std::vector<Finding> Leftovers::OfVerbs() {
  if (!mSource.IsFolder()) return {};
  std::set<std::string> folders;
  for (const std::string& file : mSource.Files()) folders.insert(archive_source::FolderOf(file));
  std::vector<Finding> findings;
  for (const std::string& folder : folders) {
    for (const std::string& name : LookInto(folder).outputs) {
      if (IsYoungOrGone(folder + "/" + name)) continue;
      findings.push_back({FindingKind::kOutputLeftover, mSource.NameOf(folder + "/" + name),
                          passing_name::Is(name)
                              ? "is what a verb that did not end began to write"
                              : "has a name that earlier versions gave to unfinished files"});
    }
  }
  return findings;
}

const Leftovers::Folder& Leftovers::LookInto(const std::string& path) {
  const auto [known, isNew] = mFolders.try_emplace(path);
  if (!isNew) return known->second;
  Folder& folder = known->second;
  for (const std::string& name : NamesIfAny(path)) {
    const auto parts = CacheFileNameFrom(name);
    if (parts && parts->isUnfinished) folder.unfinished.emplace(parts->stem, name);
    if (passing_name::Is(name) || passing_name::IsEarlier(name)) folder.outputs.push_back(name);
  }
  std::sort(folder.outputs.begin(), folder.outputs.end());
  return folder;
}
