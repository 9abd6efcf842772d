#include "system/passing_folder.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "system/failure.h"
#include "system/interruption.h"
#include "system/passing_name.h"

PassingFolder::PassingFolder(const std::string& parent)
    : mPath(parent + "/" + passing_name::kPattern), mOwner(getpid()) {
  interruption::WatchAllEndings();
  if (mkdtemp(mPath.data()) != nullptr) return;
  throw Failure("cannot create a folder in " + parent + ": " + std::strerror(errno));
}

PassingFolder::~PassingFolder() {
  if (getpid() != mOwner) return;
  std::error_code ignored;
  std::filesystem::remove_all(mPath, ignored);
}
