#pragma once

#include <string>

#include "support/unprivileged.h"

// A folder in which no file can be made, removed or renamed until the end of a scope, not even by
// root. Files in it can still be written.
class ReadOnlyFolder {
 public:
  explicit ReadOnlyFolder(const std::string& path);
  ~ReadOnlyFolder();
  ReadOnlyFolder(const ReadOnlyFolder&) = delete;
  ReadOnlyFolder& operator=(const ReadOnlyFolder&) = delete;

 private:
  std::string mPath;
  Unprivileged mUnprivileged;
};
