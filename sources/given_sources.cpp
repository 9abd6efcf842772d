#include "sources/given_sources.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "sources/archive_source.h"
#include "sources/folder_tree.h"
#include "system/file_status.h"

namespace {

using FileId = std::pair<std::uint64_t, std::uint64_t>;  // device and inode

std::optional<FileId> IdOf(const std::string& path) {
  const auto status = StatusOf(path);
  if (!status) return std::nullopt;
  return FileId(std::uint64_t{status->stx_dev_major} << 32 | status->stx_dev_minor,
                status->stx_ino);
}

// Keeps each file once. A file whose identity is not known stays.
void RemoveRepeated(std::vector<std::string>* files, std::set<FileId>* seen) {
  const auto isRepeated = [seen](const std::string& file) {
    const auto id = IdOf(file);
    return id && !seen->insert(*id).second;
  };
  std::vector<std::string> kept;
  for (const std::string& file : *files) {
    if (!isRepeated(file)) kept.push_back(file);
  }
  *files = std::move(kept);
}

std::string CommonFolder(const std::string& one, const std::string& other) {
  const std::string first = one == "/" ? one : one + "/";
  const std::string second = other == "/" ? other : other + "/";
  const auto end = std::mismatch(first.begin(), first.end(), second.begin(), second.end()).first;
  const std::size_t slash = std::string(first.begin(), end).rfind('/');
  return first.substr(0, std::max<std::size_t>(slash, 1));
}

class SourceSearch {
 public:
  explicit SourceSearch(const SourceArguments& arguments) : mArguments(arguments) {
    for (const std::string& path : arguments.paths) Add(path);
    RemoveNamedOfFolders();
    NameGroups();
  }

  FoundSources Take() {
    std::vector<GivenSource>& sources = mFound.sources;
    sources.erase(std::remove_if(sources.begin(), sources.end(),
                                 [](const GivenSource& source) {
                                   return source.files.empty() && IsNamed(source);
                                 }),
                  sources.end());
    if (mArguments.merge) {
      Merge();
    } else {
      mFound.areMany = mArguments.recursive || sources.size() + mFound.problems.size() > 1;
    }
    return std::move(mFound);
  }

 private:
  // Whether the source's files were named one by one. If they are several, it becomes a folder once
  // all are known.
  static bool IsNamed(const GivenSource& source) { return !source.isFolder; }

  void Add(const std::string& path) {
    std::string located;
    try {
      located = archive_source::Locate(path);
    } catch (const Failure& failure) {
      mFound.problems.push_back({failure.what(), failure.Code()});
      return;
    }
    if (!archive_source::IsFolder(located)) {
      AddFile(located);
    } else if (mArguments.recursive) {
      AddTree(located);
    } else {
      AddFolder(located, archive_source::Files(located));
    }
  }

  void AddFile(const std::string& file) {
    const std::string folder = archive_source::FolderOf(file);
    const auto [group, isNew] =
        mGroups.insert({archive_source::CanonicalPath(folder), mFound.sources.size()});
    if (isNew) mFound.sources.push_back({folder, false, {}});
    mFound.sources[group->second].files.push_back(file);
  }

  // Returns whether the folder was new.
  bool AddFolder(const std::string& folder, std::vector<std::string> files) {
    const auto id = IdOf(folder);
    if (id && !mFolders.insert(*id).second) return false;
    mFound.sources.push_back({folder, true, std::move(files)});
    return true;
  }

  void AddTree(const std::string& top) {
    bool holdsAny = false;
    const FolderTree tree = FoldersBelow(top);
    for (const std::string& folder : tree.folders) {
      std::vector<std::string> files = archive_source::Files(folder);
      if (files.empty()) continue;
      holdsAny = true;
      AddFolder(folder, std::move(files));
    }
    for (const std::string& text : tree.problems) mFound.problems.push_back({text, kExitDamaged});
    if (!holdsAny)
      mFound.problems.push_back({archive_source::NoFilesIn(top) + " or below", kExitFailed});
  }

  void RemoveNamedOfFolders() {
    if (mGroups.empty()) return;
    std::set<FileId> seen;
    for (const GivenSource& source : mFound.sources) {
      for (const std::string& file : source.files) {
        const auto id = IsNamed(source) ? std::nullopt : IdOf(file);
        if (id) seen.insert(*id);
      }
    }
    for (GivenSource& source : mFound.sources) {
      if (IsNamed(source)) RemoveRepeated(&source.files, &seen);
    }
  }

  void NameGroups() {
    for (GivenSource& source : mFound.sources) {
      if (!IsNamed(source) || source.files.empty()) continue;
      archive_source::SortByName(&source.files);
      source.isFolder = source.files.size() > 1;
      if (!source.isFolder) source.path = source.files.front();
    }
  }

  void Merge() {
    std::vector<GivenSource>& sources = mFound.sources;
    if (sources.size() < 2) return;
    GivenSource all;
    all.isFolder = true;
    for (const GivenSource& source : sources) {
      if (source.files.empty()) {
        mFound.problems.push_back({archive_source::NoFilesIn(source.path), kExitFailed});
        continue;
      }
      const std::string folder =
          source.isFolder ? source.path : archive_source::FolderOf(source.path);
      all.path = all.path.empty() ? folder : CommonFolder(all.path, folder);
      all.files.insert(all.files.end(), source.files.begin(), source.files.end());
    }
    std::set<FileId> seen;
    RemoveRepeated(&all.files, &seen);
    sources.clear();
    if (!all.files.empty()) sources.push_back(std::move(all));
  }

  const SourceArguments& mArguments;
  FoundSources mFound;
  std::set<FileId> mFolders;
  std::map<std::string, std::size_t> mGroups;  // of named files, by folder
};

}  // namespace

GivenSource GivenSourceAt(const std::string& path) {
  const std::string located = archive_source::Locate(path);
  return {located, archive_source::IsFolder(located), archive_source::Files(located)};
}

FoundSources FindSources(const SourceArguments& arguments) {
  return SourceSearch(arguments).Take();
}
