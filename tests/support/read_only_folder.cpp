#include "support/read_only_folder.h"

#include <sys/stat.h>

#include <stdexcept>

ReadOnlyFolder::ReadOnlyFolder(const std::string& path) : mPath(path) {
  if (chmod(path.c_str(), 0555) != 0) throw std::runtime_error("cannot protect " + path);
}

ReadOnlyFolder::~ReadOnlyFolder() {
  chmod(mPath.c_str(), 0755);
}
