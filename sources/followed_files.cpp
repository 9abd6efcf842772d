#include "sources/followed_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "sources/archive_source.h"
#include "sources/folder_tree.h"
#include "system/failure.h"
#include "system/file_handle.h"

namespace {

// Whether no folder is there, for all that can be told.
bool IsGone(const std::string& folder) {
  const auto status = StatusOf(folder);
  return status ? !S_ISDIR(status->stx_mode) : errno == ENOENT || errno == ENOTDIR;
}

// Whether its entries can be told apart from ones that are not there; otherwise errno says why not.
bool MayLookInto(const std::string& folder, bool isListed) {
  if (!StatusOf(folder + "/.")) return false;
  if (!isListed) return true;
  return OpenForReading(folder, O_DIRECTORY).IsOpen();
}

}  // namespace

FollowedFiles::FollowedFiles(const SourceArguments& arguments, OnNotice onNotice,
                             ChangeWatch::Clock::duration betweenChecks)
    : mIsRecursive(arguments.recursive),
      mIsMerged(arguments.merge),
      mOnNotice(std::move(onNotice)),
      mWatch([this](const std::string& notice) { TellOnce(notice); }, betweenChecks) {
  FileHandle output(STDOUT_FILENO);
  const auto status = StatusOf(output);
  output.Release();
  if (status && S_ISREG(status->stx_mode)) mOutput = InodeOf(*status);

  // Folders first: a file that is named beside its folder belongs to the folder.
  std::vector<std::string> files;
  for (const std::string& path : arguments.paths) {
    const std::string located = archive_source::Locate(path);
    std::set<std::string> added;
    if (!archive_source::IsFolder(located)) {
      files.push_back(located);
    } else if (mIsRecursive) {
      AddTree(located, false, &added);
    } else {
      AddFolder(located, false, false);
    }
  }
  for (const std::string& file : files) AddFile(file);
  if (mFolders.empty()) throw Failure("nothing is there to be followed");
  if (mIsMerged) {
    mSources.push_back(mFolders.begin()->first);
    for (auto& [path, folder] : mFolders) folder.source = 0;
    return;
  }
  // In the order of the command line.
  for (const std::string& path : arguments.paths) {
    const std::string located = archive_source::Locate(path);
    auto folder = mFolders.find(located);
    if (folder == mFolders.end()) folder = mFolders.find(archive_source::FolderOf(located));
    if (folder != mFolders.end() && !(mIsRecursive && folder->second.isListed))
      SourceOf(&folder->second, folder->first);
  }
  mAreMany = mIsRecursive || mSources.size() > 1;
}

void FollowedFiles::AddFile(const std::string& path) {
  const std::string folder = archive_source::FolderOf(path);
  mFolders[folder].named.insert(path);
  mWatch.Add(folder);
}

// True when it is another folder than the path has led to before.
bool FollowedFiles::AddFolder(const std::string& path, bool isTree, bool isBelow) {
  const auto leadsTo = [](const std::string& to) {
    const auto status = StatusOf(to);
    return status ? std::make_optional(InodeOf(*status)) : std::nullopt;
  };
  const std::optional<InodeId> id = leadsTo(path);
  if (!id) return false;
  std::string& known = mFolderIds.insert({*id, path}).first->second;
  // Another way to it, unless it has been renamed.
  if (known != path && leadsTo(known) == id) return false;
  known = path;
  Folder& folder = mFolders[path];
  if (!folder.isListed) {
    folder.isListed = true;
    folder.isTree = isTree;
    folder.isBelow = isBelow;
    if (mIsMerged && !mSources.empty()) folder.source = 0;
  }
  mWatch.Add(path);
  return std::exchange(folder.id, id) != id;
}

void FollowedFiles::AddTree(const std::string& top, bool isBelow, std::set<std::string>* added) {
  const FolderTree tree = FoldersBelow(top);
  for (const std::string& folder : tree.folders) {
    if (AddFolder(folder, true, isBelow || folder != top)) added->insert(folder);
  }
  for (const std::string& problem : tree.problems) TellOnce(problem);
}

// What is looked at again and again fails again and again.
void FollowedFiles::TellOnce(const std::string& notice) {
  if (mTold.insert(notice).second) mOnNotice(notice);
}

std::size_t FollowedFiles::SourceOf(Folder* folder, const std::string& path) {
  if (folder->source) return *folder->source;
  folder->source = mSources.size();
  const bool isOneFile = !folder->isListed && folder->named.size() == 1;
  mSources.push_back(isOneFile ? *folder->named.begin() : path);
  return *folder->source;
}

// Nothing when it cannot be told.
std::optional<std::map<std::string, InodeId>> FollowedFiles::Listed(const std::string& path,
                                                                    const Folder& folder) {
  std::map<std::string, InodeId> listed;
  if (IsGone(path)) return listed;
  std::vector<std::string> names(folder.named.begin(), folder.named.end());
  try {
    if (!MayLookInto(path, folder.isListed))
      throw Failure("cannot look into " + path + ": " + std::strerror(errno));
    if (folder.isListed) names = archive_source::Files(path);
  } catch (const Failure& failure) {
    TellOnce(failure.what());
    return std::nullopt;
  }
  for (const std::string& name : names) {
    const auto status = StatusOf(name);
    if (!status || !S_ISREG(status->stx_mode)) continue;
    const InodeId id = InodeOf(*status);
    if (id != mOutput) {
      listed[name] = id;
    } else {
      TellOnce(name + " is what is written to; it is left out");
    }
  }
  return listed;
}

