#include "support/folder_snapshot.h"

#include <filesystem>

#include "support/temp_folder.h"

namespace fs = std::filesystem;

FolderSnapshot SnapshotOf(const std::string& folder) {
  FolderSnapshot snapshot;
  if (!FileExists(folder)) return snapshot;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
    const fs::file_status status = entry.symlink_status();
    std::string& text = snapshot[entry.path().string()];
    text = std::to_string(static_cast<int>(status.type())) + " " +
           std::to_string(static_cast<unsigned>(status.permissions()));
    if (fs::is_symlink(status)) text += " to " + fs::read_symlink(entry.path()).string();
    if (!fs::is_regular_file(status)) continue;
    const Bytes bytes = ReadFile(entry.path().string());
    text += " " + std::to_string(entry.last_write_time().time_since_epoch().count()) + " " +
            std::string(bytes.begin(), bytes.end());
  }
  return snapshot;
}
