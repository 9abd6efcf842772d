#pragma once

#include <string>

#include <vector>

// What happens in a folder from now on, step by step.
class FolderWatch {
 public:
  explicit FolderWatch(const std::string& folder);
  ~FolderWatch();
  FolderWatch(const FolderWatch&) = delete;
  FolderWatch& operator=(const FolderWatch&) = delete;

  // "made a", "written a", "closed a" after it was open for writing, "removed a", "renamed a",
  // "to b". Repeated steps are given once.
  std::vector<std::string> Steps() const;

 private:
  int mHandle;
};
