#include "sources/folder_tree.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <memory>
#include <set>
#include <utility>

#include "system/file_status.h"
#include "system/interruption.h"

namespace {

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};

class Walk {
 public:
  FolderTree From(const std::string& top) {
    LookBelow(top);
    // Links come after everything that has its own path in the tree; what they lead to may hold
    // further links.
    for (std::size_t next = 0; next < mLinks.size(); ++next) LookBelow(std::string(mLinks[next]));
    return std::move(mTree);
  }

 private:
  // Without recursion: a tree may be deeper than the stack.
  void LookBelow(const std::string& top) {
    std::vector<std::string> waiting{top};
    while (!waiting.empty()) {
      interruption::Check();
      const std::string folder = std::move(waiting.back());
      waiting.pop_back();
      if (!IsNew(folder)) continue;
      mTree.folders.push_back(folder);
      const std::vector<std::string> below = LookInto(folder);
      waiting.insert(waiting.end(), below.rbegin(), below.rend());
    }
  }

  bool IsNew(const std::string& folder) {
    const auto status = StatusOf(folder);
    if (!status) {
      if (errno != ENOENT) TellFailure(folder);
      return false;
    }
    return mSeen
        .insert(
            {std::uint64_t{status->stx_dev_major} << 32 | status->stx_dev_minor, status->stx_ino})
        .second;
  }

  // The folders in it by name; links to folders are kept for later.
  std::vector<std::string> LookInto(const std::string& folder) {
    const std::unique_ptr<DIR, CloseFolder> open(opendir(folder.c_str()));
    if (open == nullptr) {
      TellFailure(folder);
      return {};
    }
    std::vector<std::string> folders;
    std::vector<std::string> links;
    errno = 0;
    while (const dirent* const entry = readdir(open.get())) {
      const std::string path = (folder == "/" ? folder : folder + "/") + entry->d_name;
      const bool isHidden = entry->d_name[0] == '.';
      const bool mayLead = entry->d_type == DT_LNK || entry->d_type == DT_UNKNOWN;
      if (!isHidden && (entry->d_type == DT_DIR || (mayLead && IsFolder(path, Links::kNot)))) {
        folders.push_back(path);
      } else if (!isHidden && mayLead && IsFolder(path, Links::kFollow)) {
        links.push_back(path);
      }
      errno = 0;
    }
    if (errno != 0) TellFailure(folder);
    std::sort(folders.begin(), folders.end());
    std::sort(links.begin(), links.end());
    mLinks.insert(mLinks.end(), links.begin(), links.end());
    return folders;
  }

  static bool IsFolder(const std::string& path, Links links) {
    const auto status = StatusOf(path, links);
    return status && S_ISDIR(status->stx_mode);
  }

  void TellFailure(const std::string& folder) {
    mTree.problems.push_back("cannot look into " + folder + ": " + std::strerror(errno));
  }

  FolderTree mTree;
  std::set<std::pair<std::uint64_t, std::uint64_t>> mSeen;  // device and inode
  std::vector<std::string> mLinks;
};

}  // namespace

FolderTree FoldersBelow(const std::string& top) {
  return Walk().From(top);
}