std::vector<FollowedFile> FollowedFiles::FindAll() {
  std::set<std::string> folders;
  for (const auto& [path, folder] : mFolders) folders.insert(path);
  FileNews news;
  Relist(folders, &news);
  return news.appeared;
}

// A file behind a link changes where the link leads.
void FollowedFiles::Watch(const std::string& file) {
  const std::string real = archive_source::CanonicalPath(file);
  if (real == archive_source::CanonicalPath(archive_source::FolderOf(file)) + "/" +
                  archive_source::FileName(file)) {
    return;
  }
  mLeadTo[real] = file;
  mWatch.Add(archive_source::FolderOf(real));
}

void FollowedFiles::Relist(const std::set<std::string>& changed, FileNews* news) {
  // Folders that are gone from a tree hold nothing any more, whether or not this was told of them.
  std::set<std::string> folders = changed;
  for (const auto& [path, folder] : mFolders) {
    if (folder.isBelow && IsGone(path)) folders.insert(path);
  }
  std::set<std::string> all = folders;
  for (const std::string& path : folders) {
    const auto folder = mFolders.find(path);
    if (folder != mFolders.end() && folder->second.isTree && archive_source::IsFolder(path))
      AddTree(path, true, &all);
  }
  std::map<std::string, InodeId> listed;
  std::map<std::string, std::string> folderOf;
  for (auto path = all.begin(); path != all.end();) {
    const auto folder = mFolders.find(*path);
    const auto files = folder != mFolders.end() ? Listed(*path, folder->second) : std::nullopt;
    if (!files) {
      // What was known of it stays, until it is found anew.
      if (folder != mFolders.end()) folder->second.id.reset();
      path = all.erase(path);
      continue;
    }
    for (const auto& [file, id] : *files) {
      listed[file] = id;
      folderOf[file] = *path;
    }
    ++path;
  }

  std::map<InodeId, std::string> lost;  // by what they were: names that no longer lead there
  std::set<std::string> unnamed;
  for (const auto& [file, known] : mFiles) {
    if (all.count(known.folder) == 0) continue;
    const auto now = listed.find(file);
    if (now != listed.end() && now->second == known.id) continue;
    lost[known.id] = file;
    if (now == listed.end()) unnamed.insert(file);
  }
  std::set<InodeId> ids;
  for (const auto& [file, known] : mFiles) {
    if (lost.count(known.id) == 0) ids.insert(known.id);
  }

  std::map<std::string, Known> moved;
  std::vector<std::string> fresh;
  for (const auto& [file, id] : listed) {
    const auto known = mFiles.find(file);
    if (known != mFiles.end() && known->second.id == id) continue;
    const auto before = lost.find(id);
    if (before != lost.end()) {
      const std::size_t source = SourceOf(&mFolders[folderOf[file]], folderOf[file]);
      news->renamed.push_back({before->second, {file, source}});
      moved[file] = {id, folderOf[file]};
      unnamed.erase(before->second);
      lost.erase(before);
      ids.insert(id);
    } else {
      fresh.push_back(file);
    }
  }
  for (const RenamedFile& renamed : news->renamed) mFiles.erase(renamed.from);
  for (const std::string& file : unnamed) {
    mFiles.erase(file);
    news->gone.push_back(file);
  }
  for (const auto& [file, known] : moved) {
    mFiles[file] = known;
    news->touched.push_back(file);
  }
  archive_source::SortByName(&fresh);
  std::stable_sort(fresh.begin(), fresh.end(), [&](const std::string& one, const std::string& two) {
    return folderOf[one] < folderOf[two];
  });
  for (const std::string& file : fresh) {
    const InodeId id = listed[file];
    if (!ids.insert(id).second) continue;  // another name of one that is followed
    const bool isReplaced = mFiles.count(file) != 0;
    mFiles[file] = {id, folderOf[file]};
    Watch(file);
    if (isReplaced) {
      news->touched.push_back(file);
    } else {
      news->appeared.push_back({file, SourceOf(&mFolders[folderOf[file]], folderOf[file])});
    }
  }
  for (const std::string& path : folders) {
    const auto folder = mFolders.find(path);
    if (folder == mFolders.end() || !folder->second.isBelow || !IsGone(path)) continue;
    mWatch.Remove(path);
    mFolders.erase(folder);
  }
}

FileNews FollowedFiles::Wait(std::optional<ChangeWatch::Clock::time_point> until, int output) {
  Changes changes = mWatch.Wait(until, output);
  FileNews news;
  if (changes.all) {
    for (const auto& [path, folder] : mFolders) changes.folders.insert(path);
    for (const auto& [file, known] : mFiles) changes.paths.insert(file);
  }
  // A link that leads into a folder may lead elsewhere now, or to nothing.
  for (const auto& [real, file] : mLeadTo) {
    if (changes.folders.count(archive_source::FolderOf(real)) != 0)
      changes.folders.insert(archive_source::FolderOf(file));
    if (changes.paths.count(real) != 0) changes.paths.insert(file);
  }
  if (!changes.folders.empty()) Relist(changes.folders, &news);
  for (const std::string& path : changes.paths) {
    if (mFiles.count(path) != 0) news.touched.push_back(path);
  }
  return news;
}
