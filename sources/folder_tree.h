#pragma once

#include <string>
#include <vector>

struct FolderTree {
  std::vector<std::string> folders;   // each before those below it, which come by name
  std::vector<std::string> problems;  // why folders could not be looked into, for people
};

// A folder and all folders below it, except hidden ones. A folder that links lead to comes once, by
// its own path if it has one in the tree. Throws Failure when the user interrupts.
FolderTree FoldersBelow(const std::string& top);
