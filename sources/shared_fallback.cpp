#include "sources/shared_fallback.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "sources/nowhere.h"

namespace shared_fallback {

const std::string& TemporaryFolder() {
  static const std::string folder = [] {
    std::error_code none;
    const std::filesystem::path path = std::filesystem::temp_directory_path(none);
    return none ? std::string() : path.string();
  }();
  return folder;
}

void Forbid() {
  TemporaryFolder();
  const char* const now = std::getenv("TMPDIR");
  if (now == nullptr || std::strcmp(now, kNowhere) != 0) setenv("TMPDIR", kNowhere, 1);
}

}  // namespace shared_fallback
