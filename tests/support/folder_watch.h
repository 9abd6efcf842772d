#pragma once

#include <string>

#include "stores_for_tests.h"

// What happens in a folder from here on, step by step.
class FolderWatch {
 public:
  explicit FolderWatch(const std::string& folder);
  ~FolderWatch();
  FolderWatch(const FolderWatch&) = delete;
  FolderWatch& operator=(const FolderWatch&) = delete;

  // "made a", "written a", "removed a", "renamed a", "to b". Repeated steps are given once.
  Texts Steps() const;

 private:
  int mHandle;
};
