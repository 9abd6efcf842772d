#include "system/passing_folder.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "system/interruption.h"
#include "system/tool_error.h"

PassingFolder::PassingFolder(const std::string& parent) : mPath(parent + "/.zel3-XXXXXX") {
  interruption::WatchAllEndings();
  if (mkdtemp(mPath.data()) != nullptr) return;
  throw ToolError("cannot make a folder in " + parent + ": " + std::strerror(errno));
}

PassingFolder::~PassingFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(mPath, ignored);
}
