#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

// What the names of the files of an archive's index beside it have in common: its own name, and
// what stands for it in unfinished ones where it is too long.
std::vector<std::string> IndexStemsOf(const std::string& archive);

// The files of one folder by what their indexes are named after, to tell which archive an index is
// of.
class FolderArchives {
 public:
  // A folder that is not there, or cannot be looked into, holds nothing.
  explicit FolderArchives(const std::string& folder);

  const std::string& Folder() const { return mFolder; }
  // Nothing at all is there: perhaps what belongs there is on another disk.
  bool IsEmpty() const { return mIsEmpty; }

  // The archive whose index beside it has this stem, or whose index elsewhere has it after a time.
  // A link that leads nowhere counts: its archive may come back.
  std::vector<std::string> NamedAs(const std::string& stem) const;

 private:
  const std::string mFolder;
  bool mIsEmpty = true;
  std::multimap<std::string, std::string> mPaths;  // by stem
};
